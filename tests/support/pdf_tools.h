#pragma once
// What the print tests read of a printed PDF, through poppler's command-line tools.

#include <QProcess>
#include <QString>
#include <QStringList>

namespace BrevView::test {

// The PDF's text (pdftotext; `extra` options such as "-raw" before the file).
inline QString PdfText(const QString& pdf, const QStringList& extra = {})
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), extra + QStringList{pdf, QStringLiteral("-")});
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

// pdfinfo's report on the PDF.
inline QString PdfInfo(const QString& pdf)
{
    QProcess p;
    p.start(QStringLiteral("pdfinfo"), {pdf});
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

}  // namespace BrevView::test
