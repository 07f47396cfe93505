#include <QMetaObject>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include "grid/grid_format.h"
#include "grid_fixture.h"

namespace BrevView::test {
namespace {

using grid::FlexGrid;

std::vector<int> Visible(const FlexGrid& g)
{
    return g.VisibleRows();
}

TEST_F(GridTest, RowsGrowAndShrinkFromTheEnd)
{
    FlexGrid& g = *grid_;
    g.setCols(2);
    g.setRows(1);
    for (int i = 0; i < 1000; ++i) {
        g.setRows(g.Rows() + 1);
        g.setTextMatrix(g.Rows() - 1, 1, QString::number(i));
    }
    EXPECT_EQ(g.Rows(), 1001);
    EXPECT_EQ(g.TextMatrix(1000, 1), QStringLiteral("999"));
    g.setRows(10);
    EXPECT_EQ(g.Rows(), 10);
    EXPECT_EQ(g.TextMatrix(9, 1), QStringLiteral("8"));
    g.setRows(12);
    EXPECT_EQ(g.TextMatrix(11, 1), QString());  // a new row starts empty
}

TEST_F(GridTest, AddItemInsertsARowAndMovesTheRestDown)
{
    FillOutline();
    FlexGrid& g = *grid_;
    g.setRow(4);
    g.AddItem(QStringLiteral("New\tx"), 2);
    EXPECT_EQ(g.Rows(), 10);
    EXPECT_EQ(g.TextMatrix(2, 0), QStringLiteral("New"));
    EXPECT_EQ(g.TextMatrix(2, 1), QStringLiteral("x"));
    EXPECT_EQ(g.TextMatrix(3, 0), QStringLiteral("Row 2"));
    EXPECT_EQ(g.GetNode(QStringLiteral("N1")), 5);
    EXPECT_EQ(g.Row(), 5);
    EXPECT_EQ(g.GetNodeRow(2, FlexGrid::flexNTParent), 1);
    g.AddItem(QStringLiteral("Last"));
    EXPECT_EQ(g.TextMatrix(10, 0), QStringLiteral("Last"));
    EXPECT_RUNTIME_ERROR(g.AddItem(QString(), 99), 381);
}

TEST_F(GridTest, TextAndRowDataOutOfRangeAreNumberedErrors)
{
    FlexGrid& g = *grid_;
    g.setCols(2);
    g.setRows(2);
    EXPECT_RUNTIME_ERROR(g.TextMatrix(2, 0), 381);
    EXPECT_RUNTIME_ERROR(g.setTextMatrix(0, 2, QStringLiteral("x")), 381);
    EXPECT_RUNTIME_ERROR(g.RowDataValue(-1), 381);
    EXPECT_RUNTIME_ERROR(g.setRows(-1), 380);
}

TEST_F(GridTest, RowDataHoldsNumbersAndTexts)
{
    FillOutline();
    EXPECT_EQ(grid_->RowDataValue(2), automation::Variant(qint32(102)));
    EXPECT_EQ(grid_->RowDataValue(5), automation::Variant(QStringLiteral("N11")));
    grid_->setRowData(3, QVariant(QStringLiteral("N3")));
    EXPECT_EQ(grid_->RowData(3).toString(), QStringLiteral("N3"));
    grid_->setRowData(3, QVariant(-1));
    EXPECT_EQ(grid_->RowDataValue(3), automation::Variant(qint32(-1)));
}

TEST_F(GridTest, CurrencyFormatRendersAsTheFormatFunction)
{
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("1234.56"), QStringLiteral("$###,##0")), QStringLiteral("$1,235"));
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("0"), QStringLiteral("$###,##0")), QStringLiteral("$0"));
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("1234567.5"), QStringLiteral("$###,##0")),
              QStringLiteral("$1,234,568"));
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("-1234.56"), QStringLiteral("$###,##0")), QStringLiteral("-$1,235"));
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("0.4"), QStringLiteral("$###,##0")), QStringLiteral("$0"));
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("**********"), QStringLiteral("$###,##0")),
              QStringLiteral("**********"));
    EXPECT_EQ(grid::FormatCellText(QStringLiteral("2.5"), QStringLiteral("#,##0.00")), QStringLiteral("2.50"));
    FlexGrid& g = *grid_;
    g.setCols(2);
    g.setRows(2);
    g.setColDataType(1, grid::flexDTCurrency);
    g.setColFormat(1, QStringLiteral("$###,##0"));
    g.setTextMatrix(0, 1, QStringLiteral("1000"));
    g.setTextMatrix(1, 1, QStringLiteral("1234.56"));
    EXPECT_EQ(g.DisplayText(1, 1), QStringLiteral("$1,235"));
    EXPECT_EQ(g.TextMatrix(1, 1), QStringLiteral("1234.56"));
    EXPECT_EQ(g.DisplayText(0, 1), QStringLiteral("1000"));  // the header is never formatted
}

