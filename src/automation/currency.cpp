#include "automation/currency.h"

#include <cmath>
#include <limits>

#include "automation/runtime_error.h"

namespace BrevView {

using automation::ErrOverflow;
using automation::Raise;

Currency Currency::FromLong(qint64 whole)
{
    qint64 ticks = 0;
    if (__builtin_mul_overflow(whole, kScale, &ticks))
        Raise(ErrOverflow);
    return FromTicks(ticks);
}

Currency Currency::FromDouble(double value)
{
    if (!std::isfinite(value))
        Raise(ErrOverflow);
    // nearbyint rounds half to even under the default rounding mode.
    const double scaled = std::nearbyint(value * double(kScale));
    // 2^63 is exactly representable; anything at or beyond it does not fit.
    if (scaled >= 9223372036854775808.0 || scaled < -9223372036854775808.0)
        Raise(ErrOverflow);
    return FromTicks(static_cast<qint64>(scaled));
}

Currency Currency::operator+(Currency other) const
{
    qint64 r = 0;
    if (__builtin_add_overflow(ticks_, other.ticks_, &r))
        Raise(ErrOverflow);
    return FromTicks(r);
}

Currency Currency::operator-(Currency other) const
{
    qint64 r = 0;
    if (__builtin_sub_overflow(ticks_, other.ticks_, &r))
        Raise(ErrOverflow);
    return FromTicks(r);
}

Currency Currency::operator-() const
{
    if (ticks_ == std::numeric_limits<qint64>::min())
        Raise(ErrOverflow);
    return FromTicks(-ticks_);
}

QString Currency::ToText() const
{
    // Written from the right into a buffer: a forecast fill writes this text for every IBO.
    const bool negative = ticks_ < 0;
    // Work in unsigned so that the minimum value has a magnitude too.
    const quint64 magnitude = negative ? quint64(0) - quint64(ticks_) : quint64(ticks_);
    quint64 whole = magnitude / quint64(kScale);
    quint64 frac = magnitude % quint64(kScale);
    char buffer[32];
    char* const end = buffer + sizeof buffer;
    char* p = end;
    if (frac != 0) {
        static_assert(kScale == 10000, "four decimal places");
        int digits = 4;  // less the trailing zeros
        while (frac % 10 == 0) {
            frac /= 10;
            --digits;
        }
        for (; digits > 0; --digits) {
            *--p = char('0' + frac % 10);
            frac /= 10;
        }
        *--p = '.';
    }
    do {
        *--p = char('0' + whole % 10);
        whole /= 10;
    } while (whole != 0);
    if (negative)
        *--p = '-';
    return QString::fromLatin1(p, qsizetype(end - p));
}

}  // namespace BrevView
