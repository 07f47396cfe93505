#pragma once
// Calendar-day helpers shared by the views.

#include "automation/ole_date.h"
#include "automation/variant.h"

#include <QString>

namespace BrevView::detail {

// The same calendar day at midnight (year, month and day of `d`, time zero).
automation::Date NormalizeDate(const automation::Date& d);

// NormalizeDate of a field value, reporting nothing: the zero date (30 December
// 1899) when the value is no date.
automation::Date NormalizeDateIgnoringErrors(const automation::Variant& v);

// The short-date text of the day a stored date falls on, read from its canonical text
// without building a date value; false when the field holds no canonical date text.
bool ShortDateTextOfCanonical(const char* text, int length, QString* out);

}  // namespace BrevView::detail
