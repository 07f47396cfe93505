#include <QTest>

#include "common/view_preferences.h"
#include "forecast_view_fixture.h"
#include "views/forecast/monthly_totals.h"

namespace BrevView::test {
namespace {

using automation::Currency;

TEST_P(ForecastViewTest, NoStoredPreferencesGiveSeventeenWidthsOf960UnweightedWithoutWon)
{
    EXPECT_EQ(View().ForecastMode(), eUnweightedForecast);
    EXPECT_FALSE(View().ShowWonIBOs());
    EXPECT_EQ(View().ShowWonDateRange(), 0);
    ASSERT_EQ(Private().columnWidths.size(), 17u);
    for (int c = 0; c < 17; ++c)
        EXPECT_EQ(Grid().ColWidth(c), 960) << c;
}

TEST_P(ForecastViewTest, StoredStringOfNineteenOrTwentyOneFieldsIsRefused)
{
    View();
    for (int n : {19, 21}) {
        QStringList fields(n, QStringLiteral("700"));
        fields[0] = QStringLiteral("1");
        detail::SaveViewPreference(QStringLiteral("PrefForecastView"), fields.join(QLatin1Char(';')));
        try {
            View().LoadViewPreferences();
            ADD_FAILURE() << "accepted " << n << " fields";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.description(), QStringLiteral("View preference info field count mismatch."));
        }
        EXPECT_EQ(View().ForecastMode(), 0);
        EXPECT_EQ(Private().columnWidths, std::vector<qint32>(17, 960));
    }
}

TEST_P(ForecastViewTest, StoredStringBeginning1030MeansWeightedWithoutWonRange30)
{
    QStringList fields(20, QStringLiteral("800"));
    fields[0] = QStringLiteral("1");
    fields[1] = QStringLiteral("0");
    fields[2] = QStringLiteral("30");
    detail::SaveViewPreference(QStringLiteral("PrefForecastView"), fields.join(QLatin1Char(';')));
    EXPECT_EQ(View().ForecastMode(), eWeightedForecast);
    EXPECT_FALSE(View().ShowWonIBOs());
    EXPECT_EQ(View().ShowWonDateRange(), 30);
    EXPECT_EQ(Grid().ColWidth(16), 800);
}

TEST_P(ForecastViewTest, ANonNumericFieldKeepsWhatWasAssignedBeforeIt)
{
    View();
    QStringList fields(20, QStringLiteral("800"));
    fields[0] = QStringLiteral("1");
    fields[2] = QStringLiteral("x");
    detail::SaveViewPreference(QStringLiteral("PrefForecastView"), fields.join(QLatin1Char(';')));
    EXPECT_RUNTIME_ERROR(View().LoadViewPreferences(), 13);
    EXPECT_EQ(View().ForecastMode(), 1);
}

TEST_P(ForecastViewTest, AShortWidthListLeavesTheOtherColumnsAlone)
{
    View();
    Grid().setColWidth(5, 1111);
    Private().columnWidths = {500, 600, 700};
    Private().PresetColumnWidths();
    EXPECT_EQ(Grid().ColWidth(2), 700);
    EXPECT_EQ(Grid().ColWidth(5), 1111);
}

TEST_P(ForecastViewTest, InitialisationOrderAndTheColumnSetUpsTraceName)
{
    View();
    QStringList enters;
    for (const QString& l : trace_->lines)
        if (l.startsWith(QStringLiteral("ENTER")))
            enters << l.mid(6);
    EXPECT_EQ(enters,
              (QStringList{"BrevView.ForecastView::UserControl_Initialize", "BrevView.ForecastView::InitLookups",
                           "BrevView.ForecastView::InitProbabilityMatrix", "BrevView.ForecastView::flexGrid_DblClick",
                           "BrevView.ForecastView::InitFieldIndices", "BrevView.ForecastView::InitTotalsHeader",
                           "BrevView.ForecastView::LoadViewPreferences", "BrevView.ForecastView::PresetColumnWidths"}));
    view_.reset();
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("ENTER BrevView.ForecastView::CleanupDataAcess")));
}

// The monthly totals table on its own.
TEST(MonthlyTotalsTest, OneOpenIbo)
{
    detail::MonthlyTotals t;
    detail::GrandTotals g;
    const QStringList names{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    t.AddMonth(automation::Date::FromParts(2024, 3, 1), names);
    EXPECT_EQ(detail::CalcRowIDFromDate(automation::Date::FromParts(2024, 3, 15, 13, 0)), 202403);
    detail::MonthRow* m = t.Find(202403);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->Label, QStringLiteral("Mar - 2024    "));
    detail::AccumulateOpen(*m, g, 1000, 40);
    EXPECT_EQ(m->IboCount, 1);
    EXPECT_EQ(m->IboCountWon, 1);
    EXPECT_EQ(m->UnweightedValTotal.ToText(), QStringLiteral("1000"));
    EXPECT_EQ(m->UnweightedWonValTotal.ToText(), QStringLiteral("1000"));
    EXPECT_EQ(m->WeightedValTotal.ToText(), QStringLiteral("400"));
    EXPECT_EQ(m->WeightedWonValTotal.ToText(), QStringLiteral("400"));
    EXPECT_EQ(g.weightedOpenWon.ToText(), QStringLiteral("400"));
    EXPECT_EQ(t.Find(202404), nullptr);
}

