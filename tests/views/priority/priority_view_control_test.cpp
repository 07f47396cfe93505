#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

#include "host/app_settings.h"

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

TEST_P(PriorityViewTest, RangeValueZeroReadsBackAsOneAndNegativesAreKept)
{
    View().setSalesCycleRangeValue(0);
    EXPECT_EQ(View().SalesCycleRangeValue(), 1);
    View().setSalesCycleRangeValue(-5);
    EXPECT_EQ(View().SalesCycleRangeValue(), -5);
    View().setSalesCycleRangeValue(250);
    EXPECT_EQ(View().SalesCycleRangeValue(), 250);
    EXPECT_TRUE(
        trace_->lines.contains(QStringLiteral("ENTER BrevView.PriorityView::PropertyLet:SalesCycleRangeValue")));
}

TEST_P(PriorityViewTest, RangeUnitsAreStoredUncheckedAndOnlyLoadingClamps)
{
    View().setSalesCycleRangeUnits(7);
    EXPECT_EQ(View().SalesCycleRangeUnits(), 7);
    View().SaveViewPreferences();
    EXPECT_EQ(Pref(QStringLiteral("SCRangeUnits")), QStringLiteral("7"));
    View().LoadViewPreferences();
    EXPECT_EQ(View().SalesCycleRangeUnits(), 2);
}

TEST_P(PriorityViewTest, StoredRangeValuesAreClampedWhenLoaded)
{
    for (const auto& [stored, loaded] :
         std::vector<std::pair<QString, int>>{{"0", 3}, {"100", 3}, {"99", 99}, {"1", 1}}) {
        SetPref(QStringLiteral("SCRangeValue"), stored);
        View().LoadViewPreferences();
        EXPECT_EQ(View().SalesCycleRangeValue(), loaded) << stored.toStdString();
    }
    SetPref(QStringLiteral("SCRangeUnits"), QStringLiteral("-1"));
    View().LoadViewPreferences();
    EXPECT_EQ(View().SalesCycleRangeUnits(), 2);
}

TEST_P(PriorityViewTest, DefaultsAndColumnWidthsFromTheSettings)
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

TEST_P(PriorityViewTest, NonNumericStoredValueFailsTheLoad)
{
    SetPref(QStringLiteral("SCRangeValue"), QStringLiteral("lots"));
    EXPECT_NO_THROW(View());
    ASSERT_TRUE(View().lastError().has_value());
    EXPECT_EQ(View().lastError()->number(), 13);
    QSignalSpy errors(&View(), &PriorityView::ErrorRaised);
    QCoreApplication::processEvents();
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 13);
}

TEST_P(PriorityViewTest, ColumnsAndTheTwoLineHeader)
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

TEST_P(PriorityViewTest, AddOutlineTotalThroughTheControl)
{
    EXPECT_EQ(View().AddOutlineTotal(Currency(), 2.5).ToText(), QStringLiteral("2.5"));
    EXPECT_EQ(View().AddOutlineTotal(Currency::FromTicks(-10000), 10).ToText(), QStringLiteral("-1"));
    Currency result;
    ASSERT_TRUE(QMetaObject::invokeMethod(&View(), "AddOutlineTotal", Q_RETURN_ARG(BrevView::Currency, result),
                                          Q_ARG(BrevView::Currency, Currency::FromDouble(1)), Q_ARG(double, 0.25)));
    EXPECT_EQ(result.ToText(), QStringLiteral("1.25"));
}

TEST_P(PriorityViewTest, InitialisationOpensTheDatabaseAndAMissingSQLiteFileIsReportedNotThrown)
{
    const QString gone = TempPath(QStringLiteral("gone.db"));
    qputenv("BREV_DATABASE", gone.toLocal8Bit());
    PriorityView* view = nullptr;
    EXPECT_NO_THROW(view = &View());
    ASSERT_TRUE(view->lastError().has_value());
    EXPECT_EQ(view->lastError()->number(), 3024);
    // The trace shows the failed initialisation as any traced procedure's error.
    const int at = int(trace_->lines.indexOf(QStringLiteral("ENTER BrevView.PriorityView::UserControl_Initialize")));
    ASSERT_GE(at, 0);
    EXPECT_EQ(trace_->lines.mid(at, 4),
              (QStringList{QStringLiteral("ENTER BrevView.PriorityView::UserControl_Initialize"),
                           QStringLiteral("ENTER BrevView.PriorityView::SetupDataAccess"),
                           QStringLiteral("HANDLE 3024"), QStringLiteral("HANDLE 3024")}));
    EXPECT_FALSE(trace_->lines.contains(QStringLiteral("EXIT BrevView.PriorityView::UserControl_Initialize")));
    // The error is shown where the grid would be, and reported once the host could connect.
    auto* shown = view->findChild<QLabel*>(QStringLiteral("openError"));
    ASSERT_NE(shown, nullptr);
    EXPECT_TRUE(shown->isVisibleTo(view));
    EXPECT_TRUE(shown->text().contains(QStringLiteral("3024")));
    QSignalSpy errors(view, &PriorityView::ErrorRaised);
    QCoreApplication::processEvents();
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 3024);
    // The rest of the control is set up: its columns and header are there.
    EXPECT_EQ(Grid().Cols(), 16);
    EXPECT_EQ(Grid().TextMatrix(0, 1), QStringLiteral("IBO#"));

    // The next Refresh opens the database again; once it is there, the view fills.
    EXPECT_RUNTIME_ERROR(view->Refresh(), 3024);
    ASSERT_TRUE(QFile::copy(db_, gone));
    Exec(gone, Ibo::Open(7, Day(20)).InsertSql());
    EXPECT_NO_THROW(view->Refresh());
    EXPECT_FALSE(view->lastError().has_value());
    EXPECT_FALSE(shown->isVisibleTo(view));
    EXPECT_GE(RowOf(7), 1);
}

}  // namespace
}  // namespace BrevView::test