TEST_F(GridTest, CellSettingsApplyToBlocks)
{
    FillOutline();
    FlexGrid& g = *grid_;
    g.setCell(grid::flexcpForeColor, 2, 1, 8, 2, 0xFF0000);  // blue as a COLORREF
    g.setCell(grid::flexcpFontBold, 1, 0, 1, 2, true);
    g.setCell(grid::flexcpBackColor, 1, 0, 1, 2, 0xFFF1E0);
    g.setCell(grid::flexcpFontName, 0, 0, 8, 2, QStringLiteral("Helvetica"));
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 5, 2).toInt(), 0xFF0000);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 1, 2).toInt(), -1);
    EXPECT_TRUE(g.Cell(grid::flexcpFontBold, 1, 1).toBool());
    EXPECT_FALSE(g.Cell(grid::flexcpFontBold, 2, 1).toBool());
    EXPECT_EQ(g.Cell(grid::flexcpBackColor, 1, 0).toInt(), 0xFFF1E0);
    EXPECT_EQ(g.Cell(grid::flexcpFontName, 7, 1).toString(), QStringLiteral("Helvetica"));
    g.setCell(grid::flexcpAlignment, 3, 0, 3, 0, grid::flexAlignRightCenter);
    EXPECT_EQ(g.Cell(grid::flexcpAlignment, 3, 0).toInt(), int(grid::flexAlignRightCenter));
    g.setColAlignment(1, grid::flexAlignCenterCenter);
    EXPECT_EQ(g.Cell(grid::flexcpAlignment, 2, 1).toInt(), int(grid::flexAlignCenterCenter));
    g.setCell(grid::flexcpText, 2, 1, 3, 1, QStringLiteral("t"));
    EXPECT_EQ(g.TextMatrix(3, 1), QStringLiteral("t"));
    EXPECT_RUNTIME_ERROR(g.setCell(99, 1, 1, 1, 1, 0), 380);
}

