#include "dates.h"

#include "../platform/automation/conversions.h"
#include "../platform/automation/runtime_error.h"

namespace BrevView::detail {

automation::Date NormalizeDate(const automation::Date& d)
{
    const QDate day = d.ToQDate();
    return automation::Date::FromParts(day.year(), day.month(), day.day());
}

automation::Date NormalizeDateIgnoringErrors(const automation::Variant& v)
{
    try {
        return NormalizeDate(automation::ToDate(v));
    } catch (const RuntimeError&) {
        return automation::Date();
    }
}

}  // namespace BrevView::detail
