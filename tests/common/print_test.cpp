// print(QPrinter*) prints what PrintView prints (the same rows on the same pages), with the
// view's name and the date above each page and "Page n of m" below it.

#include <QPrinter>
#include <QRegularExpression>

#include "support/pdf_tools.h"
#include "support/three_views.h"

namespace BrevView::test {
namespace {

QString RawText(const QString& pdf)
{
    return PdfText(pdf, {QStringLiteral("-raw")});
}

int PdfPages(const QString& pdf)
{
    static const QRegularExpression pages(QStringLiteral("Pages:\\s+(\\d+)"));
    return pages.match(PdfInfo(pdf)).captured(1).toInt();
}

template <class V>
class PrintTest : public ThreeViewsTest<V> {
protected:
    void SetUp() override
    {
        ThreeViewsTest<V>::SetUp();
        QStringList inserts;
        for (int id = 100; id < 260; ++id)
            inserts << Ibo::Open(id, QDate(2026, 3, 5).addDays(id % 90).toString(QStringLiteral("yyyy-MM-dd 00:00:00")))
                           .Set(QStringLiteral("DescriptorPriority"), QString::number(1 + id % 5))
                           .InsertSql();
        this->Exec(this->db_, inserts.join(QLatin1Char(';')));
        this->View().Refresh();
        QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
    }
};
TYPED_TEST_SUITE_P(PrintTest);

TYPED_TEST_P(PrintTest, PrintIntoAPrinterGivesPrintViewsPagesWithAHeadingAndPageNumbers)
{
    grid::FlexGrid& g = this->Grid();
    const QStringList screenLook{QString::number(g.Appearance()), QString::number(g.BackColor()),
                                 QString::number(g.GridColor()), QString::number(g.HighLight()),
                                 g.Cell(grid::flexcpForeColor, 1, 1).toString()};
    const QString viaPrintView = this->TempPath(QStringLiteral("printview.pdf"));
    qputenv("BREV_PRINT_TO_PDF", viaPrintView.toLocal8Bit());
    this->View().PrintView();
    qunsetenv("BREV_PRINT_TO_PDF");
    const QString viaPrint = qEnvironmentVariableIsSet("BREV_TEST_PICTURES")
                                 ? qEnvironmentVariable("BREV_TEST_PICTURES") + QStringLiteral("/print.pdf")
                                 : this->TempPath(QStringLiteral("print.pdf"));
    {
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(viaPrint);
        this->View().print(&printer);
    }
    const int pages = PdfPages(viaPrintView);
    ASSERT_GE(pages, 2) << "a print of several pages";
    // The heading and the page number take a line of each page: the rows may need more pages.
    const int printedPages = PdfPages(viaPrint);
    EXPECT_GE(printedPages, pages);

    QStringList printed = RawText(viaPrint).split(QLatin1Char('\n'));
    const QStringList expected = RawText(viaPrintView).split(QLatin1Char('\n'));
    // Each page ends with its heading and its number; without them the text is PrintView's.
    int headings = 0, numbers = 0;
    const QString today =
        QLocale(QLocale::English, QLocale::UnitedStates).toString(QDate(2026, 3, 5), QLocale::LongFormat);
    QStringList rest;
    for (const QString& line : printed) {
        if (line.contains(today)) {
            ++headings;
            continue;
        }
        static const QRegularExpression pageOf(QStringLiteral("^Page (\\d+) of (\\d+)$"));
        const auto m = pageOf.match(line.trimmed());
        if (m.hasMatch()) {
            ++numbers;
            EXPECT_EQ(m.captured(1).toInt(), numbers);
            EXPECT_EQ(m.captured(2).toInt(), printedPages);
            continue;
        }
        rest << line;
    }
    EXPECT_EQ(headings, printedPages);
    EXPECT_EQ(numbers, printedPages);
    auto meaningful = [](QStringList lines) {
        lines.removeIf([](const QString& l) { return l.trimmed().isEmpty() || l.trimmed() == QStringLiteral("\f"); });
        for (QString& l : lines)
            l = l.remove(QLatin1Char('\f')).trimmed();
        lines.removeAll(QString());
        // The header row stands on every page, so the rows are compared without it: the IBO
        // rows and the node rows (each with an amount).
        lines.removeIf(
            [](const QString& l) { return !l.contains(QStringLiteral("IBO-")) && !l.contains(QLatin1Char('$')); });
        return lines;
    };
    EXPECT_EQ(meaningful(rest), meaningful(expected));
    // The screen look comes back.
    EXPECT_EQ(
        (QStringList{QString::number(g.Appearance()), QString::number(g.BackColor()), QString::number(g.GridColor()),
                     QString::number(g.HighLight()), g.Cell(grid::flexcpForeColor, 1, 1).toString()}),
        screenLook);
}

REGISTER_TYPED_TEST_SUITE_P(PrintTest, PrintIntoAPrinterGivesPrintViewsPagesWithAHeadingAndPageNumbers);
BREV_TYPED_ON_BOTH_ENGINES(PrintTest, AllViews);

template <class V>
class ForecastPrintTest : public PrintTest<V> {};
using ForecastOnly = ::testing::Types<ForecastView>;
TYPED_TEST_SUITE_P(ForecastPrintTest);

TYPED_TEST_P(ForecastPrintTest, TheHeadingNamesTheForecastMode)
{
    for (const auto& [mode, words] : {std::pair{0, "Unweighted forecast"}, std::pair{1, "Weighted forecast"}}) {
        this->View().setForecastMode(mode);
        const QString pdf = this->TempPath(QStringLiteral("mode%1.pdf").arg(mode));
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        this->View().print(&printer);
        const QString first = RawText(pdf).section(QLatin1Char('\f'), 0, 0);
        const QRegularExpression heading(QStringLiteral("Forecast\\s*\u2014\\s*") + QString::fromLatin1(words));
        EXPECT_TRUE(heading.match(first).hasMatch()) << qPrintable(first.right(300));
    }
}

REGISTER_TYPED_TEST_SUITE_P(ForecastPrintTest, TheHeadingNamesTheForecastMode);
BREV_TYPED_ON_BOTH_ENGINES(ForecastPrintTest, ForecastOnly);

}  // namespace
}  // namespace BrevView::test
