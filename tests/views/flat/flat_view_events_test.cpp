#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include "common/view_preferences.h"
#include "flat_view_fixture.h"
#include "host/default_objects.h"
#include "host/object_factory.h"

namespace BrevView::test {
namespace {

class FlatViewEventsTest : public FlatViewTest {
protected:
    void SetUp() override
    {
        FlatViewTest::SetUp();
        for (int i = 1; i <= 5; ++i)
            Add(Ibo::Open(10 + i, QStringLiteral("2026-03-0%1 00:00:00").arg(i)));
        View().Refresh();
        View().show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&View()));
    }
    QWidget* Port() { return Grid().viewport(); }
    QPoint At(int row, int col) { return Grid().CellRect(row, col).center(); }
};

TEST_P(FlatViewEventsTest, GetSelectionIsNullWithoutSelectionAndListsIdsInOrder)
{
    EXPECT_FALSE(View().GetSelection().isValid());
    QTest::mouseClick(Port(), Qt::LeftButton, {}, At(4, 3));
    QTest::mouseClick(Port(), Qt::LeftButton, Qt::ControlModifier, At(2, 3));
    const QVariant sel = View().GetSelection();
    ASSERT_TRUE(sel.isValid());
    EXPECT_EQ(sel.value<QList<qint32>>(), (QList<qint32>{14, 12}));
    EXPECT_EQ(View().property("GetSelection").value<QList<qint32>>(), (QList<qint32>{14, 12}));
}

TEST_P(FlatViewEventsTest, GetSelectionFailsOnRowDataThatIsNoNumber)
{
    Grid().setRowDataValue(2, automation::Variant(QStringLiteral("N3")));
    Grid().SelectRows({1, 2, 3});
    trace_->lines.clear();
    EXPECT_RUNTIME_ERROR(View().GetSelection(), 13);
    EXPECT_EQ(trace_->lines,
              (QStringList{QStringLiteral("ENTER BrevView.FlatView::GetSelection"), QStringLiteral("HANDLE 13")}));
}

TEST_P(FlatViewEventsTest, DoubleClickOnTheCurrentIboRowRaisesIboEdit)
{
    QSignalSpy edit(&View(), &FlatView::IboEdit);
    QTest::mouseClick(Port(), Qt::LeftButton, {}, At(3, 2));
    QTest::mouseDClick(Port(), Qt::LeftButton, {}, At(3, 2));
    ASSERT_EQ(edit.count(), 1);
    EXPECT_EQ(edit.at(0).at(0).toInt(), 13);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("EXIT BrevView.FlatView::flexGrid_DblClick")));
}

