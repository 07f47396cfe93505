// What each control offers Qt hosts beside its automation surface: a change signal for
// every property, emitted only on a real change; SelectionChanged; size hints; column
// widths in twips that persist; cell texts that fit their cells.

#include <QFontMetrics>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QTest>

#include "grid/grid_format.h"
#include "support/three_views.h"

namespace BrevView::test {
namespace {

template <class V>
class ControlSurfaceTest : public ThreeViewsTest<V> {};
TYPED_TEST_SUITE(ControlSurfaceTest, AllViews);

// A writable property of each view, a new value for it, and what it reads back as.
struct Change {
    const char* property;
    QVariant value;
    QVariant reads;
};

std::vector<Change> ChangesOf(const QObject& view)
{
    const QString name = QString::fromLatin1(view.metaObject()->className());
    if (name.endsWith(QLatin1String("FlatView")))
        return {{"Filter", 3, 3}, {"ViewSource", 1, 1}};
    if (name.endsWith(QLatin1String("ForecastView")))
        return {{"ForecastMode", 1, 1}, {"ShowWonIBOs", true, true}, {"ShowWonDateRange", 2, 2}};
    return {{"SalesCycleRangeValue", 0, 1}, {"SalesCycleRangeUnits", 7, 7}};
}

TYPED_TEST(ControlSurfaceTest, EveryPropertyHasANotifySignalEmittedOnlyOnARealChange)
{
    const QMetaObject* mo = this->View().metaObject();
    for (int i = mo->propertyOffset(); i < mo->propertyCount(); ++i)
        EXPECT_TRUE(mo->property(i).hasNotifySignal()) << mo->property(i).name();
    for (const Change& c : ChangesOf(this->View())) {
        SCOPED_TRACE(c.property);
        const QMetaProperty p = mo->property(mo->indexOfProperty(c.property));
        QSignalSpy spy(&this->View(), p.notifySignal());
        ASSERT_TRUE(spy.isValid());
        ASSERT_TRUE(this->View().setProperty(c.property, c.value));
        ASSERT_EQ(spy.count(), 1);
        EXPECT_EQ(spy.front().at(0), c.reads);
        // The same value again is no change.
        this->View().setProperty(c.property, c.value);
        EXPECT_EQ(spy.count(), 1);
    }
}

TYPED_TEST(ControlSurfaceTest, LoadingPreferencesThatChangeAPropertyTellsIt)
{
    const Change c = ChangesOf(this->View()).front();
    TypeParam other;  // made while the preferences still hold the old value
    const QMetaObject* mo = other.metaObject();
    ASSERT_NE(other.property(c.property), c.reads);
    this->View().setProperty(c.property, c.value);
    QMetaObject::invokeMethod(&this->View(), "SaveViewPreferences", Q_ARG(qint32, 0));  // flat view
    QMetaObject::invokeMethod(&this->View(), "SaveViewPreferences");                    // the others
    QSignalSpy spy(&other, mo->property(mo->indexOfProperty(c.property)).notifySignal());
    QMetaObject::invokeMethod(&other, "LoadViewPreferences", Q_ARG(qint32, 0));
    QMetaObject::invokeMethod(&other, "LoadViewPreferences");
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.front().at(0), c.reads);
}

TYPED_TEST(ControlSurfaceTest, SelectionChangedFollowsTheUserAndTheCode)
{
    QSignalSpy spy(&this->View(), &TypeParam::SelectionChanged);
    QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
    this->View().GotoIBO(3);
    ASSERT_EQ(spy.count(), 1);
    this->View().GotoIBO(3);  // already there
    EXPECT_EQ(spy.count(), 1);
    this->View().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&this->View()));
    const int row = this->RowOf(2);
    QTest::mouseClick(this->Grid().viewport(), Qt::LeftButton, Qt::NoModifier, this->Grid().CellRect(row, 1).center());
    EXPECT_EQ(spy.count(), 2);
    EXPECT_EQ(this->View().GetSelection().template value<QList<qint32>>(), QList<qint32>{2});
    this->View().Refresh();  // the rows go: so does the selection
    EXPECT_EQ(spy.count(), 3);
}