TEST(MonthlyTotalsTest, AWonIboCountsInTheWonFiguresAtFullValue)
{
    detail::MonthRow m;
    detail::GrandTotals g;
    detail::AccumulateWon(m, g, 1000);
    EXPECT_EQ(m.IboCount, 0);
    EXPECT_EQ(m.IboCountWon, 1);
    EXPECT_TRUE(m.UnweightedValTotal.IsZero());
    EXPECT_TRUE(m.WeightedValTotal.IsZero());
    EXPECT_EQ(m.UnweightedWonValTotal.ToText(), QStringLiteral("1000"));
    EXPECT_EQ(m.WeightedWonValTotal.ToText(), QStringLiteral("1000"));
    EXPECT_EQ(g.unweightedOpenWon.ToText(), QStringLiteral("1000"));
    EXPECT_TRUE(g.unweightedOpen.IsZero());
}

TEST(MonthlyTotalsTest, AnOverflowTurnsFieldAndGrandTotalToMinusOneForGood)
{
    detail::MonthRow m;
    detail::GrandTotals g;
    detail::AccumulateOpen(m, g, 9e14, 40);
    detail::AccumulateOpen(m, g, 9e14, 40);
    EXPECT_EQ(m.UnweightedValTotal.ToText(), QStringLiteral("-1"));
    EXPECT_EQ(g.unweightedOpen.ToText(), QStringLiteral("-1"));
    EXPECT_EQ(m.WeightedValTotal.ToText(), QStringLiteral("720000000000000"));  // 40 % of each still fits
    for (int i = 0; i < 3; ++i)
        detail::AccumulateOpen(m, g, 1, 80);
    EXPECT_EQ(m.UnweightedValTotal.ToText(), QStringLiteral("-1"));
    EXPECT_EQ(g.unweightedOpen.ToText(), QStringLiteral("-1"));
    EXPECT_EQ(m.IboCount, 5);
    EXPECT_EQ(detail::AddToTotal(Currency::FromDouble(9e14), 9e14).ToText(), QStringLiteral("-1"));
    EXPECT_EQ(detail::AddWeightedToTotal(Currency(), 1000, 25).ToText(), QStringLiteral("250"));
}

TEST_P(ForecastViewTest, JanuaryAndAprilGiveFourMonthsWithTheMiddleOnesEmpty)
{
    PinToday(2025, 1, 2);
    Add(Ibo::Open(1, QStringLiteral("2025-01-20 00:00:00")));
    Add(Ibo::Open(2, QStringLiteral("2025-04-02 00:00:00")));
    View().Refresh();
    EXPECT_EQ(MonthKeys(), (QStringList{"202501", "202502", "202503", "202504"}));
    for (const char* k : {"N202502", "N202503"}) {
        const int r = Node(QString::fromLatin1(k));
        for (int c = 11; c <= 14; ++c)
            EXPECT_EQ(Grid().TextMatrix(r, c), QStringLiteral("0"));
    }
}

TEST_P(ForecastViewTest, RenderedViewInBothModes)
{
    PinToday(2024, 5, 10);
    const int uwih[] = {2, 1, 0, 2, 1, 2};
    for (int i = 0; i < 6; ++i)
        Add(Ibo::Open(10 + i, QStringLiteral("2024-0%1-1%2 00:00:00").arg(5 + i % 3).arg(i))
                .Set(QStringLiteral("DescriptorUwih"), QString::number(uwih[i]))
                .Set(QStringLiteral("IboValueNumeric"), QString::number(1000 * (i + 1))));
    Add(Ibo::Open(20, QStringLiteral("2024-04-28 00:00:00"))
            .Text(QStringLiteral("ConLastName"), QStringLiteral("Overdue")));
    Add(Won(30, QStringLiteral("2024-05-02 00:00:00")));
    View().setShowWonIBOs(true);
    View().Refresh();
    View().ExpandAllNodes();
    View().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&View()));
    const QString dir = qEnvironmentVariable("BREV_KEEP_PNG_DIR");
    QImage unweighted = View().grab().toImage();
    View().setForecastMode(eWeightedForecast);
    QImage weighted = View().grab().toImage();
    if (!dir.isEmpty()) {
        unweighted.save(dir + QStringLiteral("/forecast_unweighted.png"));
        weighted.save(dir + QStringLiteral("/forecast_weighted.png"));
    }
    EXPECT_NE(unweighted, weighted);
    // The won IBO's row has its own background.
    const QRect won = Grid().CellRect(RowOf(30), 2).translated(Grid().viewport()->pos());
    EXPECT_EQ(weighted.pixelColor(won.left() + 2, won.top() + 2), QColor(0xFB, 0xC5, 0xBC));
}

}  // namespace
}  // namespace BrevView::test
