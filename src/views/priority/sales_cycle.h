#pragma once
// The priority view's sales-cycle arithmetic: the view dates around today, the
// "Sales Cycle" header text, the phase tooltip, weeks-to-close and node totals.

#include <QString>

#include "automation/currency.h"
#include "automation/ole_date.h"

namespace BrevView::detail {

struct ViewDates {
    automation::Date start;
    automation::Date today;
    automation::Date end;
};

// Half the range (value x days per unit / 2, at least 1 day) on either side of today;
// days per unit: 1, 7, 31, 365 for units 0..3, 31 for any other. The half is rounded to
// whole days once, so the range stays symmetric around today.
ViewDates ComputeViewDates(const automation::Date& today, qint32 rangeValue, qint32 rangeUnits);

// "Sales Cycle", a carriage return, then start " - " end in the format the short-date
// order picks: 1 "DD/MMM/YY", 2 "YY/MMM/DD", anything else "MMM/DD/YY" ("/" being the
// locale's date separator, "MMM" its abbreviated month name).
QString SalesCycleHeaderText(const ViewDates& dates, qint32 shortDateOrder);

// "You are 40% through the prove phase." or "12 day(s) overdue.".
QString SalesCycleTooltip(const automation::Date& start, const automation::Date& end, const automation::Date& today);

// "!" within three days, else the weeks to close ("-3" three weeks overdue).
QString WeeksToCloseText(const automation::Date& closing, const automation::Date& today);

// total + value (as Currency) while total >= 0; -1 once negative or when the sum fails.
automation::Currency AddOutlineTotal(automation::Currency total, double value);

}  // namespace BrevView::detail
