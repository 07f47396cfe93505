#include "common/mod_init.h"

#include <memory>

#include "automation/runtime_error.h"
#include "host/message_box.h"
#include "host/object_factory.h"

namespace BrevView::modInit {
namespace {

struct ThreadState {
    bool ran = false;
    std::shared_ptr<host::ITrace> trace;
};

ThreadState& State()
{
    thread_local ThreadState state;
    return state;
}

}  // namespace

void Main()
{
    ThreadState& s = State();
    s.ran = true;
    try {
        s.trace = host::ObjectFactory::CreateAs<host::ITrace>(QString::fromLatin1(host::kProgIdTrace));
    } catch (const RuntimeError& e) {
        s.trace.reset();
        host::ShowMessageBox({QStringLiteral("Could not create trace object. Module:") +
                                  QStringLiteral("BrevView.modInit::") + QStringLiteral("Main"),
                              QStringLiteral("Automation error"), host::MessageBoxIcon::Exclamation, true});
        throw RuntimeError(e.number(), e.source(), e.description());
    }
}

void EnsureLoaded()
{
    if (State().ran)
        return;
    try {
        Main();
    } catch (const RuntimeError&) {
        // Main has told the user; the thread goes on without a trace object.
    }
}

host::ITrace* TraceObject()
{
    EnsureLoaded();
    return State().trace.get();
}

void ResetForTesting()
{
    State() = ThreadState{};
}

}  // namespace BrevView::modInit
