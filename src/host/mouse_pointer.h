#pragma once
// The screen's mouse pointer as the controls save, set and restore it: a pointer
// code per thread (0 default, 11 hourglass, 13 arrow and hourglass, ...), shown
// through the application's override cursor. Only the override cursor that this
// module pushed is ever changed or removed, so a restore always gives back the
// cursor the user had.

#include <QtGlobal>

namespace BrevView::host {

enum MousePointerCode : qint32 {
    kPointerDefault = 0,
    kPointerArrow = 1,
    kPointerCross = 2,
    kPointerIBeam = 3,
    kPointerHourglass = 11,
    kPointerNoDrop = 12,
    kPointerArrowHourglass = 13,
};

class ScreenMousePointer {
public:
    static qint32 Get();
    static void Set(qint32 code);
};

// Saves the pointer, shows `code` and puts the saved pointer back when it leaves scope.
class ScopedMousePointer {
public:
    explicit ScopedMousePointer(qint32 code) : saved_(ScreenMousePointer::Get()) { ScreenMousePointer::Set(code); }
    ~ScopedMousePointer() { ScreenMousePointer::Set(saved_); }
    ScopedMousePointer(const ScopedMousePointer&) = delete;
    ScopedMousePointer& operator=(const ScopedMousePointer&) = delete;
    qint32 saved() const { return saved_; }

private:
    qint32 saved_;
};

}  // namespace BrevView::host
