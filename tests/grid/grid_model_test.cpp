// Each control's item model mirrors its grid live and keeps Qt's model rules (checked by
// QAbstractItemModelTester in fatal mode) through refreshes, collapses and expansions.

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include "automation/conversions.h"
#include "grid/grid_model.h"
#include "support/three_views.h"

namespace BrevView::test {
namespace {

template <class V>
class GridModelTest : public ThreeViewsTest<V> {};
TYPED_TEST_SUITE(GridModelTest, AllViews);

// Every grid row below the header, found through the model, depth first.
void Walk(const QAbstractItemModel& m, const QModelIndex& parent, QList<QModelIndex>* out)
{
    for (int r = 0; r < m.rowCount(parent); ++r) {
        const QModelIndex i = m.index(r, 0, parent);
        out->append(i);
        Walk(m, i, out);
    }
}

TYPED_TEST(GridModelTest, PassesTheModelTesterThroughRefreshCollapseExpandAndRefresh)
{
    QAbstractItemModel* m = this->View().model();
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m, this->View().model());
    EXPECT_EQ(m->parent(), &this->View());
    QAbstractItemModelTester tester(m, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(m, &QAbstractItemModel::modelReset);
    QSignalSpy changes(m, &QAbstractItemModel::dataChanged);
    this->View().Refresh();
    // A notice per stretch of the refresh with redraw off (the forecast view shows its
    // totals header between two such stretches), none per cell.
    const int perRefresh = int(resets.count());
    EXPECT_GE(perRefresh, 1);
    EXPECT_LE(perRefresh, 2);
    EXPECT_EQ(changes.count(), 0);
    if constexpr (!std::is_same_v<TypeParam, FlatView>) {
        this->View().CollapseAllNodes();
        this->View().ExpandAllNodes();
        this->Grid().setIsCollapsed(this->FirstNode(), grid::FlexGrid::flexOutlineCollapsed);
    }
    this->View().Refresh();
    EXPECT_EQ(resets.count(), 2 * perRefresh);
}

TYPED_TEST(GridModelTest, RowsAreTheGridRowsWithNodeRowsAsTheParentsOfTheirIboRows)
{
    const QAbstractItemModel& m = *this->View().model();
    grid::FlexGrid& g = this->Grid();
    QList<QModelIndex> all;
    Walk(m, QModelIndex(), &all);
    ASSERT_EQ(all.size(), g.Rows() - 1);
    const std::vector<int> cols = g.ShownCols();
    ASSERT_EQ(m.columnCount(), int(cols.size()));
    // Depth first is the grid's own order: row i of the walk is grid row i + 1.
    for (int i = 0; i < all.size(); ++i) {
        const int r = i + 1;
        SCOPED_TRACE(r);
        EXPECT_EQ(m.data(all[i], Qt::UserRole), g.RowData(r));
        for (int k = 0; k < int(cols.size()); ++k)
            EXPECT_EQ(m.data(all[i].siblingAtColumn(k)).toString(), g.DisplayText(r, g.TextColOf(r, cols[size_t(k)])));
        if (g.IsSubtotal(r)) {
            EXPECT_FALSE(m.data(all[i]).toString().isEmpty()) << "a node's caption is in its first column";
        }
        const QModelIndex parent = all[i].parent();
        if (g.IsSubtotal(r) || !this->Outline()) {
            EXPECT_EQ(parent.isValid(), g.GetNodeRow(r, grid::FlexGrid::flexNTParent) >= 0);
        } else {
            ASSERT_TRUE(parent.isValid());
            EXPECT_TRUE(m.data(parent, Qt::UserRole).toString().startsWith(QLatin1Char('N')));
            EXPECT_EQ(m.data(parent, Qt::UserRole), g.RowData(g.GetNodeRow(r, grid::FlexGrid::flexNTParent)));
        }
    }
    if (!this->Outline()) {
        EXPECT_EQ(m.rowCount(), g.Rows() - 1);
    } else {
        EXPECT_LT(m.rowCount(), g.Rows() - 1);
    }
    for (int k = 0; k < int(cols.size()); ++k) {
        const int c = cols[size_t(k)];
        EXPECT_EQ(m.headerData(k, Qt::Horizontal, Qt::UserRole).toInt(), c);
        EXPECT_EQ(m.headerData(k, Qt::Horizontal).toString(),
                  g.TextMatrix(0, c).replace(QLatin1Char('\r'), QLatin1Char('\n')));
        // Hidden columns and placeholders are left out: every column a host gets has a caption.
        EXPECT_FALSE(m.headerData(k, Qt::Horizontal).toString().isEmpty());
        EXPECT_NE(m.headerData(k, Qt::Horizontal).toString(), QStringLiteral("P"));
    }
}

TYPED_TEST(GridModelTest, ASortIsALayoutChangeThatKeepsPersistentIndexes)
{
    QAbstractItemModel* m = this->View().model();
    QAbstractItemModelTester tester(m, QAbstractItemModelTester::FailureReportingMode::Fatal);
    grid::FlexGrid& g = this->Grid();
    QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
    QSignalSpy layouts(m, &QAbstractItemModel::layoutChanged);
    QSignalSpy resets(m, &QAbstractItemModel::modelReset);
    // A persistent index on IBO 2 (the largest value) and one on IBO 1.
    auto indexOf = [&](qint32 id) { return qobject_cast<grid::GridModel*>(m)->IndexOfGridRow(this->RowOf(id), 1); };
    QPersistentModelIndex two(indexOf(2)), one(indexOf(1));
    ASSERT_TRUE(two.isValid() && one.isValid());
    int valueSection = -1;
    for (int k = 0; k < m->columnCount(); ++k) {
        if (m->headerData(k, Qt::Horizontal).toString() == QLatin1String("Value"))
            valueSection = k;
    }
    ASSERT_GE(valueSection, 0);
    for (Qt::SortOrder order : {Qt::DescendingOrder, Qt::AscendingOrder}) {
        g.SortByColumn(m->headerData(valueSection, Qt::Horizontal, Qt::UserRole).toInt(), order);
        // The walk of the model is the order the grid shows.
        QList<QModelIndex> all;
        Walk(*m, QModelIndex(), &all);
        std::vector<int> walked;
        for (const QModelIndex& i : all)
            walked.push_back(qobject_cast<grid::GridModel*>(m)->GridRow(i));
        EXPECT_EQ(walked, g.DisplayOrder());
        EXPECT_EQ(m->data(two, Qt::UserRole), g.RowData(this->RowOf(2)));
        EXPECT_EQ(m->data(one, Qt::UserRole), g.RowData(this->RowOf(1)));
        EXPECT_EQ(two.column(), 1);
    }
    // The largest value first among its siblings when sorted descending, last ascending.
    g.SortByColumn(m->headerData(valueSection, Qt::Horizontal, Qt::UserRole).toInt(), Qt::DescendingOrder);
    EXPECT_EQ(two.row(), 0);
    g.SortByColumn(-1, Qt::AscendingOrder);
    EXPECT_EQ(layouts.count(), 4);
    EXPECT_EQ(resets.count(), 0);
}

TYPED_TEST(GridModelTest, StyleRolesComeFromTheCellsStyle)
{
    const QAbstractItemModel& m = *this->View().model();
    grid::FlexGrid& g = this->Grid();
    QList<QModelIndex> all;
    Walk(m, QModelIndex(), &all);
    int styled = 0;
    const std::vector<int> cols = g.ShownCols();
    for (int i = 0; i < all.size(); ++i) {
        const int r = i + 1;
        for (int k = 0; k < int(cols.size()); ++k) {
            const int c = g.TextColOf(r, cols[size_t(k)]);
            const QModelIndex index = all[i].siblingAtColumn(k);
            const qint32 fore = g.Cell(grid::flexcpForeColor, r, c).toInt();
            const qint32 back = g.Cell(grid::flexcpBackColor, r, c).toInt();
            if (back > 0) {
                EXPECT_EQ(m.data(index, Qt::BackgroundRole).value<QColor>(),
                          QColor(back & 0xFF, (back >> 8) & 0xFF, (back >> 16) & 0xFF));
                ++styled;
            }
            if (fore > 0) {
                EXPECT_EQ(m.data(index, Qt::ForegroundRole).value<QColor>(),
                          QColor(fore & 0xFF, (fore >> 8) & 0xFF, (fore >> 16) & 0xFF));
                ++styled;
            }
            if (g.Cell(grid::flexcpFontBold, r, c).toBool()) {
                EXPECT_TRUE(m.data(index, Qt::FontRole).value<QFont>().bold());
            }
            EXPECT_EQ(m.data(index, Qt::TextAlignmentRole).value<Qt::Alignment>(), g.TextAlignmentOf(r, c));
        }
    }
    EXPECT_GT(styled, 0);
}

using FlatModelTest = GridModelTest<FlatView>;

TEST_F(FlatModelTest, ARefreshThatFailsMidwayWithRedrawOffStillEndsTheModelsReset)
{
    QAbstractItemModel* m = View().model();
    QAbstractItemModelTester tester(m, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy begun(m, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy ended(m, &QAbstractItemModel::modelReset);
    trace_->failOn = QStringLiteral("BrevView.FlatView::GetFilterString");
    EXPECT_RUNTIME_ERROR(View().Refresh(), 70);
    EXPECT_EQ(Grid().Redraw(), 0);  // the refresh's error leaves redraw off, as it always did
    EXPECT_EQ(begun.count(), 1);
    EXPECT_EQ(ended.count(), 1);  // and yet the model is whole again
    EXPECT_EQ(m->rowCount(), Grid().Rows() - 1);
    trace_->failOn.clear();
    View().Refresh();
    EXPECT_EQ(begun.count(), ended.count());
    EXPECT_GT(m->rowCount(), 0);
}

TEST(GridModelGrid, AChangeOfCellsWithRedrawOffIsOneNoticePerListOfSiblings)
{
    grid::FlexGrid g;
    g.setCols(3);
    g.setRows(1);
    for (int i = 0; i < 50; ++i)
        g.AddItem(QStringLiteral("a\tb\tc"));
    QAbstractItemModel* m = new grid::GridModel(&g, &g);
    QAbstractItemModelTester tester(m, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy changes(m, &QAbstractItemModel::dataChanged);
    QSignalSpy resets(m, &QAbstractItemModel::modelReset);
    g.setRedraw(0);
    for (int r = 1; r < g.Rows(); ++r)
        g.setTextMatrix(r, 1, QString::number(r));
    EXPECT_EQ(changes.count(), 0);
    g.setRedraw(1);
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.front().at(0).value<QModelIndex>(), m->index(0, 0));
    EXPECT_EQ(changes.front().at(1).value<QModelIndex>(), m->index(49, 2));
    EXPECT_EQ(m->data(m->index(9, 1)).toString(), QStringLiteral("10"));
    // With redraw on, a change is told as it happens.
    g.setTextMatrix(3, 2, QStringLiteral("z"));
    EXPECT_EQ(changes.count(), 2);
    EXPECT_EQ(resets.count(), 0);
    // A new row changes the shape: one reset.
    g.AddItem(QStringLiteral("x"));
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(m->rowCount(), 51);
}

}  // namespace
}  // namespace BrevView::test
