// The controls work from the keyboard as Qt's item views do: Enter opens an IBO, Space and
// Left/Right open and close nodes, the Menu key and Shift+F10 raise RightClick, Ctrl+A
// selects every row.

#include <QSignalSpy>
#include <QTest>

#include "support/three_views.h"

namespace BrevView::test {
namespace {

template <class V>
class KeyboardTest : public ThreeViewsTest<V> {
protected:
    void SetUp() override
    {
        ThreeViewsTest<V>::SetUp();
        QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
        this->View().show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&this->View()));
        this->Grid().setFocus();
    }
    void Key(Qt::Key key, Qt::KeyboardModifiers mods = Qt::NoModifier) { QTest::keyClick(&this->Grid(), key, mods); }
};
TYPED_TEST_SUITE(KeyboardTest, AllViews);

TYPED_TEST(KeyboardTest, EnterOrReturnOnAnIboRowRaisesIboEditAsADoubleClickDoes)
{
    QSignalSpy edits(&this->View(), &TypeParam::IboEdit);
    this->Grid().setRow(this->RowOf(3));
    this->Key(Qt::Key_Return);
    ASSERT_EQ(edits.count(), 1);
    EXPECT_EQ(edits.front().at(0).toInt(), 3);
    this->Grid().setRow(this->RowOf(2));
    this->Key(Qt::Key_Enter);
    ASSERT_EQ(edits.count(), 2);
    EXPECT_EQ(edits.back().at(0).toInt(), 2);
    // Traced under the double-click's name, as the mouse's way to the same event is.
    EXPECT_TRUE(this->trace_->lines.contains(
        QStringLiteral("EXIT BrevView.%1::flexGrid_DblClick")
            .arg(QString::fromLatin1(TypeParam::staticMetaObject.className()).section(QLatin1String("::"), -1))));
}

TYPED_TEST(KeyboardTest, TheMenuKeyAndShiftF10RaiseRightClickForTheCurrentIboRow)
{
    QSignalSpy clicks(&this->View(), &TypeParam::RightClick);
    this->Grid().setRow(this->RowOf(4));
    this->Key(Qt::Key_Menu);
    ASSERT_EQ(clicks.count(), 1);
    EXPECT_EQ(clicks.front().at(0).toInt(), 4);
    this->Key(Qt::Key_F10, Qt::ShiftModifier);
    ASSERT_EQ(clicks.count(), 2);
    EXPECT_EQ(clicks.back().at(0).toInt(), 4);
    this->Key(Qt::Key_F10);  // F10 alone is not the context menu
    EXPECT_EQ(clicks.count(), 2);
    const int node = this->FirstNode();
    if (node > 0) {
        this->Grid().setRow(node);
        this->Key(Qt::Key_Menu);
        EXPECT_EQ(clicks.count(), 2);  // a node row raises nothing, as a right-click on it
    }
}

TYPED_TEST(KeyboardTest, CtrlASelectsEveryRowAndTellsIt)
{
    QSignalSpy changed(&this->View(), &TypeParam::SelectionChanged);
    this->Key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_GE(changed.count(), 1);
    EXPECT_EQ(this->Grid().SelectedRows(), this->Grid().Rows() - 1);
    QList<qint32> ids = this->View().GetSelection().template value<QList<qint32>>();
    std::sort(ids.begin(), ids.end());
    QList<qint32> shown;
    for (qint32 id = 1; id <= 6; ++id) {
        if (this->RowOf(id) > 0)
            shown << id;
    }
    EXPECT_EQ(ids, shown);
    EXPECT_FALSE(shown.isEmpty());
}

TYPED_TEST(KeyboardTest, SpaceAndLeftAndRightOpenAndCloseNodesAndWalkTheTree)
{
    if constexpr (std::is_same_v<TypeParam, FlatView>) {
        // A plain list: Left and Right move the current column, Space does nothing.
        this->Grid().setRow(this->RowOf(2));
        this->Grid().setCol(3);
        this->Key(Qt::Key_Right);
        EXPECT_EQ(this->Grid().Col(), 4);
        this->Key(Qt::Key_Left);
        this->Key(Qt::Key_Left);
        EXPECT_EQ(this->Grid().Col(), 2);
        this->Key(Qt::Key_Space);
        EXPECT_EQ(this->Grid().Row(), this->RowOf(2));
    } else {
        grid::FlexGrid& g = this->Grid();
        const int ibo = this->RowOf(2);
        const int node = g.GetNodeRow(ibo, grid::FlexGrid::flexNTParent);
        ASSERT_GE(node, 1);
        g.setRow(ibo);
        this->Key(Qt::Key_Left);  // from an IBO row to its node
        EXPECT_EQ(g.Row(), node);
        EXPECT_TRUE(g.NodeExpanded(node));
        this->Key(Qt::Key_Left);  // an open node closes
        EXPECT_FALSE(g.NodeExpanded(node));
        EXPECT_FALSE(g.RowIsVisible(ibo));
        this->Key(Qt::Key_Right);  // a closed node opens
        EXPECT_TRUE(g.NodeExpanded(node));
        this->Key(Qt::Key_Right);  // an open node: to its first row
        EXPECT_EQ(g.Row(), g.GetNodeRow(node, grid::FlexGrid::flexNTFirstChild));
        g.setRow(node);
        this->Key(Qt::Key_Space);
        EXPECT_FALSE(g.NodeExpanded(node));
        this->Key(Qt::Key_Space);
        EXPECT_TRUE(g.NodeExpanded(node));
        // Enter on a node row opens and closes it too, as a double-click does.
        QSignalSpy edits(&this->View(), &TypeParam::IboEdit);
        this->Key(Qt::Key_Return);
        EXPECT_FALSE(g.NodeExpanded(node));
        EXPECT_EQ(edits.count(), 0);
    }
}

}  // namespace
}  // namespace BrevView::test
