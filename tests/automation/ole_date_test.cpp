#include "automation/ole_date.h"
#include "automation/runtime_error.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using automation::Date;

TEST(OleDateTest, SerialCountsDaysFromTheZeroDate)
{
    EXPECT_EQ(Date().ToQDate(), QDate(1899, 12, 30));
    EXPECT_EQ(Date::FromParts(1900, 1, 1).serial(), 2.0);
    EXPECT_EQ(Date::FromParts(2026, 3, 5, 18, 0).serial(), Date::FromParts(2026, 3, 5).serial() + 0.75);
    // Before the zero date the time is still a positive fraction: -1.25 is 29 Dec 1899 06:00.
    EXPECT_EQ(Date::FromParts(1899, 12, 29, 6, 0).serial(), -1.25);
    EXPECT_EQ(Date::FromSerial(-1.25).ToQDateTime(), QDateTime(QDate(1899, 12, 29), QTime(6, 0)));
}

TEST(OleDateTest, EveryDayFromYear100To9999IsTheDayTheCalendarCounts)
{
    // Days are counted without QDate; this walks every one of them beside QDate.
    QDate day(100, 1, 1);
    const QDate last(9999, 12, 31);
    const qint64 zero = QDate(1899, 12, 30).toJulianDay();
    for (; day <= last; day = day.addDays(1)) {
        const Date d = Date::FromParts(day.year(), day.month(), day.day());
        ASSERT_EQ(d.serial(), double(day.toJulianDay() - zero)) << day.toString(Qt::ISODate).toStdString();
        ASSERT_EQ(d.ToQDate(), day);
    }
    Date parsed;
    EXPECT_TRUE(Date::FromCanonicalText(QStringLiteral("2000-02-29"), &parsed));
    EXPECT_TRUE(Date::FromCanonicalText(QStringLiteral("2024-02-29 00:00:00"), &parsed));
    EXPECT_FALSE(Date::FromCanonicalText(QStringLiteral("1900-02-29"), &parsed));
    EXPECT_FALSE(Date::FromCanonicalText(QStringLiteral("2023-02-29"), &parsed));
    EXPECT_FALSE(Date::FromCanonicalText(QStringLiteral("2024-04-31"), &parsed));
    EXPECT_FALSE(Date::FromCanonicalText(QStringLiteral("2024-13-01"), &parsed));
    EXPECT_RUNTIME_ERROR(Date::FromParts(1900, 2, 29), automation::ErrOverflow);
}

TEST(OleDateTest, DaysToCountsMidnightsCrossed)
{
    const Date a = Date::FromParts(2026, 3, 5, 23, 59);
    const Date b = Date::FromParts(2026, 3, 6, 0, 1);
    EXPECT_EQ(a.DaysTo(b), 1);
    EXPECT_EQ(b.DaysTo(a), -1);
    EXPECT_EQ(a.DaysTo(Date::FromParts(2026, 3, 5)), 0);
}

TEST(OleDateTest, CanonicalTextRoundTrips)
{
    const Date d = Date::FromParts(2024, 5, 10, 17, 45, 3);
    EXPECT_EQ(d.ToCanonicalText(), QStringLiteral("2024-05-10 17:45:03"));
    Date back;
    ASSERT_TRUE(Date::FromCanonicalText(d.ToCanonicalText(), &back));
    EXPECT_EQ(back, d);
    EXPECT_EQ(Date::FromParts(100, 1, 1).ToCanonicalText(), QStringLiteral("0100-01-01 00:00:00"));
    EXPECT_FALSE(Date::FromCanonicalText(QStringLiteral("2024-02-30"), &back));
    EXPECT_FALSE(Date::FromCanonicalText(QStringLiteral("hello"), &back));
}

TEST(OleDateTest, YearsOutsideHundredToNineThousandNineHundredNinetyNineOverflow)
{
    EXPECT_RUNTIME_ERROR(Date::FromParts(99, 12, 31), 6);
    EXPECT_RUNTIME_ERROR(Date::FromParts(10000, 1, 1), 6);
    EXPECT_NO_THROW(Date::FromParts(9999, 12, 31));
}

}  // namespace
}  // namespace BrevView::test
