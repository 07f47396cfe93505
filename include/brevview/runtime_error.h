#pragma once
/// \file runtime_error.h
/// \brief The numbered run-time errors the controls raise.

#include <exception>
#include <string>

#include <QString>

#include "export.h"

namespace BrevView {

/// \brief A numbered run-time error: number, source and description.
///
/// The numbers are the automation error numbers (5, 6, 9, 13, 91, 94, 429, 3024, 3265, ...);
/// the source names the procedure that handled the error ("BrevView.FlatView::Refresh").
class BREVVIEW_EXPORT RuntimeError : public std::exception {
public:
    /// An error `number` from `source`; an empty description takes the standard text of the number.
    explicit RuntimeError(qint32 number, QString source = {}, QString description = {});

    /// The error number.
    qint32 number() const noexcept { return number_; }
    /// The procedure that raised or handled the error.
    const QString& source() const noexcept { return source_; }
    /// What went wrong, in words.
    const QString& description() const noexcept { return description_; }
    /// "Run-time error <number>: <description>".
    const char* what() const noexcept override { return what_.c_str(); }

private:
    qint32 number_;
    QString source_;
    QString description_;
    std::string what_;
};

}  // namespace BrevView
