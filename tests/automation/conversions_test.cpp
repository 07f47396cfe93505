#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "automation/conversions.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using automation::Currency;
using automation::Date;
using automation::Variant;

class ConversionsTest : public TestEnv {};

TEST_F(ConversionsTest, NullConvertedToAnythingIsInvalidUseOfNull)
{
    EXPECT_RUNTIME_ERROR(automation::ToText(Variant::Null()), 94);
    EXPECT_RUNTIME_ERROR(automation::ToLong(Variant::Null()), 94);
    EXPECT_RUNTIME_ERROR(automation::ToDouble(Variant::Null()), 94);
    EXPECT_RUNTIME_ERROR(automation::ToCurrency(Variant::Null()), 94);
    EXPECT_RUNTIME_ERROR(automation::ToDate(Variant::Null()), 94);
}

TEST_F(ConversionsTest, NonNumericTextToNumberIsTypeMismatch)
{
    EXPECT_RUNTIME_ERROR(automation::ToLong(Variant("N3")), 13);
    EXPECT_RUNTIME_ERROR(automation::ToDouble(Variant("abc")), 13);
    EXPECT_RUNTIME_ERROR(automation::ToCurrency(Variant("")), 13);
}

TEST_F(ConversionsTest, ToLongRoundsHalfToEven)
{
    EXPECT_EQ(automation::ToLong(Variant(2.5)), 2);
    EXPECT_EQ(automation::ToLong(Variant(3.5)), 4);
    EXPECT_EQ(automation::ToLong(Variant(-2.5)), -2);
    EXPECT_EQ(automation::ToLong(Variant(-3.5)), -4);
    EXPECT_EQ(automation::ToLong(Variant(2.4999)), 2);
    EXPECT_EQ(automation::ToLong(Variant("42")), 42);
    EXPECT_EQ(automation::ToLong(Variant(" -7 ")), -7);
    EXPECT_EQ(automation::ToLong(Variant(Currency::FromTicks(25000))), 2);  // 2.5
    EXPECT_EQ(automation::ToLong(Variant(Currency::FromTicks(35000))), 4);  // 3.5
    EXPECT_EQ(automation::ToLong(Variant(Currency::FromTicks(-25000))), -2);
}

TEST_F(ConversionsTest, ToLongOutOfRangeIsOverflow)
{
    EXPECT_EQ(automation::ToLong(Variant(2147483647.0)), std::numeric_limits<qint32>::max());
    EXPECT_RUNTIME_ERROR(automation::ToLong(Variant(2147483648.0)), 6);
    EXPECT_RUNTIME_ERROR(automation::ToLong(Variant(-2147483649.0)), 6);
    EXPECT_RUNTIME_ERROR(automation::ToLong(Variant(3e12)), 6);
    EXPECT_RUNTIME_ERROR(automation::ToLong(Variant("1e20")), 6);
}

TEST_F(ConversionsTest, IsNumericAcceptsNumbersOnly)
{
    EXPECT_FALSE(automation::IsNumeric(Variant("N3")));
    EXPECT_TRUE(automation::IsNumeric(Variant("42")));
    EXPECT_TRUE(automation::IsNumeric(Variant("-7")));
    EXPECT_TRUE(automation::IsNumeric(Variant(" 2.5 ")));
    EXPECT_TRUE(automation::IsNumeric(Variant("1E3")));
    EXPECT_FALSE(automation::IsNumeric(Variant("")));
    EXPECT_FALSE(automation::IsNumeric(Variant("1.2.3")));
    EXPECT_FALSE(automation::IsNumeric(Variant("inf")));
    EXPECT_FALSE(automation::IsNumeric(Variant::Null()));
    EXPECT_TRUE(automation::IsNumeric(Variant(qint32(-1))));
}

