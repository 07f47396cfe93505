// What a screen reader gets from each control's grid: a table (a tree for the outline
// views) of the rows on show, cells named by their text with their header captions,
// node rows with their expanded state and actions, and the focused cell. The events the
// grid sends reach only an active accessibility bridge, which no test platform here has:
// they are caught just before it, and what they name is checked.

#include <QAccessible>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QScopeGuard>
#include <QTest>

#include "grid/grid_accessible.h"
#include "support/three_views.h"

namespace BrevView::test {
namespace {

template <class V>
class GridAccessibleTest : public ThreeViewsTest<V> {
protected:
    void SetUp() override
    {
        ThreeViewsTest<V>::SetUp();
        ASSERT_NE(Iface(), nullptr);                                 // a screen reader has asked about the grid
        QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");  // the outline views' nodes start closed
    }
    QAccessibleInterface* Iface() { return QAccessible::queryAccessibleInterface(&this->Grid()); }
    QAccessibleTableInterface* Table() { return Iface()->tableInterface(); }
    // The accessible row of a grid row.
    int RowIndex(int gridRow)
    {
        const std::vector<int>& shown = this->Grid().VisibleRows();
        auto it = std::find(shown.begin(), shown.end(), gridRow);
        return it == shown.end() ? -1 : int(it - shown.begin());
    }
};
TYPED_TEST_SUITE(GridAccessibleTest, AllViews);

TYPED_TEST(GridAccessibleTest, TheGridIsATableOfTheRowsOnShowWithNamedColumns)
{
    QAccessibleInterface* iface = this->Iface();
    ASSERT_NE(iface, nullptr);
    EXPECT_EQ(iface->role(), this->Outline() ? QAccessible::Tree : QAccessible::Table);
    EXPECT_FALSE(iface->text(QAccessible::Name).isEmpty());
    QAccessibleTableInterface* table = this->Table();
    ASSERT_NE(table, nullptr);
    grid::FlexGrid& g = this->Grid();
    const std::vector<int> cols = this->ShownCols();
    EXPECT_EQ(table->rowCount(), int(g.VisibleRows().size()));
    EXPECT_EQ(table->columnCount(), int(cols.size()));
    for (size_t c = 0; c < cols.size(); ++c)
        EXPECT_EQ(table->columnDescription(int(c)),
                  g.TextMatrix(0, cols[c]).replace(QLatin1Char('\r'), QLatin1Char(' ')));
    // A cell's name is its shown text; the hidden column is not among the cells.
    const int r = this->RowOf(2);
    const int row = this->RowIndex(r);
    ASSERT_GE(row, 0);
    for (size_t c = 0; c < cols.size(); ++c) {
        QAccessibleInterface* cell = table->cellAt(row, int(c));
        ASSERT_NE(cell, nullptr);
        EXPECT_EQ(cell->text(QAccessible::Name), g.DisplayText(r, cols[c]));
        EXPECT_EQ(cell->role(), this->Outline() ? QAccessible::TreeItem : QAccessible::Cell);
        QAccessibleTableCellInterface* ci = cell->tableCellInterface();
        ASSERT_NE(ci, nullptr);
        EXPECT_EQ(ci->rowIndex(), row);
        EXPECT_EQ(ci->columnIndex(), int(c));
        ASSERT_EQ(ci->columnHeaderCells().size(), 1);
        EXPECT_EQ(ci->columnHeaderCells().front()->role(), QAccessible::ColumnHeader);
        EXPECT_EQ(iface->indexOfChild(cell), (row + 1) * int(cols.size()) + int(c));
        EXPECT_EQ(iface->child(iface->indexOfChild(cell)), cell);
    }
    // The children are the header and the cells: no scroll bars.
    EXPECT_EQ(iface->childCount(), (table->rowCount() + 1) * table->columnCount());
    EXPECT_EQ(iface->child(0)->role(), QAccessible::ColumnHeader);
    for (int i = 0; i < iface->childCount(); i += 7)
        EXPECT_NE(iface->child(i)->role(), QAccessible::ScrollBar);
}

template <class V>
class OutlineAccessibleTest : public GridAccessibleTest<V> {};
using OutlineViews = ::testing::Types<ForecastView, PriorityView>;
TYPED_TEST_SUITE(OutlineAccessibleTest, OutlineViews);

TYPED_TEST(OutlineAccessibleTest, ANodeRowTellsItsStateBeforeAndAfterACollapse)
{
    grid::FlexGrid& g = this->Grid();
    this->View().ExpandAllNodes();
    const int node = g.GetNodeRow(this->RowOf(2), grid::FlexGrid::flexNTParent);
    ASSERT_GE(node, 1);
    QAccessibleTableInterface* table = this->Table();
    const int shownBefore = table->rowCount();
    QAccessibleInterface* cell = table->cellAt(this->RowIndex(node), 0);
    ASSERT_NE(cell, nullptr);
    EXPECT_TRUE(cell->state().expandable);
    EXPECT_TRUE(cell->state().expanded);
    EXPECT_FALSE(cell->state().collapsed);
    g.setIsCollapsed(node, grid::FlexGrid::flexOutlineCollapsed);
    cell = table->cellAt(this->RowIndex(node), 0);
    EXPECT_TRUE(cell->state().collapsed);
    EXPECT_FALSE(cell->state().expanded);
    EXPECT_LT(table->rowCount(), shownBefore);
    // An IBO row is not expandable.
    QAccessibleInterface* ibo = table->cellAt(this->RowIndex(this->RowOf(1)), 0);
    ASSERT_NE(ibo, nullptr);
    EXPECT_FALSE(ibo->state().expandable);
    // The cell's actions open it again, as a screen reader's user would.
    QAccessibleActionInterface* actions = cell->actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_TRUE(actions->actionNames().contains(QStringLiteral("Expand")));
    actions->doAction(QStringLiteral("Expand"));
    EXPECT_TRUE(g.NodeExpanded(node));
    EXPECT_EQ(table->rowCount(), shownBefore);
}

TYPED_TEST(GridAccessibleTest, TheFocusedCellFollowsAKeyboardMoveAndIsAnnounced)
{
    this->View().show();
    this->View().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&this->View()));
    grid::FlexGrid& g = this->Grid();
    g.setFocus();
    ASSERT_TRUE(g.hasFocus());
    g.setRow(g.VisibleRows().front());
    QTest::keyClick(&g, Qt::Key_Down);
    const int current = g.Row();
    ASSERT_EQ(current, g.VisibleRows()[1]);
    QAccessibleTableInterface* table = this->Table();
    const std::vector<int> cols = this->ShownCols();
    const int col = int(std::find(cols.begin(), cols.end(), g.Col()) - cols.begin());
    QAccessibleInterface* cell = table->cellAt(1, col);
    ASSERT_NE(cell, nullptr);
    EXPECT_TRUE(cell->state().focused);
    EXPECT_TRUE(cell->state().selected);
    EXPECT_FALSE(table->cellAt(0, col)->state().focused);
    EXPECT_EQ(table->selectedRows(), QList<int>{1});
    EXPECT_TRUE(table->isRowSelected(1));
    EXPECT_FALSE(table->isRowSelected(0));
}