TYPED_TEST(ControlSurfaceTest, SizeHintsAreSensible)
{
    const QSize hint = this->View().sizeHint();
    const QSize minimum = this->View().minimumSizeHint();
    EXPECT_TRUE(hint.isValid());
    EXPECT_TRUE(minimum.isValid());
    EXPECT_GE(hint.width(), 400);
    EXPECT_GE(hint.height(), 200);
    EXPECT_LT(minimum.width(), hint.width());
    EXPECT_LT(minimum.height(), hint.height());
    EXPECT_GT(minimum.height(), 50);
}

TYPED_TEST(ControlSurfaceTest, ColumnWidthsInTwipsAreSetAndKeptThroughThePreferences)
{
    const int column = 2;
    EXPECT_EQ(this->View().columnCount(), this->Grid().Cols());
    EXPECT_EQ(this->View().columnWidth(column), this->Grid().ColWidth(column));
    this->View().setColumnWidth(column, 2345);
    EXPECT_EQ(this->View().columnWidth(column), 2345);
    EXPECT_EQ(this->Grid().ColWidth(column), 2345);
    // A control made afterwards reads it back from the user's preferences.
    this->view_.reset();
    TypeParam again;
    EXPECT_EQ(again.columnWidth(column), 2345);
    EXPECT_RUNTIME_ERROR(again.setColumnWidth(-1, 100), 9);
    EXPECT_RUNTIME_ERROR(again.setColumnWidth(again.columnCount(), 100), 9);
    EXPECT_RUNTIME_ERROR(again.columnWidth(99), 9);
    EXPECT_RUNTIME_ERROR(again.setColumnWidth(column, -5), 5);
    EXPECT_EQ(again.columnWidth(column), 2345);
    if constexpr (std::is_same_v<TypeParam, PriorityView>)
        EXPECT_RUNTIME_ERROR(again.setColumnWidth(0, 500), 5);  // the first column keeps its width
}

TYPED_TEST(ControlSurfaceTest, TheLastColumnReachesTheRightEdgeOnScreenWithoutChangingItsWidth)
{
    grid::FlexGrid& g = this->Grid();
    int last = -1;
    for (int c = 0; c < g.Cols(); ++c) {
        if (g.ColWidth(c) > 0 && !g.ColHidden(c))
            last = c;
    }
    ASSERT_GE(last, 0);
    const int twips = g.ColWidth(last);
    const QSize hint = this->View().sizeHint();
    this->View().resize(3000, 500);
    this->View().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&this->View()));
    ASSERT_GT(g.viewport()->width(), 2000);
    const QRect cell = g.CellRect(0, last);
    EXPECT_EQ(cell.right() + 1, g.viewport()->width());
    EXPECT_EQ(g.ColWidth(last), twips);        // its own width is unchanged
    EXPECT_EQ(this->View().sizeHint(), hint);  // and the size hint does not follow the size
    EXPECT_EQ(this->View().columnWidth(last), twips);
}

TEST(CellTextFit, TextLosesItsEndAndANumberIsNeverCut)
{
    const QFontMetrics fm{QFont()};
    const QString amount = QStringLiteral("$1,140,381");
    const int room = fm.horizontalAdvance(amount) / 2;
    const QString fitted = grid::FitCellText(amount, fm, room, true);
    EXPECT_FALSE(fitted.isEmpty());
    EXPECT_EQ(fitted, QString(fitted.size(), QLatin1Char('#')));
    EXPECT_LE(fm.horizontalAdvance(fitted), room);
    const QString name = QStringLiteral("Consolidated Widgets International");
    const QString cut = grid::FitCellText(name, fm, fm.horizontalAdvance(name) / 2, false);
    EXPECT_TRUE(cut.endsWith(QChar(0x2026)));
    EXPECT_TRUE(name.startsWith(cut.chopped(1)));
    EXPECT_EQ(grid::FitCellText(name, fm, fm.horizontalAdvance(name), false), name);
    EXPECT_EQ(grid::FitCellText(amount, fm, fm.horizontalAdvance(amount), true), amount);
}

}  // namespace
}  // namespace BrevView::test
