#include <limits>

#include "automation/currency.h"
#include "automation/runtime_error.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using automation::Currency;

TEST(CurrencyTest, FromDoubleRoundsHalfToEvenAtFourDecimals)
{
    // 0.5 and 1.5 ten-thousandths are exact in binary after scaling by 10000 only as
    // halves of whole ticks: 0.00005 * 10000 = 0.5 rounds to 0, 0.00015 to 2.
    EXPECT_EQ(Currency::FromDouble(2.5 / 10000).ticks(), 2);
    EXPECT_EQ(Currency::FromDouble(3.5 / 10000).ticks(), 4);
    EXPECT_EQ(Currency::FromDouble(-2.5 / 10000).ticks(), -2);
    EXPECT_EQ(Currency::FromDouble(1234.56).ticks(), 12345600);
    EXPECT_EQ(Currency::FromDouble(0.123456).ticks(), 1235);
}

TEST(CurrencyTest, TextHasNoTrailingZeros)
{
    EXPECT_EQ(Currency::FromDouble(2.5).ToText(), QStringLiteral("2.5"));
    EXPECT_EQ(Currency::FromDouble(1000).ToText(), QStringLiteral("1000"));
    EXPECT_EQ(Currency::FromTicks(-1).ToText(), QStringLiteral("-0.0001"));
    EXPECT_EQ(Currency::FromTicks(0).ToText(), QStringLiteral("0"));
    EXPECT_EQ(Currency::FromTicks(std::numeric_limits<qint64>::max()).ToText(), QStringLiteral("922337203685477.5807"));
    EXPECT_EQ(Currency::FromTicks(std::numeric_limits<qint64>::min()).ToText(),
              QStringLiteral("-922337203685477.5808"));
}

TEST(CurrencyTest, TextOfEachAmountIsItsDecimalWithoutTrailingZeros)
{
    // Against the decimal written out in full and then trimmed.
    auto expected = [](qint64 ticks) {
        const quint64 m = ticks < 0 ? quint64(0) - quint64(ticks) : quint64(ticks);
        QString text = QString::asprintf("%s%llu.%04llu", ticks < 0 ? "-" : "", m / 10000, m % 10000);
        while (text.endsWith(QLatin1Char('0')))
            text.chop(1);
        if (text.endsWith(QLatin1Char('.')))
            text.chop(1);
        return text;
    };
    for (qint64 t = -25000; t <= 25000; ++t)
        ASSERT_EQ(Currency::FromTicks(t).ToText(), expected(t)) << t;
    for (qint64 t : {qint64(123456789) * 10000 + 5, qint64(-98765) * 10000 - 120, qint64(1) << 62})
        EXPECT_EQ(Currency::FromTicks(t).ToText(), expected(t)) << t;
}

TEST(CurrencyTest, AdditionLeavingTheRangeIsOverflow)
{
    const Currency max = Currency::FromTicks(std::numeric_limits<qint64>::max());
    EXPECT_RUNTIME_ERROR(max + Currency::FromTicks(1), 6);
    EXPECT_RUNTIME_ERROR(Currency::FromTicks(std::numeric_limits<qint64>::min()) - Currency::FromTicks(1), 6);
    EXPECT_EQ((max + Currency::FromTicks(-1)).ticks(), std::numeric_limits<qint64>::max() - 1);
}

TEST(CurrencyTest, FromDoubleOutsideTheRangeIsOverflow)
{
    EXPECT_RUNTIME_ERROR(Currency::FromDouble(1e15), 6);
    EXPECT_RUNTIME_ERROR(Currency::FromDouble(-1e15), 6);
    EXPECT_RUNTIME_ERROR(Currency::FromDouble(std::numeric_limits<double>::infinity()), 6);
    EXPECT_EQ(Currency::FromDouble(9e14).ticks(), qint64(9e18));
}

TEST(RuntimeErrorTest, CarriesNumberSourceAndStandardText)
{
    const RuntimeError e(94, QStringLiteral("BrevView.FlatView::Refresh"));
    EXPECT_EQ(e.number(), 94);
    EXPECT_EQ(e.source(), QStringLiteral("BrevView.FlatView::Refresh"));
    EXPECT_EQ(e.description(), QStringLiteral("Invalid use of Null"));
    EXPECT_EQ(RuntimeError(6).description(), QStringLiteral("Overflow"));
    EXPECT_EQ(RuntimeError(13).description(), QStringLiteral("Type mismatch"));
    EXPECT_EQ(RuntimeError(91).description(), QStringLiteral("Object variable or With block variable not set"));
    EXPECT_EQ(RuntimeError(9).description(), QStringLiteral("Subscript out of range"));
    EXPECT_EQ(RuntimeError(5).description(), QStringLiteral("Invalid procedure call or argument"));
    EXPECT_EQ(RuntimeError(3265).description(), QStringLiteral("Item not found in this collection."));
    EXPECT_EQ(RuntimeError(13, {}, QStringLiteral("custom")).description(), QStringLiteral("custom"));
}

}  // namespace
}  // namespace BrevView::test