TEST_P(FlatViewEventsTest, DoubleClickOnARowThatIsNotCurrentDoesNothing)
{
    QSignalSpy edit(&View(), &FlatView::IboEdit);
    Grid().setRow(1);
    // The double-click lands on row 4 without the press that would make it current.
    QMouseEvent dbl(QEvent::MouseButtonDblClick, QPointF(At(4, 2)), Port()->mapToGlobal(QPointF(At(4, 2))),
                    Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(Port(), &dbl);
    EXPECT_EQ(edit.count(), 0);
}

TEST_P(FlatViewEventsTest, RightClickMakesTheRowCurrentThenRaisesRightClick)
{
    QSignalSpy right(&View(), &FlatView::RightClick);
    Grid().setRow(1);
    QTest::mouseClick(Port(), Qt::RightButton, {}, At(5, 4));
    EXPECT_EQ(Grid().Row(), 5);
    ASSERT_EQ(right.count(), 1);
    EXPECT_EQ(right.at(0).at(0).toInt(), 15);
    trace_->lines.clear();
    QTest::mouseClick(Port(), Qt::RightButton, {}, At(0, 4));  // the header: nothing
    QTest::mouseClick(Port(), Qt::LeftButton, {}, At(2, 4));   // another button: nothing
    EXPECT_EQ(right.count(), 1);
    EXPECT_EQ(trace_->lines.first(), QStringLiteral("ENTER BrevView.FlatView::flexGrid_DblClick"));
}

TEST_P(FlatViewEventsTest, RowDataZeroOrNegativeRaisesNeitherEvent)
{
    QSignalSpy edit(&View(), &FlatView::IboEdit);
    QSignalSpy right(&View(), &FlatView::RightClick);
    Grid().setRowDataValue(2, automation::Variant(qint32(0)));
    Grid().setRowDataValue(3, automation::Variant(qint32(-4)));
    for (int r : {2, 3}) {
        QTest::mouseClick(Port(), Qt::LeftButton, {}, At(r, 1));
        QTest::mouseDClick(Port(), Qt::LeftButton, {}, At(r, 1));
        QTest::mouseClick(Port(), Qt::RightButton, {}, At(r, 1));
    }
    EXPECT_EQ(edit.count(), 0);
    EXPECT_EQ(right.count(), 0);
}

TEST_P(FlatViewEventsTest, HeaderTooltipsShowTheLongHeaders)
{
    QTest::mouseMove(Port(), At(0, 2));
    EXPECT_EQ(Grid().ToolTipText(), QStringLiteral("When Will It Happen?"));
    QTest::mouseMove(Port(), At(0, 11));
    EXPECT_EQ(Grid().ToolTipText(), QStringLiteral("IBO Notes"));
    QTest::mouseMove(Port(), At(2, 2));
    EXPECT_EQ(Grid().ToolTipText(), QString());
}

TEST_P(FlatViewEventsTest, DraggingAColumnBorderSavesThePreferencesOncePerResize)
{
    CountSettingObjects();
    const QRect h = Grid().CellRect(0, 3);
    const QPoint border(h.right() + 1, h.center().y());
    QTest::mousePress(Port(), Qt::LeftButton, {}, border);
    for (int dx = 5; dx <= 30; dx += 5) {
        QMouseEvent move(QEvent::MouseMove, QPointF(border + QPoint(dx, 0)),
                         Port()->mapToGlobal(QPointF(border + QPoint(dx, 0))), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(Port(), &move);
    }
    QTest::mouseRelease(Port(), Qt::LeftButton, {}, border + QPoint(30, 0));
    EXPECT_EQ(settingsCreated_, 1);
    const int width = 900 + 30 * Grid().TwipsPerPixelX();
    EXPECT_EQ(detail::GetViewPreference(QStringLiteral("PrefIBOListView")).split(QLatin1Char(';')).at(4),
              QString::number(width));
}

TEST_P(FlatViewEventsTest, ScrollTipReadsRowAndItsNumber)
{
    for (int i = 6; i <= 80; ++i)
        Add(Ibo::Open(10 + i, QStringLiteral("2026-04-01 00:00:00")));
    View().Refresh();
    emit Grid().verticalScrollBar()->sliderMoved(56);
    EXPECT_EQ(Grid().ScrollTipText(), QStringLiteral("Row#57"));
}

TEST_P(FlatViewEventsTest, GotoIboSelectsAndRevealsAndIgnoresUnknownIds)
{
    for (int i = 6; i <= 80; ++i)
        Add(Ibo::Open(10 + i, QStringLiteral("2026-04-01 00:00:00")));
    View().Refresh();
    Grid().setRow(2);
    const int top = Grid().verticalScrollBar()->value();
    View().GotoIBO(4242);
    EXPECT_EQ(Grid().Row(), 2);
    EXPECT_EQ(Grid().verticalScrollBar()->value(), top);
    View().GotoIBO(88);
    EXPECT_EQ(Grid().Row(), 78);
    EXPECT_FALSE(Grid().CellRect(78, 0).isEmpty());
    EXPECT_EQ(View().GetSelection().value<QList<qint32>>(), QList<qint32>{88});
}

BREV_ON_BOTH_ENGINES(FlatViewEventsTest);

}  // namespace
}  // namespace BrevView::test
