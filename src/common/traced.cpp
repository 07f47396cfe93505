#include "common/traced.h"

#include "automation/error_numbers.h"
#include "common/mod_init.h"

namespace BrevView::detail {
namespace {

host::ITrace& Trace()
{
    host::ITrace* t = modInit::TraceObject();
    if (!t)
        automation::Raise(
            automation::ErrObjectNotSet, QStringLiteral("BrevView"),
            QStringLiteral("Object variable or With block variable not set (no trace object on this thread)"));
    return *t;
}

}  // namespace

void TraceEnter(const QString& name)
{
    Trace().EnterProc(name);
}

void TraceExit(const QString& name)
{
    Trace().ExitProc(name);
}

void TraceHandle(const RuntimeError& error)
{
    automation::Err().Set(error);
    Trace().HandleError(QString());
}

void ReportTrapped(const QString& source, const RuntimeError& error)
{
    TraceHandle(RuntimeError(error.number(), source, error.description()));
}

void TraceReraise()
{
    const qint32 number = Trace().LastErrorNumber();
    const automation::ErrObject& err = automation::Err();
    if (number == 0)  // raising error 0 is itself an invalid call
        throw RuntimeError(automation::ErrInvalidProcedureCall, err.source, err.description);
    throw RuntimeError(number, err.source, err.description);
}

void RaiseWithLastErrorNumber(const QString& source, const QString& description)
{
    const qint32 number = Trace().LastErrorNumber();
    throw RuntimeError(number == 0 ? qint32(automation::ErrInvalidProcedureCall) : number, source, description);
}

RuntimeError AsRuntimeError(const std::exception& e)
{
    if (dynamic_cast<const std::bad_alloc*>(&e))
        return RuntimeError(automation::ErrOutOfMemory, QStringLiteral("BrevView"));
    return RuntimeError(automation::ErrInternal, QStringLiteral("BrevView"), QString::fromLocal8Bit(e.what()));
}

}  // namespace BrevView::detail
