#include <QGuiApplication>

#include "host/mouse_pointer.h"
#include "priority_view_fixture.h"

namespace BrevView::test {
namespace {

TEST_P(PriorityViewTest, EmptyDatabaseGivesSevenRowsAllNodesCollapsed)
{
    View().Refresh();
    grid::FlexGrid& g = Grid();
    ASSERT_EQ(g.Rows(), 7);
    EXPECT_EQ(g.RowDataValue(0), automation::Variant(qint32(-1)));
    const QStringList captions{"Overdues",     "Review First",        "Review Second",
                               "Review Third", "Breakthrough Needed", "Leave It Alone"};
    for (int r = 1; r <= 6; ++r) {
        EXPECT_EQ(g.TextMatrix(r, 0), captions[r - 1]);
        EXPECT_EQ(g.RowDataValue(r), automation::Variant(QStringLiteral("N%1").arg(r - 1)));
        EXPECT_TRUE(g.IsSubtotal(r));
        EXPECT_EQ(g.RowOutlineLevel(r), 0);
        EXPECT_EQ(g.TextMatrix(r, 10), QStringLiteral("0"));
        EXPECT_EQ(g.TextMatrix(r, 11), QStringLiteral("0"));
        EXPECT_EQ(g.TextMatrix(r, 12), QStringLiteral(" "));
        EXPECT_EQ(g.IsCollapsed(r), 2);
    }
}

TEST_P(PriorityViewTest, NodeColoursBoldAndBackgrounds)
{
    Add(Ibo::Open(1, Day(-3)));
    Add(Ibo::Open(2, Day(5)));
    View().Refresh();
    grid::FlexGrid& g = Grid();
    const int over = NodeRow(0), first = NodeRow(1), ibo = RowOf(1);
    EXPECT_EQ(g.Cell(grid::flexcpBackColor, over, 12).toInt(), 0xFFF1E0);
    EXPECT_EQ(g.Cell(grid::flexcpBackColor, over, 13).toInt(), -1);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, over, 10).toInt(), 0xDC8764);
    EXPECT_TRUE(g.Cell(grid::flexcpFontBold, over, 12).toBool());
    EXPECT_EQ(g.Cell(grid::flexcpBackColor, first, 12).toInt(), 0xFFFFFF);
    EXPECT_TRUE(g.Cell(grid::flexcpFontBold, first, 11).toBool());
    EXPECT_FALSE(g.Cell(grid::flexcpFontBold, first, 12).toBool());       // priority nodes: bold only up to "Value"
    EXPECT_EQ(g.Cell(grid::flexcpBackColor, ibo, 14).toInt(), 0xFFF1E0);  // an overdue IBO row
    EXPECT_EQ(g.Cell(grid::flexcpBackColor, RowOf(2), 3).toInt(), -1);
    // Blue descriptors from row 2 on, green values from row 1 on.
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, over, 7).toInt(), 0xDC8764);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 2, 7).toInt(), 0xFF0000);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 1, 11).toInt(), 0x008000);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, first, 11).toInt(), 0x008000);
}

