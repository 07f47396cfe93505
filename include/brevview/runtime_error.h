#pragma once
// A numbered run-time error raised by the controls: number (the automation error
// numbers: 5, 6, 9, 13, 91, 94, 429, 3024, 3265, ...), source and description.

#include <exception>
#include <string>

#include <QString>

#include "export.h"

namespace BrevView {

class BREVVIEW_EXPORT RuntimeError : public std::exception {
public:
    // An empty description takes the standard text of the number.
    explicit RuntimeError(qint32 number, QString source = {}, QString description = {});

    qint32 number() const noexcept { return number_; }
    const QString& source() const noexcept { return source_; }
    const QString& description() const noexcept { return description_; }
    const char* what() const noexcept override { return what_.c_str(); }

private:
    qint32 number_;
    QString source_;
    QString description_;
    std::string what_;
};

}  // namespace BrevView