// The events the grid sends, caught in process just before they go to the accessibility
// bridge (the test platform has none), with what each names as the bridge would read it.
class EventLog {
public:
    EventLog()
    {
        grid::SetAccessibleEventObserver([this](QAccessibleEvent* event) {
            QAccessibleInterface* iface = event->accessibleInterface();
            if (iface)
                entries.push_back({event->type(), QAccessible::uniqueId(iface), iface->text(QAccessible::Name)});
        });
    }
    ~EventLog() { grid::SetAccessibleEventObserver({}); }
    struct Entry {
        QAccessible::Event type;
        QAccessible::Id id;
        QString name;
    };
    std::vector<Entry> entries;
};

TYPED_TEST(GridAccessibleTest, TabIntoTheGridMakesACurrentCellWithTextAndAFocusCue)
{
    QWidget window;
    auto* before = new QLineEdit;
    auto* layout = new QHBoxLayout(&window);
    layout->addWidget(before);
    this->View().setParent(&window);
    const auto giveBack = qScopeGuard([this] { this->View().setParent(nullptr); });
    layout->addWidget(&this->View());
    window.resize(1400, 500);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    grid::FlexGrid& g = this->Grid();
    this->View().Refresh();  // a fresh fill: no current cell
    QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
    before->setFocus();
    ASSERT_TRUE(before->hasFocus());
    const QImage unfocused = g.viewport()->grab().toImage();
    EventLog log;
    QTest::keyClick(before, Qt::Key_Tab);
    ASSERT_TRUE(g.hasFocus());
    // The first IBO row on show, at its first cell with a text.
    int firstIbo = -1;
    for (int r : g.VisibleRows()) {
        if (!g.IsSubtotal(r)) {
            firstIbo = r;
            break;
        }
    }
    ASSERT_GE(firstIbo, 0);
    EXPECT_EQ(g.Row(), firstIbo);
    EXPECT_TRUE(g.ColShown(g.Col()));
    EXPECT_FALSE(g.DisplayText(g.Row(), g.Col()).isEmpty());
    EXPECT_EQ(g.Col(), g.ShownCols().front());
    // A focus cue is drawn on that cell.
    const QImage focused = g.viewport()->grab().toImage();
    const QRect cell = g.CellRect(g.Row(), g.Col());
    ASSERT_FALSE(cell.isEmpty());
    int differing = 0;
    for (int y = cell.top(); y <= cell.bottom(); ++y)
        for (int x = cell.left(); x <= cell.right(); ++x)
            differing += focused.pixel(x, y) != unfocused.pixel(x, y);
    EXPECT_GT(differing, cell.width()) << "no focus cue drawn";
    // A screen reader hears the cell's text.
    const auto focus = std::find_if(log.entries.rbegin(), log.entries.rend(),
                                    [](const auto& e) { return e.type == QAccessible::Focus; });
    ASSERT_NE(focus, log.entries.rend());
    EXPECT_EQ(focus->name, g.DisplayText(g.Row(), g.Col()));
    EXPECT_FALSE(focus->name.isEmpty());
}

