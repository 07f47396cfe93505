#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "grid_fixture.h"

namespace BrevView::test {
namespace {

using grid::FlexGrid;

class GridInteractionTest : public GridTest {
protected:
    void SetUp() override
    {
        GridTest::SetUp();
        FillOutline();
        grid_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(grid_.get()));
    }
    QPoint Center(int row, int col) const { return grid_->CellRect(row, col).center(); }
    QWidget* Port() const { return grid_->viewport(); }
};

TEST_F(GridInteractionTest, ClickSelectsCtrlAddsShiftExtends)
{
    QTest::mouseClick(Port(), Qt::LeftButton, {}, Center(2, 1));
    EXPECT_EQ(grid_->Row(), 2);
    EXPECT_EQ(grid_->SelectedRows(), 1);
    QTest::mouseClick(Port(), Qt::LeftButton, Qt::ControlModifier, Center(6, 1));
    ASSERT_EQ(grid_->SelectedRows(), 2);
    EXPECT_EQ(grid_->SelectedRow(0), 2);
    EXPECT_EQ(grid_->SelectedRow(1), 6);
    QTest::mouseClick(Port(), Qt::LeftButton, Qt::ShiftModifier, Center(8, 1));
    ASSERT_EQ(grid_->SelectedRows(), 3);  // 6..8 from the anchor
    EXPECT_EQ(grid_->SelectedRow(0), 6);
    EXPECT_EQ(grid_->SelectedRow(2), 8);
    EXPECT_RUNTIME_ERROR(grid_->SelectedRow(3), 381);
    QTest::mouseClick(Port(), Qt::LeftButton, Qt::ControlModifier, Center(7, 1));
    EXPECT_EQ(grid_->SelectedRows(), 2);
}

TEST_F(GridInteractionTest, DoubleClickAndMouseEventsCarryButtonShiftAndTwips)
{
    QSignalSpy dbl(grid_.get(), &FlexGrid::DblClick);
    QSignalSpy up(grid_.get(), &FlexGrid::MouseUp);
    QSignalSpy move(grid_.get(), &FlexGrid::MouseMove);
    const QPoint p = Center(3, 2);
    QTest::mouseMove(Port(), p);
    ASSERT_GE(move.count(), 1);
    EXPECT_EQ(grid_->MouseRow(), 3);
    EXPECT_EQ(grid_->MouseCol(), 2);
    QTest::mouseDClick(Port(), Qt::LeftButton, {}, p);
    EXPECT_EQ(dbl.count(), 1);
    QTest::mouseClick(Port(), Qt::RightButton, Qt::ShiftModifier, p);
    ASSERT_GE(up.count(), 1);
    const QList<QVariant> last = up.takeLast();
    EXPECT_EQ(last.at(0).toInt(), 2);  // right button
    EXPECT_EQ(last.at(1).toInt(), 1);  // shift
    EXPECT_FLOAT_EQ(last.at(2).toFloat(), float(p.x() * grid_->TwipsPerPixelX()));
    EXPECT_FLOAT_EQ(last.at(3).toFloat(), float(p.y() * grid_->TwipsPerPixelY()));
    // Below the last row there is no row.
    QTest::mouseMove(Port(), QPoint(5, Port()->height() - 2));
    EXPECT_EQ(grid_->MouseRow(), -1);
}

TEST_F(GridInteractionTest, OutlineButtonTogglesTheNodeAndRaisesAfterCollapse)
{
    QSignalSpy spy(grid_.get(), &FlexGrid::AfterCollapse);
    const QRect cell = grid_->CellRect(4, 0);
    const QPoint button(cell.left() + 3 + 4, cell.center().y());
    QTest::mouseClick(Port(), Qt::LeftButton, {}, button);
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toInt(), 4);
    EXPECT_EQ(spy.at(0).at(1).toInt(), 2);
    EXPECT_FALSE(grid_->RowIsVisible(6));
}

TEST_F(GridInteractionTest, KeyboardMovesTheCurrentRowAndTogglesNodes)
{
    grid_->setFocus();
    grid_->setRow(1);
    QTest::keyClick(grid_.get(), Qt::Key_Down);
    EXPECT_EQ(grid_->Row(), 2);
    QTest::keyClick(grid_.get(), Qt::Key_End);
    EXPECT_EQ(grid_->Row(), 8);
    QTest::keyClick(grid_.get(), Qt::Key_Home);
    EXPECT_EQ(grid_->Row(), 1);
    QSignalSpy spy(grid_.get(), &FlexGrid::AfterCollapse);
    QTest::keyClick(grid_.get(), Qt::Key_Minus);
    EXPECT_EQ(grid_->IsCollapsed(1), 2);
    QTest::keyClick(grid_.get(), Qt::Key_Down);
    EXPECT_EQ(grid_->Row(), 4);  // rows 2 and 3 are hidden
    QTest::keyClick(grid_.get(), Qt::Key_Plus);
    EXPECT_EQ(grid_->IsCollapsed(4), 0);
    EXPECT_EQ(spy.count(), 2);
}

