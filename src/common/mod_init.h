#pragma once
// The library's start-up on a thread: `Main` of module modInit creates the thread's
// trace object, which every traced procedure of every control on that thread shares.

#include "host/automation_object.h"

namespace BrevView::modInit {

// Creates "BrevTWrp.Trace" for this thread. When that fails it shows the message
// box "Could not create trace object. Module:BrevView.modInit::Main" (exclamation,
// OK, title "Automation error") and raises the same error again. It runs once per
// thread: after a failure the thread has no trace object and every traced
// procedure fails at its first trace call (error 91).
void Main();

// Runs Main the first time the library is used on this thread; a failure has
// already been shown to the user by Main and leaves the thread without a trace.
void EnsureLoaded();

// This thread's trace object, or nullptr when Main could not create one.
host::ITrace* TraceObject();

// Forgets this thread's start-up, so that the next use runs Main again (tests only).
void ResetForTesting();

}  // namespace BrevView::modInit
