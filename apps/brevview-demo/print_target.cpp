#include "print_target.h"

#include <QDir>
#include <QStandardPaths>

namespace BrevViewDemo {

QString PrintPdfPath(const QString& viewName)
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::homePath();
    if (!QDir(folder).exists())
        folder = QDir::tempPath();
    QString name = viewName;
    name.remove(QLatin1Char('&')).replace(QLatin1Char(' '), QLatin1Char('-'));
    return QDir(folder).filePath(name + QStringLiteral(".pdf"));
}

}  // namespace BrevViewDemo