TEST_F(GridInteractionTest, BeforeUserResizeCanCancelAndAfterUserResizeFollowsADrag)
{
    grid_->setRowHeight(0, 500);
    QSignalSpy after(grid_.get(), &FlexGrid::AfterUserResize);
    bool cancelCol0 = true;
    QObject::connect(grid_.get(), &FlexGrid::BeforeUserResize, grid_.get(), [&](int, int col, bool& cancel) {
        if (col == 0 && cancelCol0)
            cancel = true;
    });
    const QRect h0 = grid_->CellRect(0, 0);
    const QPoint border(h0.right() + 1, h0.center().y());
    const int before = grid_->ColWidth(0);
    QTest::mousePress(Port(), Qt::LeftButton, {}, border);
    QTest::mouseMove(Port(), border + QPoint(40, 0));
    QTest::mouseRelease(Port(), Qt::LeftButton, {}, border + QPoint(40, 0));
    EXPECT_EQ(grid_->ColWidth(0), before);
    EXPECT_EQ(after.count(), 0);

    const QRect h1 = grid_->CellRect(0, 1);
    const QPoint border1(h1.right() + 1, h1.center().y());
    const int before1 = grid_->ColWidth(1);
    QTest::mousePress(Port(), Qt::LeftButton, {}, border1);
    QMouseEvent move(QEvent::MouseMove, QPointF(border1 + QPoint(30, 0)),
                     Port()->mapToGlobal(QPointF(border1 + QPoint(30, 0))), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(Port(), &move);
    QTest::mouseRelease(Port(), Qt::LeftButton, {}, border1 + QPoint(30, 0));
    EXPECT_EQ(grid_->ColWidth(1), before1 + 30 * grid_->TwipsPerPixelX());
    ASSERT_EQ(after.count(), 1);
    EXPECT_EQ(after.at(0).at(1).toInt(), 1);
}

TEST_F(GridInteractionTest, ScrollTipIsAskedForWhileTheScrollBarIsDragged)
{
    grid_->setRows(300);
    grid_->setScrollTips(true);
    grid_->Refresh();
    QSignalSpy spy(grid_.get(), &FlexGrid::BeforeScrollTip);
    QObject::connect(grid_.get(), &FlexGrid::BeforeScrollTip, grid_.get(),
                     [&](int row) { grid_->setScrollTipText(QStringLiteral("Row#%1").arg(row)); });
    emit grid_->verticalScrollBar()->sliderMoved(57 - 1);
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toInt(), 57);  // the 57th shown row (no node collapsed)
    EXPECT_EQ(grid_->ScrollTipText(), QStringLiteral("Row#57"));
}

TEST_F(GridInteractionTest, ShowCellScrollsTheRowIntoView)
{
    grid_->setRows(300);
    grid_->ShowCell(250, 0);
    EXPECT_FALSE(grid_->CellRect(250, 0).isEmpty());
    EXPECT_TRUE(grid_->CellRect(2, 0).isEmpty());
    grid_->ShowCell(2, 0);
    EXPECT_FALSE(grid_->CellRect(2, 0).isEmpty());
}

TEST_F(GridInteractionTest, AnOutlineColumnOutsideTheGridIsIgnoredNotThrown)
{
    // A host (or a damaged snapshot) may name an outline column the grid does not have; the
    // node rows then draw no button there, and focus, clicks and the accessible cells go on.
    grid_->setTextMatrix(4, 0, QString());  // a node whose caption cell is empty
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (int outlineCol : {-16777216, -1, 3, 99}) {
        SCOPED_TRACE(outlineCol);
        grid_->setOutlineCol(outlineCol);
        EXPECT_EQ(grid_->TextColOf(4, 1), 1);
        EXPECT_EQ(grid_->ReadableCol(4), 0);
        grid_->setRow(4);
        grid_->setCol(1);
        QFocusEvent in(QEvent::FocusIn, Qt::TabFocusReason);
        EXPECT_NO_THROW(QApplication::sendEvent(grid_.get(), &in));
        EXPECT_NO_THROW(QTest::mouseClick(Port(), Qt::LeftButton, {}, Center(4, 0)));
        EXPECT_EQ(grid_->Row(), 4);
        EXPECT_FALSE(grid_->IsCollapsed(4));
        EXPECT_NO_THROW(grid_->grab());
        const QString file = dir.filePath(QStringLiteral("outline.grid"));
        EXPECT_NO_THROW(grid_->SaveGrid(file));
        EXPECT_NO_THROW(grid_->LoadGrid(file));
        EXPECT_EQ(grid_->OutlineCol(), outlineCol);
    }
}

}  // namespace
}  // namespace BrevView::test