TEST_F(ConversionsTest, DoubleToTextIsShortestDecimal)
{
    EXPECT_EQ(automation::DoubleToText(0.1), QStringLiteral("0.1"));
    EXPECT_EQ(automation::DoubleToText(2.5), QStringLiteral("2.5"));
    EXPECT_EQ(automation::DoubleToText(1000), QStringLiteral("1000"));
    EXPECT_EQ(automation::DoubleToText(-1234.56), QStringLiteral("-1234.56"));
    EXPECT_EQ(automation::DoubleToText(0.1 + 0.2), QStringLiteral("0.30000000000000004"));
    EXPECT_EQ(automation::DoubleToText(0.0001), QStringLiteral("0.0001"));
    EXPECT_EQ(automation::DoubleToText(0.00001), QStringLiteral("1E-05"));
    EXPECT_EQ(automation::DoubleToText(0.00012), QStringLiteral("0.00012"));
    EXPECT_EQ(automation::DoubleToText(1e15), QStringLiteral("1E+15"));
    EXPECT_EQ(automation::DoubleToText(123456789012345.0), QStringLiteral("123456789012345"));
    EXPECT_EQ(automation::DoubleToText(0), QStringLiteral("0"));
    double back = 0;
    ASSERT_TRUE(automation::ParseNumber(automation::DoubleToText(1.0 / 3.0), &back));
    EXPECT_EQ(back, 1.0 / 3.0);
}

TEST_F(ConversionsTest, AmountsWithCentsPrintAsTheirShortestDecimal)
{
    EXPECT_EQ(automation::DoubleToText(0.05), QStringLiteral("0.05"));
    EXPECT_EQ(automation::DoubleToText(-0.07), QStringLiteral("-0.07"));
    EXPECT_EQ(automation::DoubleToText(12.1), QStringLiteral("12.1"));
    EXPECT_EQ(automation::DoubleToText(99999999999.99), QStringLiteral("99999999999.99"));
    EXPECT_EQ(automation::DoubleToText(1234567890123.45), QStringLiteral("1234567890123.45"));
    // Near cents but not the double nearest to them: every digit is kept.
    EXPECT_EQ(automation::DoubleToText(std::nextafter(0.3, 1.0)), QStringLiteral("0.30000000000000004"));
    // Across magnitudes, the text is the shortest fixed-point text that reads back as the value.
    std::uint64_t seed = 20261123;
    for (int i = 0; i < 20000; ++i) {
        seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
        const int digits = 1 + int((seed >> 33) % 15);
        qint64 cents = qint64((seed >> 11) % std::uint64_t(std::pow(10.0, digits)));
        if (i % 3 == 0)
            cents = -cents;
        const double value = double(cents) / 100;
        char expected[64];
        const auto end = std::to_chars(expected, expected + sizeof expected, value, std::chars_format::fixed).ptr;
        ASSERT_EQ(automation::DoubleToText(value), QString::fromLatin1(expected, end - expected)) << cents;
    }
}

TEST_F(ConversionsTest, NumberWrittenAsCharactersReadsBackAsTheSameNumber)
{
    std::vector<double> values{0.0,
                               -0.0,
                               1,
                               -1,
                               42,
                               1e15,
                               -1e15,
                               1e16,
                               999999999999999.0,
                               0.5,
                               -0.05,
                               1234.56,
                               0.1,
                               1.0 / 3,
                               1e-5,
                               -2.5e-7,
                               123456789.125,
                               1e300,
                               -1e-300,
                               5e-324,
                               std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()};
    for (int i = -3000; i <= 3000; ++i)
        values.push_back(i / 100.0 + i * 1000.0);
    for (const double v : values) {
        char text[automation::kDoubleTextMax];
        const int n = automation::DoubleToChars(v, text);
        ASSERT_GT(n, 0) << v;
        ASSERT_LT(n, automation::kDoubleTextMax) << v;
        if (!std::isfinite(v))
            continue;
        double back = 0;
        const auto [end, ec] = std::from_chars(text, text + n, back);
        EXPECT_EQ(ec, std::errc()) << QByteArray(text, n).constData();
        EXPECT_EQ(end, text + n) << QByteArray(text, n).constData();
        EXPECT_EQ(back, v) << QByteArray(text, n).constData();
    }
    // What the characters say, for a few whose text is known.
    char text[automation::kDoubleTextMax];
    EXPECT_EQ(QByteArray(text, automation::DoubleToChars(-1234.5, text)), QByteArray("-1234.5"));
    EXPECT_EQ(QByteArray(text, automation::DoubleToChars(1e16, text)), QByteArray("1E+16"));
    EXPECT_EQ(QByteArray(text, automation::DoubleToChars(123456789012345.0, text)), QByteArray("123456789012345"));
    EXPECT_EQ(QByteArray(text, automation::DoubleToChars(-std::numeric_limits<double>::infinity(), text)),
              QByteArray("-Infinity"));
    EXPECT_EQ(QByteArray(text, automation::DoubleToChars(-0.05, text)), QByteArray("-0.05"));
    EXPECT_EQ(QByteArray(text, automation::DoubleToChars(1e-5, text)), QByteArray("1E-05"));
}

