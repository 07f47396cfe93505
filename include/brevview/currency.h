#pragma once
/// \file currency.h
/// \brief The automation Currency type.

#include <QMetaType>
#include <QString>
#include <QtGlobal>

#include "export.h"

namespace BrevView {

/// \brief A signed 64-bit count of ten-thousandths, so that money sums are exact and an
/// overflow is an error (run-time error 6), never a silent wrap.
class BREVVIEW_EXPORT Currency {
public:
    /// Ticks per unit: four decimals.
    static constexpr qint64 kScale = 10000;

    /// Zero.
    constexpr Currency() = default;
    /// The amount of `ticks` ten-thousandths.
    static constexpr Currency FromTicks(qint64 ticks)
    {
        Currency c;
        c.ticks_ = ticks;
        return c;
    }
    /// A whole amount; error 6 beyond the range.
    static Currency FromLong(qint64 whole);
    /// Rounds half to even at four decimals; error 6 outside ±922,337,203,685,477.5807.
    static Currency FromDouble(double value);

    /// The amount in ten-thousandths.
    constexpr qint64 ticks() const { return ticks_; }
    /// The amount as a double (for display and weighting only).
    double ToDouble() const { return double(ticks_) / double(kScale); }
    /// Whether the amount is below zero.
    bool IsNegative() const { return ticks_ < 0; }
    /// Whether the amount is zero.
    bool IsZero() const { return ticks_ == 0; }

    /// The sum; error 6 when it leaves the range.
    Currency operator+(Currency other) const;
    /// The difference; error 6 when it leaves the range.
    Currency operator-(Currency other) const;
    /// The negated amount; error 6 for the lowest amount.
    Currency operator-() const;

    /// The automation text form: "2.5", "1000", "-0.0001": no trailing zeros, "." as separator.
    QString ToText() const;

    /// Equal amounts.
    friend constexpr bool operator==(Currency a, Currency b) { return a.ticks_ == b.ticks_; }
    /// Amounts ordered by value.
    friend constexpr auto operator<=>(Currency a, Currency b) { return a.ticks_ <=> b.ticks_; }

private:
    qint64 ticks_ = 0;
};

}  // namespace BrevView

Q_DECLARE_METATYPE(BrevView::Currency)
