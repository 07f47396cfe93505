#include "common/call_boundary.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>

namespace BrevView::detail {
namespace {

thread_local DeliveryScope* t_innermost = nullptr;

int LoopLevel()
{
    return QThread::currentThread()->loopLevel();
}

// QObject::sender() is protected; a pointer to it taken through a subclass may be called
// on any object.
struct SenderAccess : QObject {
    static QObject* Of(const QObject* object)
    {
        QObject* (QObject::*sender)() const = &SenderAccess::sender;
        return (object->*sender)();
    }
};

// QTimer::singleShot with an interval and a slot calls the slot from the timer event of a
// private timer object, not through the receiver's event(): this filter on the application
// delivers those timer events itself, inside a DeliveryScope. Nothing else is touched.
class SingleShotDelivery : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Timer || !watched->inherits("QSingleShotTimer"))
            return false;
        DeliveryScope scope;
        watched->event(event);  // the timer object deletes itself here
        return true;
    }
};

void EnsureSingleShotDelivery()
{
    static QPointer<SingleShotDelivery> filter;
    QCoreApplication* app = QCoreApplication::instance();
    if (filter || !app || QThread::currentThread() != app->thread())
        return;
    filter = new SingleShotDelivery(app);
    app->installEventFilter(filter);
}

}  // namespace

DeliveryScope::DeliveryScope() : loopLevel_(LoopLevel()), outer_(t_innermost)
{
    t_innermost = this;
}

DeliveryScope::~DeliveryScope()
{
    t_innermost = outer_;
}

bool DeliveryScope::OpenAtThisLevel()
{
    return t_innermost && t_innermost->loopLevel_ == LoopLevel();
}

CallBoundary::CallBoundary(QObject* control, Reporter report) : control_(control), report_(std::move(report))
{
    EnsureSingleShotDelivery();
}

bool CallBoundary::DeliveredByQt(const QObject* control)
{
    if (SenderAccess::Of(control))
        return true;  // a signal connected to the member (directly or queued)
    return DeliveryScope::OpenAtThisLevel();
}

bool CallBoundary::Report(const RuntimeError& error)
{
    last_ = error;
    if (!DeliveredByQt(control_))
        return false;
    report_(error);
    return true;
}

void CallBoundary::ReportAlways(const RuntimeError& error)
{
    last_ = error;
    report_(error);
}

void CallBoundary::ReportLater(const RuntimeError& error)
{
    last_ = error;
    QMetaObject::invokeMethod(
        control_, [report = report_, error] { report(error); }, Qt::QueuedConnection);
}

void CallBoundary::AtEvent(const std::function<void()>& handler)
{
    try {
        handler();
    } catch (const RuntimeError& e) {
        AfterCall();
        ReportAlways(e);
        return;
    }
    AfterCall();
}

bool CallBoundary::DeliverPosted(QEvent* event, const std::function<bool(QEvent*)>& base)
{
    DeliveryScope scope;
    return base(event);
}

}  // namespace BrevView::detail
