#pragma once
// Where a control's public members meet their caller. A member called directly from C++
// raises its error to that caller, as every traced procedure does. A member that Qt itself
// calls (a queued or posted call, a single-shot timer, a signal connected to the slot) has no
// caller that could catch: an exception there would leave through Qt's event loop and end
// the host. Such a call reports its error as the control's ErrorRaised signal instead, and
// every error of a call is kept as the control's last error.

#include <functional>
#include <optional>
#include <type_traits>

#include <QEvent>

#include "automation/runtime_error.h"

class QObject;

namespace BrevView::detail {

// Marks, for as long as it lives, that Qt's event loop is delivering a call on this thread
// (the loop level is kept, so that a call from a dialog's own loop opened meanwhile is
// still a direct one).
class DeliveryScope {
public:
    DeliveryScope();
    ~DeliveryScope();
    DeliveryScope(const DeliveryScope&) = delete;
    DeliveryScope& operator=(const DeliveryScope&) = delete;

    // Whether a scope of this thread is open at the event-loop level running now.
    static bool OpenAtThisLevel();

private:
    int loopLevel_;
    DeliveryScope* outer_;
};

class CallBoundary {
public:
    using Reporter = std::function<void(const RuntimeError&)>;

    // `report` emits the control's ErrorRaised.
    CallBoundary(QObject* control, Reporter report);

    // Runs a public member's body. Its error is kept as the last error; then it is raised
    // again to a direct caller, or reported through ErrorRaised when Qt made the call (the
    // member then returns its type's empty value). A call that succeeds clears the last error.
    template <class Body>
    auto Run(Body&& body) -> decltype(body())
    {
        using Result = decltype(body());
        try {
            if constexpr (std::is_void_v<Result>) {
                std::forward<Body>(body)();
                last_.reset();
                AfterMemberCall();
                return;
            } else {
                Result r = std::forward<Body>(body)();
                last_.reset();
                AfterMemberCall();
                return r;
            }
        } catch (const RuntimeError& e) {
            // What the call changed before it failed stays changed, and is told.
            AfterMemberCall();
            if (!Report(e))
                throw;
        }
        if constexpr (!std::is_void_v<Result>)
            return Result{};
    }

    // Runs after every call and user action, failed or not: the control emits the change
    // signals of the properties that changed.
    void SetAfterCall(std::function<void()> after) { after_ = std::move(after); }
    void AfterCall()
    {
        if (after_)
            after_();
    }
    // Runs after every member call only (not after the handling of a grid event, which may
    // run in the middle of a refresh): the grid tells what it still owes.
    void SetAfterMemberCall(std::function<void()> after) { afterMember_ = std::move(after); }
    void AfterMemberCall()
    {
        if (afterMember_)
            afterMember_();
        AfterCall();
    }

    // A user action's handler (a click, a key, a resize): nobody called it, so its error
    // is always reported through ErrorRaised.
    void AtEvent(const std::function<void()>& handler);

    // Keeps `error` as the last error and reports it through ErrorRaised, whoever called.
    void ReportAlways(const RuntimeError& error);
    // Keeps `error` as the last error and reports it from the event loop, so that a host
    // that connects to ErrorRaised right after making the control still hears of it.
    void ReportLater(const RuntimeError& error);

    // The control's event() for a posted call (QEvent::MetaCall: queued connections,
    // QMetaObject::invokeMethod with Qt::QueuedConnection, a zero-interval single shot):
    // it is delivered inside a DeliveryScope.
    bool DeliverPosted(QEvent* event, const std::function<bool(QEvent*)>& base);

    const std::optional<RuntimeError>& LastError() const { return last_; }

    // Whether Qt, not C++ code of the host's, is calling a member of `control` now.
    static bool DeliveredByQt(const QObject* control);

private:
    // Keeps the error; true when it was reported (Qt made the call), false when the
    // caller gets it.
    bool Report(const RuntimeError& error);

    QObject* control_;
    Reporter report_;
    std::function<void()> after_;
    std::function<void()> afterMember_;
    std::optional<RuntimeError> last_;
};

}  // namespace BrevView::detail
