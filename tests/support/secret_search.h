#pragma once
// For the tests that prove a secret is written nowhere: the files that hold it, and standard
// error caught in a file for as long as a test says.

#include <cstdio>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace BrevView::test {

// Every file below `dir` whose bytes contain `secret`.
QStringList FilesContaining(const QString& dir, const QByteArray& secret);

// Standard error goes to `path` from construction until destruction.
class StandardErrorToFile {
public:
    explicit StandardErrorToFile(const QString& path);
    ~StandardErrorToFile();
    StandardErrorToFile(const StandardErrorToFile&) = delete;
    StandardErrorToFile& operator=(const StandardErrorToFile&) = delete;
    bool ok() const { return file_ != nullptr; }

private:
    int saved_ = -1;
    FILE* file_ = nullptr;
};

}  // namespace BrevView::test
