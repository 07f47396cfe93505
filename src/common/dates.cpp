#include "common/dates.h"

#include "automation/conversions.h"
#include "automation/locale_info.h"
#include "automation/runtime_error.h"

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

bool ShortDateTextOfCanonical(const char* text, int length, QString* out)
{
    automation::Date d;
    if (!automation::Date::FromCanonicalUtf8(text, length, &d))
        return false;
    *out = automation::FormatShortDate(d.ToQDate());
    return true;
}

}  // namespace BrevView::detail
