#include <QSignalSpy>
#include <QTest>

#include "common/expander.h"
#include "priority_view_fixture.h"

namespace BrevView::test {
namespace {

class PriorityOutlineTest : public PriorityViewTest {
protected:
    void SetUp() override
    {
        PriorityViewTest::SetUp();
        Add(Ibo::Open(1, Day(-3)));
        Add(Ibo::Open(2, Day(5)));
        Add(Ibo::Open(3, Day(6)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("2")));
        View().Refresh();
        View().show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&View()));
    }
    QWidget* Port() { return Grid().viewport(); }
    QPoint At(int row, int col) { return Grid().CellRect(row, col).center(); }
    detail::Expander& Exp() { return Private().expander; }
};

TEST(ExpanderTest, ExpandTwiceThenCollapseOnceLeavesTheNodeClosed)
{
    detail::Expander e;
    e.Expand(3);
    e.Expand(3);
    e.Collapse(3);
    EXPECT_FALSE(e.Contains(3));
    e.Collapse(9);  // not in the set: nothing
    EXPECT_TRUE(e.Ids().isEmpty());
    e.Expand(4);
    e.Expand(1);
    EXPECT_EQ(e.Ids(), (QList<qint32>{4, 1}));
    e.Clear();
    EXPECT_TRUE(e.Ids().isEmpty());
}

TEST_P(PriorityOutlineTest, UserExpandedNodesReopenAfterARefresh)
{
    Grid().setIsCollapsed(NodeRow(1), 0);
    EXPECT_TRUE(Exp().Contains(1));
    View().Refresh();
    EXPECT_EQ(Grid().IsCollapsed(NodeRow(1)), 0);
    EXPECT_EQ(Grid().IsCollapsed(NodeRow(2)), 2);
    EXPECT_TRUE(Grid().RowIsVisible(RowOf(2)));
    EXPECT_FALSE(Grid().RowIsVisible(RowOf(3)));
}

TEST_P(PriorityOutlineTest, AfterClearTheNextRefreshShowsEveryGroupClosed)
{
    View().ExpandAllNodes();
    Exp().Clear();
    View().Refresh();
    for (int g = 0; g <= 5; ++g)
        EXPECT_EQ(Grid().IsCollapsed(NodeRow(g)), 2) << g;
}

TEST_P(PriorityOutlineTest, ARememberedNodeThatDisappearsStaysAndReopensWhenItReturns)
{
    // A remembered id whose group is not in the grid after a refresh stays in the set.
    Exp().Expand(7);
    View().Refresh();
    EXPECT_TRUE(Exp().Contains(7));
    // When a node with that id is shown again (built during a refresh), it is opened.
    Private().refreshing = true;
    Grid().setRows(Grid().Rows() + 1);
    const int r = Grid().Rows() - 1;
    Grid().setIsSubtotal(r, true);
    Grid().setRowDataValue(r, automation::Variant(QStringLiteral("N7")));
    Grid().setIsCollapsed(r, 2);
    Private().refreshing = false;
    Exp().RefreshOutline(Grid());
    EXPECT_EQ(Grid().IsCollapsed(r), 0);
    EXPECT_TRUE(Exp().Contains(7));
}

TEST_P(PriorityOutlineTest, ExpandAndCollapseAllReachTheExpander)
{
    View().ExpandAllNodes();
    EXPECT_EQ(Exp().Ids().size(), 6);
    for (int g = 0; g <= 5; ++g)
        EXPECT_EQ(Grid().IsCollapsed(NodeRow(g)), 0);
    View().CollapseAllNodes();
    EXPECT_TRUE(Exp().Ids().isEmpty());
    EXPECT_EQ(Grid().Redraw(), 1);
}

TEST_P(PriorityOutlineTest, ExpandAllOnAHeaderOnlyGridChangesNothing)
{
    Grid().setRows(1);
    View().ExpandAllNodes();
    EXPECT_TRUE(Exp().Ids().isEmpty());
    EXPECT_EQ(Grid().Rows(), 1);
}

TEST_P(PriorityOutlineTest, CollapsingDuringARefreshLeavesTheExpanderUnchanged)
{
    Grid().setIsCollapsed(NodeRow(1), 0);
    Private().refreshing = true;
    Grid().setIsCollapsed(NodeRow(1), 2);
    Grid().setIsCollapsed(NodeRow(2), 0);
    Private().refreshing = false;
    EXPECT_EQ(Exp().Ids(), QList<qint32>{1});
}

