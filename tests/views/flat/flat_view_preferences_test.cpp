#include "common/view_preferences.h"
#include "flat_view_fixture.h"
#include "host/default_objects.h"
#include "host/object_factory.h"

namespace BrevView::test {
namespace {

std::vector<int> Widths(grid::FlexGrid& g)
{
    std::vector<int> w;
    for (int c = 0; c < g.Cols(); ++c)
        w.push_back(g.ColWidth(c));
    return w;
}

TEST_P(FlatViewTest, NoStoredPreferencesLoadFilter15AndWidthsOf900)
{
    EXPECT_EQ(View().Filter(), 15);
    EXPECT_EQ(Widths(Grid()), std::vector<int>(12, 900));  // not the widths of the built-in entries
    EXPECT_EQ(detail::LoadResString(103), QStringLiteral("15;480;885;780;885;870;1275;525;450;315;960;1500"));
    EXPECT_EQ(detail::LoadResString(104).split(QLatin1Char(';')).size(), 12);
}

TEST_P(FlatViewTest, StoredStringOfThreeFieldsFallsBack)
{
    SaveViewPreference(QStringLiteral("PrefIBOListView"), QStringLiteral("7;100;100"));
    EXPECT_EQ(View().Filter(), 15);
    EXPECT_EQ(Widths(Grid()), std::vector<int>(12, 900));
}

TEST_P(FlatViewTest, StoredFilterOutOfRangeLoadsAs15)
{
    for (const char* f : {"16", "-1"}) {
        SaveViewPreference(QStringLiteral("PrefIBOListView"),
                           QString::fromLatin1(f) + QStringLiteral(";1;2;3;4;5;6;7;8;9;10;11;12"));
        View().LoadViewPreferences(eViewMainTable);
        EXPECT_EQ(View().Filter(), 15) << f;
    }
    SaveViewPreference(QStringLiteral("PrefIBOListView"), QStringLiteral("6;1;2;3;4;5;6;7;8;9;10;11;12"));
    View().LoadViewPreferences(eViewMainTable);
    EXPECT_EQ(View().Filter(), 6);
}

TEST_P(FlatViewTest, SaveWritesThirteenFieldsUnderTheSourcesKey)
{
    View().setFilter(5);
    Grid().setColWidth(3, 1234);
    View().SaveViewPreferences(eViewArchiveTable);
    EXPECT_EQ(detail::GetViewPreference(QStringLiteral("PrefIBOArchiveView")),
              QStringLiteral("5;900;900;900;1234;900;900;900;900;900;900;900;900"));
    // setFilter saved the main table's string already.
    EXPECT_EQ(detail::GetViewPreference(QStringLiteral("PrefIBOListView")).split(QLatin1Char(';')).first(),
              QStringLiteral("5"));
}

TEST_P(FlatViewTest, SavingForSourceTwoFailsAndWritesNeitherKey)
{
    View();
    const QString before = detail::GetViewPreference(QStringLiteral("PrefIBOListView"));
    EXPECT_RUNTIME_ERROR(View().SaveViewPreferences(2), 9);
    EXPECT_EQ(detail::GetViewPreference(QStringLiteral("PrefIBOListView")), before);
    EXPECT_EQ(detail::GetViewPreference(QStringLiteral("PrefIBOArchiveView")), QString());
}

TEST_P(FlatViewTest, NonNumericStoredFieldIsAConversionError)
{
    SaveViewPreference(QStringLiteral("PrefIBOListView"), QStringLiteral("x;1;2;3;4;5;6;7;8;9;10;11;12"));
    EXPECT_RUNTIME_ERROR(View(), 13);
}

TEST_P(FlatViewTest, EveryReadAndWriteUsesANewSettingsObject)
{
    CountSettingObjects();
    View();
    EXPECT_EQ(settingsCreated_, 1);  // the load at initialisation
    View().setFilter(3);
    View().setFilter(4);
    EXPECT_EQ(settingsCreated_, 3);
}

TEST_P(FlatViewTest, ReadingViewSourceSavesThePreferences)
{
    View();
    Grid().setColWidth(0, 777);
    EXPECT_EQ(View().ViewSource(), eViewMainTable);
    EXPECT_TRUE(detail::GetViewPreference(QStringLiteral("PrefIBOListView")).contains(QStringLiteral(";777;")));
}

TEST_P(FlatViewTest, PreferencesAreSavedWhenTheViewIsDestroyed)
{
    View();
    Grid().setColWidth(11, 2222);
    view_.reset();
    EXPECT_TRUE(detail::GetViewPreference(QStringLiteral("PrefIBOListView")).endsWith(QStringLiteral(";2222")));
    EXPECT_EQ(trace_->lines.last(), QStringLiteral("EXIT BrevView.FlatView::UserControl_Terminate"));
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("ENTER BrevView.FlatView::CleanupDataAcess")));
}

TEST_P(FlatViewTest, InitialisationRunsItsStepsInOrder)
{
    View();
    QStringList enters;
    for (const QString& l : trace_->lines)
        if (l.startsWith(QStringLiteral("ENTER")))
            enters << l.mid(6);
    EXPECT_EQ(enters, (QStringList{QStringLiteral("BrevView.FlatView::UserControl_Initialize"),
                                   QStringLiteral("BrevView.FlatView::InitView"),
                                   QStringLiteral("BrevView.FlatView::InitFieldIndices"),
                                   QStringLiteral("BrevView.FlatView::InitProbabilityMatrix"),
                                   QStringLiteral("BrevView.FlatView::LoadViewPreferences"),
                                   QStringLiteral("BrevView.FlatView::PresetColumnWidths")}));
}

TEST_P(FlatViewTest, ColumnsHeadersAndSettings)
{
    grid::FlexGrid& g = Grid();
    QStringList headers;
    for (int c = 0; c < g.Cols(); ++c)
        headers << g.TextMatrix(0, c);
    EXPECT_EQ(headers, (QStringList{"IBO#", "Status", "WWIH?", "Last Name", "First Name", "Company", "WIH?", "WWGI?",
                                    "%", "Product", "Value", "IBO Note"}));
    EXPECT_EQ(g.FixedRows(), 1);
    EXPECT_EQ(g.FixedCols(), 0);
    EXPECT_EQ(g.ColAlignment(0), int(grid::flexAlignRightCenter));
    EXPECT_EQ(g.ColAlignment(8), int(grid::flexAlignRightCenter));
    EXPECT_EQ(g.ColDataType(2), int(grid::flexDTDate));
    EXPECT_EQ(g.ColDataType(10), int(grid::flexDTCurrency));
    EXPECT_EQ(g.ColFormat(10), QStringLiteral("$###,##0"));
}

}  // namespace
}  // namespace BrevView::test
