#pragma once
// "Today" and "now" for every date rule of the library and for the SQL Date()
// function. Tests pin the clock so that nothing depends on the day they run.

#include <optional>

#include <QDateTime>

#include "automation/ole_date.h"

namespace BrevView::host {

class Clock {
public:
    static automation::Date Now();
    static automation::Date Today();  // Now() without its time
    static void Pin(const QDateTime& now);
    static void Unpin();
};

}  // namespace BrevView::host
