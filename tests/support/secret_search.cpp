#include "secret_search.h"

#include <unistd.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>

namespace BrevView::test {

QStringList FilesContaining(const QString& dir, const QByteArray& secret)
{
    QStringList hits;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile f(path);
        if (f.open(QIODevice::ReadOnly) && f.readAll().contains(secret))
            hits << path;
    }
    return hits;
}

StandardErrorToFile::StandardErrorToFile(const QString& path)
{
    fflush(stderr);
    file_ = fopen(path.toLocal8Bit().constData(), "w");
    if (!file_)
        return;
    saved_ = dup(2);
    dup2(fileno(file_), 2);
}

StandardErrorToFile::~StandardErrorToFile()
{
    if (!file_)
        return;
    fflush(stderr);
    dup2(saved_, 2);
    close(saved_);
    fclose(file_);
}

}  // namespace BrevView::test