TEST_P(PriorityOutlineTest, DoubleClickTogglesANodeAndOpensAnIbo)
{
    QSignalSpy edit(&View(), &PriorityView::IboEdit);
    const int node = NodeRow(2);
    QTest::mouseClick(Port(), Qt::LeftButton, {}, At(node, 4));
    QTest::mouseDClick(Port(), Qt::LeftButton, {}, At(node, 4));
    EXPECT_EQ(Grid().IsCollapsed(node), 0);
    EXPECT_TRUE(Exp().Contains(2));
    QTest::mouseClick(Port(), Qt::LeftButton, {}, At(RowOf(3), 4));
    QTest::mouseDClick(Port(), Qt::LeftButton, {}, At(RowOf(3), 4));
    ASSERT_EQ(edit.count(), 1);
    EXPECT_EQ(edit.at(0).at(0).toInt(), 3);
    QTest::mouseClick(Port(), Qt::LeftButton, {}, At(node, 4));
    QTest::mouseDClick(Port(), Qt::LeftButton, {}, At(node, 4));
    EXPECT_EQ(Grid().IsCollapsed(node), 2);
    EXPECT_FALSE(Exp().Contains(2));
}

TEST_P(PriorityOutlineTest, RightClickOnAGroupMakesItCurrentAndRaisesNothing)
{
    QSignalSpy right(&View(), &PriorityView::RightClick);
    QTest::mouseClick(Port(), Qt::RightButton, {}, At(NodeRow(1), 3));
    EXPECT_EQ(Grid().Row(), NodeRow(1));
    EXPECT_EQ(right.count(), 0);
    View().ExpandAllNodes();
    QTest::mouseClick(Port(), Qt::RightButton, {}, At(RowOf(1), 3));
    ASSERT_EQ(right.count(), 1);
    EXPECT_EQ(right.at(0).at(0).toInt(), 1);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("ENTER BrevView.PriorityView::flexGrid_DblClick")));
}

TEST_P(PriorityOutlineTest, GetSelectionSkipsGroupRowsAndIsNullForGroupsOnly)
{
    Grid().SelectRows({NodeRow(0), NodeRow(1)});
    EXPECT_FALSE(View().GetSelection().isValid());
    Grid().SelectRows({NodeRow(0), RowOf(2), RowOf(1)});
    EXPECT_EQ(View().GetSelection().value<QList<qint32>>(), (QList<qint32>{2, 1}));
}

TEST_P(PriorityOutlineTest, GotoIboOpensTheNodeAndSelectsTheRow)
{
    View().GotoIBO(3);
    EXPECT_EQ(Grid().Row(), RowOf(3));
    EXPECT_TRUE(Grid().RowIsVisible(RowOf(3)));
    EXPECT_TRUE(Exp().Contains(2));
    const int row = Grid().Row();
    View().GotoIBO(999);
    EXPECT_EQ(Grid().Row(), row);
}

TEST_P(PriorityOutlineTest, TheFirstColumnCannotBeResized)
{
    bool cancel = false;
    emit Grid().BeforeUserResize(0, 0, cancel);
    EXPECT_TRUE(cancel);
    cancel = false;
    emit Grid().BeforeUserResize(0, 4, cancel);
    EXPECT_FALSE(cancel);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("EXIT BrevView.PriorityView::flexGrid_BeforeUserResize")));
}

TEST_P(PriorityOutlineTest, TooltipsOverTheHeaderAndTheSalesCycle)
{
    QTest::mouseMove(Port(), At(0, 2));
    EXPECT_EQ(Grid().ToolTipText(), QStringLiteral("Weeks To Close"));
    View().ExpandAllNodes();
    // IBO 2: qualified 1 January, closing 10 March, today 5 March: 63 of 68 days, so
    // (63 - 34 - 23.8) / 10.2 = 51 % of "close".
    QTest::mouseMove(Port(), At(RowOf(2), 12));
    EXPECT_EQ(Grid().ToolTipText(), QStringLiteral("You are 51% through the close phase."));
    QTest::mouseMove(Port(), At(RowOf(1), 12));
    EXPECT_EQ(Grid().ToolTipText(), QStringLiteral("3 day(s) overdue."));
    QTest::mouseMove(Port(), At(NodeRow(1), 12));
    EXPECT_EQ(Grid().ToolTipText(), QString());
}

BREV_ON_BOTH_ENGINES(PriorityOutlineTest);

}  // namespace
}  // namespace BrevView::test