TEST_F(GridTest, CollapsedNodeHidesRowsUpToTheNextNodeOfTheSameOrLowerLevel)
{
    FillOutline();
    FlexGrid& g = *grid_;
    EXPECT_EQ(Visible(g), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
    g.setIsCollapsed(5, FlexGrid::flexOutlineCollapsed);
    // Row 8 sits after the level-1 node but belongs to it too: only a node of level <= 1 ends it.
    EXPECT_EQ(Visible(g), (std::vector<int>{1, 2, 3, 4, 5}));
    g.setIsCollapsed(5, FlexGrid::flexOutlineExpanded);
    g.setIsCollapsed(1, FlexGrid::flexOutlineCollapsed);
    EXPECT_EQ(Visible(g), (std::vector<int>{1, 4, 5, 6, 7, 8}));
    g.setIsCollapsed(4, FlexGrid::flexOutlineCollapsed);
    EXPECT_EQ(Visible(g), (std::vector<int>{1, 4}));
    EXPECT_FALSE(g.RowIsVisible(6));
    EXPECT_EQ(g.IsCollapsed(4), 2);
    EXPECT_EQ(g.IsCollapsed(5), 0);
}

TEST_F(GridTest, AfterCollapseIsRaisedWhenStateIsChangedFromCode)
{
    FillOutline();
    FlexGrid& g = *grid_;
    QSignalSpy spy(&g, &FlexGrid::AfterCollapse);
    g.setIsCollapsed(4, 2);
    g.setNodeExpanded(g.GetNode(QStringLiteral("N1")), true);
    ASSERT_EQ(spy.count(), 2);
    EXPECT_EQ(spy.at(0).at(0).toInt(), 4);
    EXPECT_EQ(spy.at(0).at(1).toInt(), 2);
    EXPECT_EQ(spy.at(1).at(0).toInt(), 4);
    EXPECT_EQ(spy.at(1).at(1).toInt(), 0);
}

TEST_F(GridTest, PlainRowsAnswerForTheNodeThatHoldsThem)
{
    FillOutline();
    FlexGrid& g = *grid_;
    QSignalSpy spy(&g, &FlexGrid::AfterCollapse);
    g.setIsCollapsed(7, FlexGrid::flexOutlineCollapsed);  // row 7 sits under node 5
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toInt(), 5);
    EXPECT_EQ(g.IsCollapsed(5), 2);
    EXPECT_EQ(g.IsCollapsed(6), 2);
    EXPECT_FALSE(g.RowIsVisible(7));
    g.setIsCollapsed(7, FlexGrid::flexOutlineExpanded);
    EXPECT_TRUE(g.RowIsVisible(7));
    g.setRows(12);  // rows 9 to 11 still belong to node 5, the last node above them
    EXPECT_EQ(g.IsCollapsed(11), 0);
}

TEST_F(GridTest, NodesAreFoundByTheirKeyText)
{
    FillOutline();
    FlexGrid& g = *grid_;
    EXPECT_EQ(g.GetNode(QStringLiteral("N0")), 1);
    EXPECT_EQ(g.GetNode(QStringLiteral("N11")), 5);
    EXPECT_EQ(g.GetNode(QStringLiteral("N7")), -1);
    EXPECT_EQ(g.GetNode(QStringLiteral("102")), -1);  // data rows are no nodes
    g.setRowDataValue(5, automation::Variant(QStringLiteral("N12")));
    EXPECT_EQ(g.GetNode(QStringLiteral("N12")), 5);
    EXPECT_EQ(g.GetNode(QStringLiteral("N11")), -1);
    EXPECT_RUNTIME_ERROR(g.setNodeExpanded(2, true), 380);
}

TEST_F(GridTest, GetNodeRowWalksTheParentChainAcrossTwoLevels)
{
    FillOutline();
    FlexGrid& g = *grid_;
    EXPECT_EQ(g.GetNodeRow(7, FlexGrid::flexNTParent), 5);
    EXPECT_EQ(g.GetNodeRow(5, FlexGrid::flexNTParent), 4);
    EXPECT_EQ(g.GetNodeRow(4, FlexGrid::flexNTParent), -1);
    EXPECT_EQ(g.GetNodeRow(2, FlexGrid::flexNTParent), 1);
    EXPECT_EQ(g.GetNodeRow(7, FlexGrid::flexNTRoot), 4);
    EXPECT_EQ(g.GetNodeRow(4, FlexGrid::flexNTFirstChild), 5);
    EXPECT_EQ(g.GetNodeRow(5, FlexGrid::flexNTLastChild), 8);
}

TEST_F(GridTest, FindRowSearchesRowDataOrAColumn)
{
    FillOutline();
    FlexGrid& g = *grid_;
    EXPECT_EQ(g.FindRowValue(automation::Variant(qint32(106))), 6);
    EXPECT_EQ(g.FindRow(QVariant(106)), 6);
    EXPECT_EQ(g.FindRowValue(automation::Variant(qint32(999))), -1);
    EXPECT_EQ(g.FindRowValue(automation::Variant(QStringLiteral("n11"))), 5);  // not case-sensitive
    EXPECT_EQ(g.FindRowValue(automation::Variant(QStringLiteral("n11")), -1, -1, true), -1);
    EXPECT_EQ(g.FindRowValue(automation::Variant(QStringLiteral("N1"))), 4);  // full match: not N11
    EXPECT_EQ(g.FindRowValue(automation::Variant(QStringLiteral("N1")), 5, -1, false, false), 5);
    EXPECT_EQ(g.FindRowValue(automation::Variant(QStringLiteral("row 7")), -1, 0), 7);
    EXPECT_EQ(g.FindRowValue(automation::Variant(qint32(102)), 3), -1);  // from row 3 on
}

