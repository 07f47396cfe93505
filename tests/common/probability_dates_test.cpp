#include <limits>

#include "common/dates.h"
#include "common/probability.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using automation::Date;
using automation::Variant;

detail::ProbabilityMatrix Matrix()
{
    detail::ProbabilityMatrix m;
    m.Init();
    return m;
}

TEST(ProbabilityTest, PercentTextIsTheDecimalTextInsideAndOutsideZeroToHundred)
{
    EXPECT_EQ(detail::PercentText(0), QStringLiteral("0"));
    EXPECT_EQ(detail::PercentText(60), QStringLiteral("60"));
    EXPECT_EQ(detail::PercentText(100), QStringLiteral("100"));
    EXPECT_EQ(detail::PercentText(101), QStringLiteral("101"));
    EXPECT_EQ(detail::PercentText(-5), QStringLiteral("-5"));
}

TEST(ProbabilityTest, MatrixValuesInIndexOrder)
{
    EXPECT_EQ(Matrix().values(), (std::array<qint32, 9>{10, 15, 25, 15, 40, 60, 25, 60, 80}));
}

TEST(ProbabilityTest, LookupInRange)
{
    const auto m = Matrix();
    EXPECT_EQ(m.Lookup(2, 2), 80);
    EXPECT_EQ(m.Lookup(1, 1), 40);
    EXPECT_EQ(m.Lookup(0, 2), 25);
    EXPECT_EQ(m.Lookup(2, 0), 25);
}

TEST(ProbabilityTest, OutOfRangePositionsFallBackToTheFirstElement)
{
    const auto m = Matrix();
    EXPECT_EQ(m.Lookup(-1, -1), 10);                                 // k = -3
    EXPECT_EQ(m.Lookup(3, 3), 10);                                   // k = 13
    EXPECT_EQ(m.Lookup(std::numeric_limits<qint32>::max(), 1), 10);  // k overflows
    EXPECT_EQ(m.Lookup(Variant::Null(), Variant(qint32(1))), 10);
}

TEST(ProbabilityTest, OutOfRangePairLandingInsideReadsThatCell)
{
    const auto m = Matrix();
    EXPECT_EQ(m.Lookup(0, 3), 15);   // k = 4
    EXPECT_EQ(m.Lookup(1, -1), 25);  // k = 3
    EXPECT_EQ(m.Lookup(7, 0), 10);   // k = 22
}

TEST(ProbabilityTest, WeightedValueIsCurrency)
{
    EXPECT_EQ(detail::WeightedValue(50, 1000).ToText(), QStringLiteral("500"));
    EXPECT_EQ(detail::WeightedValue(25, 0.3).ToText(), QStringLiteral("0.075"));
    EXPECT_RUNTIME_ERROR(detail::WeightedValue(100, 1e16), 6);
}

TEST(DatesTest, NormalizeDateDropsTheTime)
{
    EXPECT_EQ(detail::NormalizeDate(Date::FromParts(2026, 3, 5, 17, 45)), Date::FromParts(2026, 3, 5));
    EXPECT_EQ(detail::NormalizeDate(Date::FromParts(2026, 3, 5)), Date::FromParts(2026, 3, 5));
    EXPECT_EQ(detail::NormalizeDate(Date::FromParts(1899, 12, 29, 6, 0)), Date::FromParts(1899, 12, 29));
}

TEST(DatesTest, NormalizeIgnoringErrorsGivesTheZeroDate)
{
    EXPECT_EQ(detail::NormalizeDateIgnoringErrors(Variant::Null()), Date());
    EXPECT_EQ(detail::NormalizeDateIgnoringErrors(Variant("garbage")), Date());
    EXPECT_EQ(detail::NormalizeDateIgnoringErrors(Variant(Date::FromParts(2024, 5, 10, 17, 45))),
              Date::FromParts(2024, 5, 10));
}

}  // namespace
}  // namespace BrevView::test
