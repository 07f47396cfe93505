#include "views/priority/sales_cycle.h"
#include "automation/locale_info.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using automation::Currency;
using automation::Date;
using detail::ComputeViewDates;
using detail::SalesCycleTooltip;

const Date kToday = Date::FromParts(2026, 3, 5);

TEST(SalesCycleTest, DefaultThreeMonthsIsSymmetricAroundToday)
{
    const auto d = ComputeViewDates(kToday, 3, 2);  // 46.5 days either side, rounded once
    EXPECT_EQ(d.today, kToday);
    EXPECT_EQ(d.start.DaysTo(kToday), kToday.DaysTo(d.end));
    EXPECT_EQ(kToday.DaysTo(d.end), 46);
}

TEST(SalesCycleTest, OneDayRangeIsYesterdayToTomorrow)
{
    const auto d = ComputeViewDates(kToday, 1, 0);
    EXPECT_EQ(d.start, Date::FromParts(2026, 3, 4));
    EXPECT_EQ(d.end, Date::FromParts(2026, 3, 6));
}

TEST(SalesCycleTest, UnitsOutOfRangeBehaveAsMonths)
{
    EXPECT_EQ(ComputeViewDates(kToday, 2, 9).end, ComputeViewDates(kToday, 2, 2).end);
    EXPECT_EQ(kToday.DaysTo(ComputeViewDates(kToday, 2, 1).end), 7);
    EXPECT_EQ(kToday.DaysTo(ComputeViewDates(kToday, 2, 3).end), 365);
    EXPECT_EQ(kToday.DaysTo(ComputeViewDates(kToday, -5, 2).end), 1);  // half below one day
}

TEST(SalesCycleTest, HeaderTextFollowsTheShortDateOrder)
{
    automation::SetLocaleOverride(QLocale(QLocale::English, QLocale::UnitedKingdom));
    const detail::ViewDates d{Date::FromParts(2026, 10, 16), kToday, Date::FromParts(2026, 12, 1)};
    EXPECT_EQ(detail::SalesCycleHeaderText(d, 1), QStringLiteral("Sales Cycle\r16/Oct/26 - 01/Dec/26"));
    EXPECT_EQ(detail::SalesCycleHeaderText(d, 2), QStringLiteral("Sales Cycle\r26/Oct/16 - 26/Dec/01"));
    EXPECT_EQ(detail::SalesCycleHeaderText(d, 0), QStringLiteral("Sales Cycle\rOct/16/26 - Dec/01/26"));
    EXPECT_EQ(detail::SalesCycleHeaderText(d, 7), QStringLiteral("Sales Cycle\rOct/16/26 - Dec/01/26"));
    automation::SetLocaleOverride(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_TRUE(detail::SalesCycleHeaderText(d, 1).startsWith(QStringLiteral("Sales Cycle\r16.")));
    automation::SetLocaleOverride(std::nullopt);
}

TEST(SalesCycleTest, AMonthAbbreviationEndingInTheSeparatorIsNotFollowedByItAgain)
{
    const QLocale german(QLocale::German, QLocale::Germany);
    automation::SetLocaleOverride(german);
    const detail::ViewDates d{Date::FromParts(2026, 10, 7), kToday, Date::FromParts(2027, 1, 7)};
    const QString oct = german.toString(QDate(2026, 10, 7), QStringLiteral("MMM"));
    const QString jan = german.toString(QDate(2027, 1, 7), QStringLiteral("MMM"));
    ASSERT_TRUE(oct.endsWith(QLatin1Char('.')));  // "Okt." in this locale's data
    const QString header = detail::SalesCycleHeaderText(d, 1);
    EXPECT_EQ(header, QStringLiteral("Sales Cycle\r07.") + oct + QStringLiteral("26 - 07.") + jan +
                          (jan.endsWith(QLatin1Char('.')) ? QString() : QStringLiteral(".")) + QStringLiteral("27"));
    EXPECT_FALSE(header.contains(QStringLiteral("..")));
    EXPECT_TRUE(
        detail::SalesCycleHeaderText(d, 0).startsWith(QStringLiteral("Sales Cycle\r") + oct + QStringLiteral("07.26")));
    automation::SetLocaleOverride(std::nullopt);
}

TEST(SalesCycleTest, TooltipPhases)
{
    // Qualified 10 days ago, closing in 10: f = 0.5, the start of "prove".
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(-10), kToday.AddDays(10), kToday),
              QStringLiteral("You are 0% through the prove phase."));
    // Qualified and closing today: total 0 is the end of "close".
    EXPECT_EQ(SalesCycleTooltip(kToday, kToday, kToday), QStringLiteral("You are 100% through the close phase."));
    // Qualified tomorrow: 0 % of "probe".
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(1), kToday.AddDays(20), kToday),
              QStringLiteral("You are 0% through the probe phase."));
    // 40 % of "prove": total 100, elapsed 64 (f 0.64; (64 - 50) / 35 = 0.4).
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(-64), kToday.AddDays(36), kToday),
              QStringLiteral("You are 40% through the prove phase."));
    // probe: total 100, elapsed 25 -> 50 %.
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(-25), kToday.AddDays(75), kToday),
              QStringLiteral("You are 50% through the probe phase."));
    // close: total 100, elapsed 91 -> (91 - 85) / 15 = 40 %.
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(-91), kToday.AddDays(9), kToday),
              QStringLiteral("You are 40% through the close phase."));
}

TEST(SalesCycleTest, TooltipOfAnOverdueCycleCountsTheDays)
{
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(-30), kToday.AddDays(-3), kToday), QStringLiteral("3 day(s) overdue."));
    EXPECT_EQ(SalesCycleTooltip(kToday.AddDays(-30), kToday.AddDays(-12), kToday),
              QStringLiteral("12 day(s) overdue."));
}

TEST(SalesCycleTest, AddOutlineTotal)
{
    EXPECT_EQ(detail::AddOutlineTotal(Currency(), 2.5).ToText(), QStringLiteral("2.5"));
    EXPECT_EQ(detail::AddOutlineTotal(Currency::FromTicks(-10000), 10).ToText(), QStringLiteral("-1"));
    EXPECT_EQ(detail::AddOutlineTotal(Currency::FromDouble(9e14), 9e14).ToText(), QStringLiteral("-1"));
    EXPECT_EQ(detail::AddOutlineTotal(Currency::FromTicks(5), 1e20).ToText(), QStringLiteral("-1"));
}

TEST(SalesCycleTest, WeeksToClose)
{
    EXPECT_EQ(detail::WeeksToCloseText(kToday.AddDays(3), kToday), QStringLiteral("!"));
    EXPECT_EQ(detail::WeeksToCloseText(kToday.AddDays(-1), kToday), QStringLiteral("0"));
    EXPECT_EQ(detail::WeeksToCloseText(kToday.AddDays(-21), kToday), QStringLiteral("-3"));
    EXPECT_EQ(detail::WeeksToCloseText(kToday.AddDays(11), kToday), QStringLiteral("2"));
}

}  // namespace
}  // namespace BrevView::test
