#include "currency.h"

#include <cmath>
#include <limits>

#include "runtime_error.h"

namespace BrevView {

using automation::Raise;
using automation::ErrOverflow;


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
    if (ticks_ % kScale == 0)
        return QString::number(ticks_ / kScale);
    const bool negative = ticks_ < 0;
    // Work in unsigned so that the minimum value has a magnitude too.
    const quint64 magnitude = negative ? quint64(0) - quint64(ticks_) : quint64(ticks_);
    const quint64 whole = magnitude / quint64(kScale);
    quint64 frac = magnitude % quint64(kScale);
    QString text = negative ? QStringLiteral("-") : QString();
    text += QString::number(whole);
    if (frac != 0) {
        QString digits = QStringLiteral("%1").arg(frac, 4, 10, QLatin1Char('0'));
        while (digits.endsWith(QLatin1Char('0')))
            digits.chop(1);
        text += QLatin1Char('.') + digits;
    }
    return text;
}

}  // namespace BrevView
