#include "host/mouse_pointer.h"

#include <QCursor>
#include <QGuiApplication>
#include <QThread>

namespace BrevView::host {
namespace {

struct PointerState {
    qint32 code = kPointerDefault;
    bool pushed = false;  // whether this thread's override cursor is on the stack
};

thread_local PointerState t_state;

Qt::CursorShape ShapeFor(qint32 code)
{
    switch (code) {
    case kPointerCross:
        return Qt::CrossCursor;
    case kPointerIBeam:
        return Qt::IBeamCursor;
    case kPointerHourglass:
        return Qt::WaitCursor;
    case kPointerNoDrop:
        return Qt::ForbiddenCursor;
    case kPointerArrowHourglass:
        return Qt::BusyCursor;
    default:
        return Qt::ArrowCursor;
    }
}

bool OnGuiThread()
{
    return qGuiApp && QThread::currentThread() == qGuiApp->thread();
}

}  // namespace

qint32 ScreenMousePointer::Get()
{
    return t_state.code;
}

void ScreenMousePointer::Set(qint32 code)
{
    t_state.code = code;
    if (!OnGuiThread())
        return;
    if (code == kPointerDefault) {
        if (t_state.pushed) {
            QGuiApplication::restoreOverrideCursor();
            t_state.pushed = false;
        }
        return;
    }
    const QCursor cursor(ShapeFor(code));
    if (t_state.pushed) {
        QGuiApplication::changeOverrideCursor(cursor);
    } else {
        QGuiApplication::setOverrideCursor(cursor);
        t_state.pushed = true;
    }
}

}  // namespace BrevView::host