TYPED_TEST(GridAccessibleTest, NoEventOfACollapseOrExpandNamesAGoneObject)
{
    if (!this->Outline())
        GTEST_SKIP() << "a flat list has no nodes";
    this->View().show();
    this->View().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&this->View()));
    grid::FlexGrid& g = this->Grid();
    g.setFocus();
    const int node = this->FirstNode();
    g.setRow(node);
    EventLog log;
    for (Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Down, Qt::Key_Up, Qt::Key_Left, Qt::Key_Right}) {
        log.entries.clear();
        QTest::keyClick(&g, key);
        QCoreApplication::processEvents();
        for (const auto& e : log.entries)
            EXPECT_NE(QAccessible::accessibleInterface(e.id), nullptr)
                << "event " << int(e.type) << " after key " << int(key) << " names a gone object (\""
                << qPrintable(e.name) << "\")";
        // The focus, when told, is a cell with a text (the node's caption).
        for (const auto& e : log.entries) {
            if (e.type == QAccessible::Focus && g.Row() == node) {
                EXPECT_FALSE(e.name.isEmpty()) << "after key " << int(key);
            }
        }
    }
    // Expanding by the view's own handler (the priority and forecast views refill on expand)
    // names no gone object either.
    log.entries.clear();
    g.setIsCollapsed(node, grid::FlexGrid::flexOutlineCollapsed);
    g.setIsCollapsed(node, grid::FlexGrid::flexOutlineExpanded);
    QCoreApplication::processEvents();
    for (const auto& e : log.entries)
        EXPECT_NE(QAccessible::accessibleInterface(e.id), nullptr) << "event " << int(e.type) << " names a gone object";
}

TYPED_TEST(GridAccessibleTest, ARefreshMakesANewTableAndTheCellsOfTheOldOneAreGone)
{
    QAccessibleInterface* before = this->Table()->cellAt(0, 0);
    ASSERT_NE(before, nullptr);
    const QAccessible::Id id = QAccessible::uniqueId(before);
    EXPECT_EQ(this->Table()->cellAt(0, 0), before);  // the same cell while nothing changes
    this->View().Refresh();
    EXPECT_EQ(QAccessible::accessibleInterface(id), nullptr);
    EXPECT_EQ(this->Table()->rowCount(), int(this->Grid().VisibleRows().size()));
    QAccessibleInterface* after = this->Table()->cellAt(0, 0);
    ASSERT_NE(after, nullptr);
    EXPECT_TRUE(after->isValid());
}

}  // namespace
}  // namespace BrevView::test