TEST_P(PriorityViewTest, ClosingTodayIsInItsPriorityGroupAndYesterdayIsOverdue)
{
    Add(Ibo::Open(1, Day(0, QStringLiteral("17:45:00")))
            .Set(QStringLiteral("DescriptorPriority"), QStringLiteral("3")));
    Add(Ibo::Open(2, Day(-1)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("5")));
    Add(Ibo::Open(3, Day(4)).Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2")));  // won: not shown
    Add(Ibo::Open(4, Day(4)).Set(QStringLiteral("RecStatusArchive"), QStringLiteral("1")));  // archived: not shown
    View().Refresh();
    EXPECT_EQ(Grid().GetNodeRow(RowOf(1), grid::FlexGrid::flexNTParent), NodeRow(3));
    EXPECT_EQ(Grid().GetNodeRow(RowOf(2), grid::FlexGrid::flexNTParent), NodeRow(0));
    EXPECT_EQ(RowOf(3), -1);
    EXPECT_EQ(RowOf(4), -1);
    EXPECT_EQ(Grid().TextMatrix(NodeRow(3), 10), QStringLiteral("1"));
    EXPECT_EQ(Grid().TextMatrix(NodeRow(0), 10), QStringLiteral("1"));
}

TEST_P(PriorityViewTest, IboRowCells)
{
    Add(Ibo::Open(8, Day(10))
            .Set(QStringLiteral("DescriptorUwih"), QStringLiteral("2"))
            .Set(QStringLiteral("DescriptorUwwgi"), QStringLiteral("1"))
            .Set(QStringLiteral("IboValueNumeric"), QStringLiteral("2500"))
            .Set(QStringLiteral("IboValueDecimal"), QStringLiteral("25"))
            .Text(QStringLiteral("DateQualified"), QStringLiteral("2026-02-01 00:00:00")));
    View().Refresh();
    grid::FlexGrid& g = Grid();
    const int r = RowOf(8);
    ASSERT_GT(r, 0);
    EXPECT_EQ(g.TextMatrix(r, 0), QString());
    EXPECT_EQ(g.TextMatrix(r, 1), QStringLiteral("IBO-8"));
    EXPECT_EQ(g.TextMatrix(r, 2), QStringLiteral("1"));
    EXPECT_EQ(g.TextMatrix(r, 3), QStringLiteral("3/15/26"));
    EXPECT_EQ(g.TextMatrix(r, 4), QStringLiteral("Last8"));
    EXPECT_EQ(g.TextMatrix(r, 5), QStringLiteral("First8"));
    EXPECT_EQ(g.TextMatrix(r, 6), QStringLiteral("Company8"));
    EXPECT_EQ(g.TextMatrix(r, 7), QStringLiteral("High"));
    EXPECT_EQ(g.TextMatrix(r, 8), QStringLiteral("Med"));
    EXPECT_EQ(g.TextMatrix(r, 9), QStringLiteral("60"));
    EXPECT_EQ(g.TextMatrix(r, 10), QString());
    EXPECT_EQ(g.TextMatrix(r, 11), QStringLiteral("2500.25"));
    EXPECT_EQ(g.TextMatrix(r, 12), QString());
    EXPECT_EQ(g.TextMatrix(r, 13), QStringLiteral("Widget"));
    EXPECT_EQ(g.TextMatrix(r, 14), QStringLiteral("2/1/26"));
    EXPECT_EQ(g.TextMatrix(r, 15), QStringLiteral("note 8"));
    EXPECT_EQ(g.TextMatrix(NodeRow(1), 11), QStringLiteral("2500.25"));
}

TEST_P(PriorityViewTest, WeeksToCloseTexts)
{
    Add(Ibo::Open(1, Day(2)));
    Add(Ibo::Open(2, Day(10)));
    Add(Ibo::Open(3, Day(-17)));
    Add(Ibo::Open(4, Day(0)));
    Add(Ibo::Open(5, Day(4)));
    View().Refresh();
    EXPECT_EQ(Grid().TextMatrix(RowOf(1), 2), QStringLiteral("!"));
    EXPECT_EQ(Grid().TextMatrix(RowOf(2), 2), QStringLiteral("1"));
    EXPECT_EQ(Grid().TextMatrix(RowOf(3), 2), QStringLiteral("-2"));
    EXPECT_EQ(Grid().TextMatrix(RowOf(4), 2), QStringLiteral("!"));
    EXPECT_EQ(Grid().TextMatrix(RowOf(5), 2), QStringLiteral("1"));
}

TEST_P(PriorityViewTest, RowsSharingAClosingDateAndTheRowsAfterThemEachShowTheirOwnDayAndWeeks)
{
    Add(Ibo::Open(1, Day(2)));
    Add(Ibo::Open(2, Day(2)));
    Add(Ibo::Open(3, Day(2, QStringLiteral("09:30:00"))));
    Add(Ibo::Open(4, Day(10)));
    Add(Ibo::Open(5, Day(10)));
    Add(Ibo::Open(6, Day(30)));
    Add(Ibo::Open(7, Day(-17)));
    Add(Ibo::Open(8, Day(-17)));
    Add(Ibo::Open(9, Day(-3)));
    View().Refresh();
    const QStringList days{"3/7/26", "3/7/26",  "3/7/26",  "3/15/26", "3/15/26",
                           "4/4/26", "2/16/26", "2/16/26", "3/2/26"};
    const QStringList weeks{"!", "!", "!", "1", "1", "4", "-2", "-2", "0"};
    for (int id = 1; id <= 9; ++id) {
        SCOPED_TRACE(id);
        EXPECT_EQ(Grid().TextMatrix(RowOf(id), 3), days[id - 1]);
        EXPECT_EQ(Grid().TextMatrix(RowOf(id), 2), weeks[id - 1]);
    }
    // Three rows of one day, then the next day: in date order within the group.
    EXPECT_EQ(RowOf(4), RowOf(3) + 1);
}

TEST_P(PriorityViewTest, OutOfRangeDescriptorShowsErrAndTheFirstProbability)
{
    Add(Ibo::Open(1, Day(6))
            .Set(QStringLiteral("DescriptorUwih"), QStringLiteral("7"))
            .Set(QStringLiteral("DescriptorUwwgi"), QStringLiteral("2")));
    View().Refresh();
    EXPECT_EQ(Grid().TextMatrix(RowOf(1), 7), QStringLiteral("ERR"));
    EXPECT_EQ(Grid().TextMatrix(RowOf(1), 9), QStringLiteral("10"));
}

TEST_P(PriorityViewTest, OverflowingGroupShowsAsterisksAndStillWritesItsRows)
{
    Add(Ibo::Open(1, Day(6)).Set(QStringLiteral("IboValueNumeric"), QStringLiteral("900000000000000")));
    Add(Ibo::Open(2, Day(7)).Set(QStringLiteral("IboValueNumeric"), QStringLiteral("900000000000000")));
    Add(Ibo::Open(3, Day(8)).Set(QStringLiteral("IboValueNumeric"), QStringLiteral("5")));
    View().Refresh();
    EXPECT_EQ(Grid().TextMatrix(NodeRow(1), 11), QStringLiteral("**********"));
    EXPECT_EQ(Grid().TextMatrix(NodeRow(1), 10), QStringLiteral("3"));
    EXPECT_GT(RowOf(3), 0);
}

TEST_P(PriorityViewTest, OverdueOrderIsPriorityThenDate)
{
    Add(Ibo::Open(1, Day(-2)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("2")));
    Add(Ibo::Open(2, Day(-9)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("2")));
    Add(Ibo::Open(3, Day(-1)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("1")));
    View().Refresh();
    EXPECT_EQ(RowOf(3), 2);
    EXPECT_EQ(RowOf(2), 3);
    EXPECT_EQ(RowOf(1), 4);
}

TEST_P(PriorityViewTest, NullWhereAConversionIsRequiredFailsThroughTheErrorTail)
{
    Add(Ibo::Open(1, Day(3)));
    Add(Ibo::Open(2, Day(4)).Set(QStringLiteral("IboValueNumeric"), QStringLiteral("NULL")));
    View();
    host::ScreenMousePointer::Set(0);
    EXPECT_RUNTIME_ERROR(View().Refresh(), 94);
    EXPECT_FALSE(Private().refreshing);
    EXPECT_EQ(Grid().Redraw(), 1);
    EXPECT_EQ(host::ScreenMousePointer::Get(), 0);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("HANDLE 94")));
}