TEST_F(ConversionsTest, TextOfEachType)
{
    EXPECT_EQ(automation::ToText(Variant(qint32(-12))), QStringLiteral("-12"));
    EXPECT_EQ(automation::ToText(Variant(true)), QStringLiteral("True"));
    EXPECT_EQ(automation::ToText(Variant()), QString());
    EXPECT_EQ(automation::ToText(Variant(Currency::FromDouble(2.5))), QStringLiteral("2.5"));
    EXPECT_EQ(automation::ToText(Variant(Date::FromParts(2026, 3, 5))), QStringLiteral("3/5/26"));
    EXPECT_EQ(automation::ToText(Variant(Date::FromParts(2026, 3, 5, 17, 45))), QStringLiteral("3/5/26 17:45:00"));
    EXPECT_EQ(automation::ToText(Variant(Date::FromParts(2026, 3, 5, 7, 5, 9))), QStringLiteral("3/5/26 07:05:09"));
    EXPECT_EQ(automation::ToText(Variant(Date::FromParts(2026, 3, 5, 23, 59, 59))), QStringLiteral("3/5/26 23:59:59"));
    EXPECT_EQ(automation::ToText(Variant(Date::FromSerial(0.75))),
              QStringLiteral("18:00:00"));  // a time without a date
}

TEST_F(ConversionsTest, DateFromTextReadsCanonicalAndShortForms)
{
    EXPECT_EQ(automation::ToDate(Variant("2024-05-10 17:45:00")), Date::FromParts(2024, 5, 10, 17, 45));
    EXPECT_EQ(automation::ToDate(Variant("3/5/26")), Date::FromParts(2026, 3, 5));
    EXPECT_EQ(automation::ToDate(Variant("3/5/26 17:45:00")), Date::FromParts(2026, 3, 5, 17, 45));
    EXPECT_RUNTIME_ERROR(automation::ToDate(Variant("not a date")), 13);
    EXPECT_RUNTIME_ERROR(automation::ToDate(Variant(1e9)), 6);
}

TEST_F(ConversionsTest, DateWrittenAsShortTextReadsBackTheSameDay)
{
    for (const QDate d :
         {QDate(2026, 3, 5), QDate(2000, 1, 1), QDate(2029, 12, 31), QDate(1990, 7, 4), QDate(1930, 1, 1)}) {
        const Variant text(automation::ToText(Variant(Date::FromQDate(d))));
        EXPECT_EQ(automation::ToDate(text).ToQDate(), d) << text.stringValue().toStdString();
    }
}

TEST_F(ConversionsTest, BooleansAndCurrencyFromText)
{
    EXPECT_TRUE(automation::ToBool(Variant("True")));
    EXPECT_FALSE(automation::ToBool(Variant(qint32(0))));
    EXPECT_EQ(automation::ToCurrency(Variant("1234.5678")).ticks(), 12345678);
    EXPECT_EQ(automation::ToCurrency(Variant(qint32(7))).ticks(), 70000);
}

}  // namespace
}  // namespace BrevView::test
