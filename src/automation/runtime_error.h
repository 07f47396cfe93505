#pragma once
// A numbered run-time error (number, source, description) and the per-thread
// error object that error handlers read, as an automation runtime keeps it.

#include <QString>

#include <brevview/runtime_error.h>

#include "automation/error_numbers.h"

namespace BrevView {

namespace automation {

// The error currently being handled on this thread (the "Err" object of an
// automation runtime): an error handler fills it before it reports, so that a
// trace object can read what is being handled.
struct ErrObject {
    qint32 number = 0;
    QString source;
    QString description;

    void Clear()
    {
        number = 0;
        source.clear();
        description.clear();
    }
    void Set(const RuntimeError& e)
    {
        number = e.number();
        source = e.source();
        description = e.description();
    }
};

ErrObject& Err();

// Raises `number` with `description` (standard text when empty) from `source`.
[[noreturn]] void Raise(qint32 number, const QString& source = {}, const QString& description = {});

}  // namespace automation
}  // namespace BrevView