TEST_P(PriorityViewTest, StoredQueriesAreCreatedOnFirstUseAndUsedAsTheyStand)
{
    ForgetStoredQueries(db_);
    View().Refresh();
    EXPECT_EQ(QueryText(db_, QStringLiteral("SELECT Name FROM BrevQueryDefs ORDER BY Name")),
              QStringLiteral("V21_GetIbosForPriorityView\nV21_GetIbosForPriorityViewOverdues"));
    // A host's own text for the overdue query: only priority 4 overdues.
    Exec(
        db_,
        QStringLiteral(
            "UPDATE BrevQueryDefs SET SQL = replace(SQL, '(DescriptorStatus = 1)', '(DescriptorStatus = 1) And (DescriptorPriority = 4)') "
            "WHERE Name = 'V21_GetIbosForPriorityViewOverdues'"));
    Add(Ibo::Open(1, Day(-3)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("1")));
    Add(Ibo::Open(2, Day(-3)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("4")));
    View().Refresh();
    EXPECT_EQ(RowOf(1), -1);
    EXPECT_GT(RowOf(2), 0);
}

TEST_P(PriorityViewTest, RefreshTraceShowsTheRefreshAndHeader)
{
    View();
    trace_->lines.clear();
    View().Refresh();
    EXPECT_EQ(trace_->lines.first(), QStringLiteral("ENTER BrevView.PriorityView::Refresh"));
    EXPECT_EQ(trace_->lines.at(1), QStringLiteral("ENTER BrevView.PriorityView::RefreshSCHeader"));
    EXPECT_EQ(trace_->lines.last(), QStringLiteral("EXIT BrevView.PriorityView::Refresh"));
    EXPECT_FALSE(trace_->lines.join(QLatin1Char('\n')).contains(QStringLiteral("AfterCollapse")));
}

}  // namespace
TEST_P(PriorityViewTest, NormalizeDateIsUntracedAndReportsAFailureUnderItsOwnSourceWithTheZeroDate)
{
    // It runs for every IBO row: no trace lines on its normal path.
    Private();  // the control made, with its own trace lines
    trace_->lines.clear();
    EXPECT_EQ(Private().NormalizeDate(automation::Date::FromParts(2026, 3, 5, 17, 45)),
              automation::Date::FromParts(2026, 3, 5));
    EXPECT_TRUE(trace_->lines.isEmpty()) << trace_->lines.join(QLatin1Char(',')).toStdString();
    // A date past year 9999 cannot be rebuilt (overflow, 6): reported, and the zero date.
    EXPECT_EQ(Private().NormalizeDate(automation::Date::FromSerial(1.0e7)), automation::Date());
    EXPECT_EQ(trace_->lines, QStringList{QStringLiteral("HANDLE 6")});
    EXPECT_EQ(automation::Err().source, QStringLiteral("BrevView.PriorityView::NormalizeDate"));
}

BREV_ON_BOTH_ENGINES(PriorityViewTest);

}  // namespace BrevView::test
