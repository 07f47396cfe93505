#pragma once
// The traced-procedure pattern that every public procedure, event handler and
// database- or grid-touching procedure follows, written once:
//   EnterProc(name); body; ExitProc(name)
//   on error: HandleError(""), the procedure's own clean-up, then the error raised
//   again with the trace's LastErrorNumber and the description it still holds
//   (ExitProc is not called on that path).
// Small lookups that "ignore errors" do not use it; see IgnoringErrors().

#include <new>
#include <type_traits>
#include <utility>

#include <QString>

#include "automation/runtime_error.h"

namespace BrevView::detail {

// Calls the trace's EnterProc / ExitProc; error 91 when the thread has no trace object.
void TraceEnter(const QString& name);
void TraceExit(const QString& name);
// The first half of the error tail: records `error` as the error being handled and
// calls HandleError(""). Returns nothing; errors of the trace itself propagate.
void TraceHandle(const RuntimeError& error);
// The second half: the error to raise again, numbered by the trace's LastErrorNumber.
[[noreturn]] void TraceReraise();
// Raises `description` under the number the trace object reports as the last error
// (an error raised so by the views' own checks; 0 becomes 5, as raising 0 does).
[[noreturn]] void RaiseWithLastErrorNumber(const QString& source, const QString& description);
// The error handler of an untraced procedure that traps its errors: reports `error` under
// `source` through HandleError(""), and raises nothing (the procedure goes on). An error of
// the trace itself passes to the caller.
void ReportTrapped(const QString& source, const RuntimeError& error);
// Any other exception as a numbered run-time error.
RuntimeError AsRuntimeError(const std::exception& e);

struct NoCleanup {
    void operator()() const {}
};

template <class Body, class Cleanup = NoCleanup>
auto Traced(const QString& name, Body&& body, Cleanup&& cleanup = Cleanup{}) -> decltype(body())
{
    using Result = decltype(body());
    auto tail = [&](const RuntimeError& e) {
        TraceHandle(e);
        cleanup();
        TraceReraise();
    };
    try {
        TraceEnter(name);
        if constexpr (std::is_void_v<Result>) {
            std::forward<Body>(body)();
            TraceExit(name);
        } else {
            Result r = std::forward<Body>(body)();
            TraceExit(name);
            return r;
        }
    } catch (const RuntimeError& e) {
        tail(e);
    } catch (const std::exception& e) {
        tail(AsRuntimeError(e));
    }
    if constexpr (!std::is_void_v<Result>)
        return Result{};  // not reached: the tail always raises
}

// Runs `statement` with errors ignored: a failing statement is skipped.
template <class Statement>
void IgnoringErrors(Statement&& statement)
{
    try {
        std::forward<Statement>(statement)();
    } catch (const std::exception&) {
        // skipped, as an "ignore errors" procedure does
    }
}

}  // namespace BrevView::detail
