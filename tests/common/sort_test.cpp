// A click on a column header sorts the rows shown (inside each node of the outline views)
// by the column's type; again for descending; a third click, or Refresh, brings back the
// order of the query. Row data, selection and GotoIBO keep working on a sorted grid.

#include <QCollator>
#include <QSignalSpy>
#include <QTest>

#include "automation/conversions.h"
#include "support/three_views.h"

namespace BrevView::test {
namespace {

template <class V>
class SortTest : public ThreeViewsTest<V> {
protected:
    void SetUp() override
    {
        ThreeViewsTest<V>::SetUp();
        // Values whose text order differs from their order as numbers, dates whose text
        // order differs from their order as dates, names that differ in case and script.
        auto add = [&](int id, const QString& day, const char* value, const QString& last) {
            this->Exec(this->db_, Ibo::Open(id, day)
                                      .Set(QStringLiteral("IboValueNumeric"), QString::fromLatin1(value))
                                      .Text(QStringLiteral("ConLastName"), last)
                                      .InsertSql());
        };
        add(11, QStringLiteral("2026-09-30 00:00:00"), "900", QStringLiteral("baker"));
        add(12, QStringLiteral("2026-10-01 00:00:00"), "10000", QStringLiteral("Ødegård"));
        add(13, QStringLiteral("2026-03-09 00:00:00"), "95", QStringLiteral("Adams"));
        this->View().Refresh();
        QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
        this->View().show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&this->View()));
    }
    int Column(const QString& caption)
    {
        for (int c = 0; c < this->Grid().Cols(); ++c) {
            if (this->Grid().TextMatrix(0, c).startsWith(caption))
                return c;
        }
        return -1;
    }
    void ClickHeader(int col)
    {
        QTest::mouseClick(this->Grid().viewport(), Qt::LeftButton, Qt::NoModifier,
                          this->Grid().CellRect(0, col).center());
    }
    // The IBO rows shown, node by node: each list is one node's rows (one list in the flat view).
    std::vector<std::vector<int>> Runs()
    {
        std::vector<std::vector<int>> runs(1);
        for (int r : this->Grid().VisibleRows()) {
            if (this->Grid().IsSubtotal(r)) {
                runs.emplace_back();
                continue;
            }
            runs.back().push_back(r);
        }
        return runs;
    }
    std::vector<int> NodeRows()
    {
        std::vector<int> nodes;
        for (int r : this->Grid().VisibleRows()) {
            if (this->Grid().IsSubtotal(r))
                nodes.push_back(r);
        }
        return nodes;
    }
    template <class Key>
    void ExpectSorted(Key key, bool descending)
    {
        for (const auto& run : Runs()) {
            for (size_t i = 1; i < run.size(); ++i) {
                const auto a = key(run[i - 1]), b = key(run[i]);
                if (descending) {
                    EXPECT_GE(a, b) << "rows " << run[i - 1] << " and " << run[i];
                } else {
                    EXPECT_LE(a, b) << "rows " << run[i - 1] << " and " << run[i];
                }
            }
        }
    }
};
TYPED_TEST_SUITE(SortTest, AllViews);

TYPED_TEST(SortTest, AmountsSortAsNumbersBothWaysAndAThirdClickBringsBackTheQueryOrder)
{
    grid::FlexGrid& g = this->Grid();
    const int value = this->Column(QStringLiteral("Value"));
    ASSERT_GE(value, 0);
    const std::vector<int> queryOrder = g.VisibleRows();
    const std::vector<int> nodes = this->NodeRows();
    QSignalSpy sorted(&g, &grid::FlexGrid::SortChanged);
    auto amount = [&](int r) { return g.TextMatrix(r, value).toDouble(); };
    this->ClickHeader(value);
    EXPECT_EQ(g.SortColumn(), value);
    this->ExpectSorted(amount, false);
    EXPECT_NE(g.VisibleRows(), queryOrder);
    EXPECT_EQ(this->NodeRows(), nodes);  // node rows keep their places
    this->ClickHeader(value);
    EXPECT_EQ(g.SortOrder(), Qt::DescendingOrder);
    this->ExpectSorted(amount, true);
    this->ClickHeader(value);
    EXPECT_EQ(g.SortColumn(), -1);
    EXPECT_EQ(g.VisibleRows(), queryOrder);
    EXPECT_EQ(sorted.count(), 3);
}

