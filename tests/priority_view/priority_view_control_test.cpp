#include <QSignalSpy>
#include <QTest>

#include "platform/settings/app_settings.h"


#include "priority_view_fixture.h"

namespace BrevView::test {
namespace {

QString Pref(const QString& key)
{
    return settings::GetSetting(QStringLiteral("Brev"), QStringLiteral("PriorityView"), key, QStringLiteral("<none>"));
}

void SetPref(const QString& key, const QString& value)
{
    settings::SaveSetting(QStringLiteral("Brev"), QStringLiteral("PriorityView"), key, value);
}

TEST_F(PriorityViewTest, RangeValueZeroReadsBackAsOneAndNegativesAreKept)
{
    View().setSalesCycleRangeValue(0);
    EXPECT_EQ(View().SalesCycleRangeValue(), 1);
    View().setSalesCycleRangeValue(-5);
    EXPECT_EQ(View().SalesCycleRangeValue(), -5);
    View().setSalesCycleRangeValue(250);
    EXPECT_EQ(View().SalesCycleRangeValue(), 250);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("ENTER BrevView.PriorityView::PropertyLet:SalesCycleRangeValue")));
}

TEST_F(PriorityViewTest, RangeUnitsAreStoredUncheckedAndOnlyLoadingClamps)
{
    View().setSalesCycleRangeUnits(7);
    EXPECT_EQ(View().SalesCycleRangeUnits(), 7);
    View().SaveViewPreferences();
    EXPECT_EQ(Pref(QStringLiteral("SCRangeUnits")), QStringLiteral("7"));
    View().LoadViewPreferences();
    EXPECT_EQ(View().SalesCycleRangeUnits(), 2);
}

TEST_F(PriorityViewTest, StoredRangeValuesAreClampedWhenLoaded)
{
    for (const auto& [stored, loaded] : std::vector<std::pair<QString, int>>{{"0", 3}, {"100", 3}, {"99", 99}, {"1", 1}}) {
        SetPref(QStringLiteral("SCRangeValue"), stored);
        View().LoadViewPreferences();
        EXPECT_EQ(View().SalesCycleRangeValue(), loaded) << stored.toStdString();
    }
    SetPref(QStringLiteral("SCRangeUnits"), QStringLiteral("-1"));
    View().LoadViewPreferences();
    EXPECT_EQ(View().SalesCycleRangeUnits(), 2);
}

TEST_F(PriorityViewTest, DefaultsAndColumnWidthsFromTheSettings)
{
    SetPref(QStringLiteral("ColWidth5"), QStringLiteral("1234"));
    SetPref(QStringLiteral("ColWidth0"), QStringLiteral("5000"));  // column 0 is never read
    EXPECT_EQ(View().SalesCycleRangeUnits(), 2);
    EXPECT_EQ(View().SalesCycleRangeValue(), 3);
    EXPECT_EQ(Grid().ColWidth(5), 1234);
    EXPECT_EQ(Grid().ColWidth(6), 900);
    EXPECT_EQ(Grid().ColWidth(0), 10);
    Grid().setColWidth(6, 777);
    view_.reset();  // saved when the view ends
    EXPECT_EQ(Pref(QStringLiteral("ColWidth6")), QStringLiteral("777"));
    EXPECT_EQ(Pref(QStringLiteral("ColWidth15")), QStringLiteral("900"));
    EXPECT_EQ(Pref(QStringLiteral("SCRangeValue")), QStringLiteral("3"));
    EXPECT_EQ(Pref(QStringLiteral("ColWidth0")), QStringLiteral("5000"));
}

TEST_F(PriorityViewTest, NonNumericStoredValueFailsTheLoad)
{
    SetPref(QStringLiteral("SCRangeValue"), QStringLiteral("lots"));
    EXPECT_RUNTIME_ERROR(View(), 13);
}

TEST_F(PriorityViewTest, ColumnsAndTheTwoLineHeader)
{
    grid::FlexGrid& g = Grid();
    ASSERT_EQ(g.Cols(), 16);
    EXPECT_EQ(g.TextMatrix(0, 1), QStringLiteral("IBO#"));
    EXPECT_EQ(g.TextMatrix(0, 15), QStringLiteral("IBO Note"));
    EXPECT_TRUE(g.ColHidden(14));
    EXPECT_EQ(g.RowHeight(0), 500);
    EXPECT_EQ(g.ColFormat(11), QStringLiteral("$###,##0"));
    EXPECT_EQ(g.ColAlignment(12), int(grid::flexAlignCenterTop));
    // 5 March 2026, three months: 46 days either side, month-day-year order.
    EXPECT_EQ(g.TextMatrix(0, 12), QStringLiteral("Sales Cycle\rJan/18/26 - Apr/20/26"));
    View().setSalesCycleRangeUnits(0);
    EXPECT_EQ(g.TextMatrix(0, 12), QStringLiteral("Sales Cycle\rMar/03/26 - Mar/07/26"));
}

TEST_F(PriorityViewTest, AddOutlineTotalThroughTheControl)
{
    EXPECT_EQ(View().AddOutlineTotal(Currency(), 2.5).ToText(), QStringLiteral("2.5"));
    EXPECT_EQ(View().AddOutlineTotal(Currency::FromTicks(-10000), 10).ToText(), QStringLiteral("-1"));
    Currency result;
    ASSERT_TRUE(QMetaObject::invokeMethod(&View(), "AddOutlineTotal", Q_RETURN_ARG(BrevView::Currency, result),
                                          Q_ARG(BrevView::Currency, Currency::FromDouble(1)), Q_ARG(double, 0.25)));
    EXPECT_EQ(result.ToText(), QStringLiteral("1.25"));
}

TEST_F(PriorityViewTest, InitialisationOpensTheDatabaseAndAMissingFileFails)
{
    qputenv("BREV_DATABASE", TempPath(QStringLiteral("gone.db")).toLocal8Bit());
    EXPECT_RUNTIME_ERROR(View(), 3024);
}

}  // namespace
}  // namespace BrevView::test