TEST_F(GridTest, RedrawOffBatchesAndRedrawOnLaysOutOnce)
{
    FlexGrid& g = *grid_;
    g.show();
    g.setCols(2);
    g.setRows(1);
    g.setRedraw(0);
    EXPECT_FALSE(g.viewport()->updatesEnabled());
    for (int i = 0; i < 500; ++i)
        g.setRows(g.Rows() + 1);
    EXPECT_EQ(g.verticalScrollBar()->maximum(), 0);  // nothing laid out yet
    g.setRedraw(1);
    EXPECT_TRUE(g.viewport()->updatesEnabled());
    EXPECT_GT(g.verticalScrollBar()->maximum(), 400);
}

TEST_F(GridTest, MembersAreReachableByNameThroughTheMetaObject)
{
    FillOutline();
    FlexGrid& g = *grid_;
    EXPECT_EQ(g.property("Rows").toInt(), 9);
    g.setProperty("Row", 3);
    EXPECT_EQ(g.Row(), 3);
    QString text;
    ASSERT_TRUE(QMetaObject::invokeMethod(&g, "TextMatrix", Q_RETURN_ARG(QString, text), Q_ARG(int, 4), Q_ARG(int, 0)));
    EXPECT_EQ(text, QStringLiteral("Review First"));
    int node = 0;
    ASSERT_TRUE(QMetaObject::invokeMethod(&g, "GetNodeRow", Q_RETURN_ARG(int, node), Q_ARG(int, 7), Q_ARG(int, 1)));
    EXPECT_EQ(node, 5);
    ASSERT_TRUE(QMetaObject::invokeMethod(&g, "setIsCollapsed", Q_ARG(int, 1), Q_ARG(int, 2)));
    EXPECT_EQ(g.IsCollapsed(1), 2);
    for (const char* name :
         {"Cols", "FixedRows", "Redraw", "MouseRow", "MouseCol", "SelectedRows", "ScrollTipText", "Appearance",
          "BackColor", "BackColorBkg", "GridLines", "GridLinesFixed", "GridColor", "FocusRect", "HighLight", "hWnd"})
        EXPECT_GE(g.metaObject()->indexOfProperty(name), 0) << name;
    for (const char* sig : {"SaveGrid(QString,int,bool)", "LoadGrid(QString,int,bool)", "PrintGrid(QString,bool,int)",
                            "ShowCell(int,int)", "Refresh()", "SelectedRow(int)", "Cell(int,int,int,int,int)",
                            "FindRow(QVariant,int,int,bool,bool)", "RowData(int)", "ColWidth(int)", "RowHeight(int)"})
        EXPECT_GE(g.metaObject()->indexOfMethod(sig), 0) << sig;
}

TEST_F(GridTest, HandleIsZeroBeforeTheWindowExists)
{
    EXPECT_EQ(grid_->hWnd(), 0);
}

TEST_F(GridTest, ColumnWidthsAndRowHeightsAreTwips)
{
    FlexGrid& g = *grid_;
    g.setCols(3);
    g.setColWidth(1, 1500);
    EXPECT_EQ(g.ColWidth(1), 1500);
    EXPECT_EQ(g.ColWidth(0), 960);
    g.setRowHeight(0, 500);
    EXPECT_EQ(g.RowHeight(0), 500);
    const int tpp = g.TwipsPerPixelX();
    EXPECT_EQ(g.CellRect(0, 1).width(), qRound(1500.0 / tpp));
    g.setColHidden(1, true);
    EXPECT_TRUE(g.ColHidden(1));
    EXPECT_EQ(g.CellRect(0, 2).left(), g.CellRect(0, 0).width());
}

}  // namespace
}  // namespace BrevView::test