TYPED_TEST(SortTest, DatesSortAsDatesAndTextByTheLocalesCollation)
{
    grid::FlexGrid& g = this->Grid();
    const int date = this->Column(QStringLiteral("WWIH?"));
    ASSERT_GE(date, 0);
    ASSERT_EQ(g.ColDataType(date), int(grid::flexDTDate));
    g.SortByColumn(date, Qt::AscendingOrder);
    this->ExpectSorted([&](int r) { return automation::ToDate(automation::Variant(g.TextMatrix(r, date))).serial(); },
                       false);
    const int last = this->Column(QStringLiteral("Last"));
    ASSERT_GE(last, 0);
    g.SortByColumn(last, Qt::AscendingOrder);
    QCollator collator(QLocale(QLocale::English, QLocale::UnitedStates));  // the locale the tests pin
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    for (const auto& run : this->Runs()) {
        for (size_t i = 1; i < run.size(); ++i)
            EXPECT_LE(collator.compare(g.TextMatrix(run[i - 1], last), g.TextMatrix(run[i], last)), 0);
    }
    // "baker" (lower case) sorts between "Adams" and "Last1", not after every capital.
    if constexpr (std::is_same_v<TypeParam, FlatView>) {
        std::vector<QString> names;
        for (int r : g.VisibleRows())
            names.push_back(g.TextMatrix(r, last));
        auto at = [&](const QString& n) { return std::find(names.begin(), names.end(), n) - names.begin(); };
        EXPECT_LT(at(QStringLiteral("Adams")), at(QStringLiteral("baker")));
        EXPECT_LT(at(QStringLiteral("baker")), at(QStringLiteral("Last1")));
    }
}

TYPED_TEST(SortTest, SelectionGotoIboAndTheKeyboardFollowTheSortedOrderAndRefreshRestoresTheQueryOrder)
{
    grid::FlexGrid& g = this->Grid();
    const int value = this->Column(QStringLiteral("Value"));
    g.SortByColumn(value, Qt::AscendingOrder);  // 13 has the smallest amount: first of its rows
    this->View().GotoIBO(13);
    EXPECT_EQ(g.Row(), this->RowOf(13));
    EXPECT_EQ(this->View().GetSelection().template value<QList<qint32>>(), QList<qint32>{13});
    EXPECT_TRUE(g.RowIsVisible(this->RowOf(13)));
    EXPECT_FALSE(g.CellRect(this->RowOf(13), value).isEmpty());
    // Down goes to the next row shown, which is not the next row number.
    const int at = g.VisibleIndexOf(g.Row());
    ASSERT_LT(size_t(at + 1), g.VisibleRows().size());
    ASSERT_NE(g.VisibleRows()[size_t(at + 1)], g.Row() + 1);
    g.setFocus();
    QTest::keyClick(&g, Qt::Key_Down);
    EXPECT_EQ(g.Row(), g.VisibleRows()[size_t(at + 1)]);
    // The row data of a row is the same sorted or not.
    EXPECT_EQ(automation::ToLong(g.RowDataValue(this->RowOf(12))), 12);
    this->View().Refresh();
    EXPECT_EQ(g.SortColumn(), -1);
    for (size_t i = 1; i < g.VisibleRows().size(); ++i)
        EXPECT_LT(g.VisibleRows()[i - 1], g.VisibleRows()[i]);
}

}  // namespace
}  // namespace BrevView::test
