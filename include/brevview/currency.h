#pragma once
// The automation Currency: a signed 64-bit count of ten-thousandths, so that
// money sums are exact and an overflow is an error (run-time error 6), never a
// silent wrap.

#include <QMetaType>
#include <QString>
#include <QtGlobal>

#include "export.h"

namespace BrevView {

class BREVVIEW_EXPORT Currency {
public:
    static constexpr qint64 kScale = 10000;

    constexpr Currency() = default;
    static constexpr Currency FromTicks(qint64 ticks) { Currency c; c.ticks_ = ticks; return c; }
    static Currency FromLong(qint64 whole);               // error 6 beyond the range
    // Rounds half to even at four decimals; error 6 outside ±922,337,203,685,477.5807.
    static Currency FromDouble(double value);

    constexpr qint64 ticks() const { return ticks_; }
    double ToDouble() const { return double(ticks_) / double(kScale); }
    bool IsNegative() const { return ticks_ < 0; }
    bool IsZero() const { return ticks_ == 0; }

    // Error 6 when the result leaves the range.
    Currency operator+(Currency other) const;
    Currency operator-(Currency other) const;
    Currency operator-() const;

    // The automation text form: "2.5", "1000", "-0.0001": no trailing zeros, "." as separator.
    QString ToText() const;

    friend constexpr bool operator==(Currency a, Currency b) { return a.ticks_ == b.ticks_; }
    friend constexpr auto operator<=>(Currency a, Currency b) { return a.ticks_ <=> b.ticks_; }

private:
    qint64 ticks_ = 0;
};

}  // namespace BrevView

Q_DECLARE_METATYPE(BrevView::Currency)
