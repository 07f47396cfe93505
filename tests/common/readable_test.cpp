// With no stored preferences and the platform's default font, each view draws every IBO
// number, date, amount and node total whole: no "###" fill, no "…". Each text is measured in
// the font its cell is drawn in against the cell as drawn. The same tests run once more at
// QT_SCALE_FACTOR=2 (the "Scaled." runs).

#include <QFontMetrics>

#include <brevview/brevview.h>

#include "grid/flex_grid.h"
#include "host/clock.h"
#include "sample_generator.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

// The columns whose texts must show whole: numbers, dates and amounts.
const QStringList kWholeColumns{QStringLiteral("IBO#"), QStringLiteral("WTC"), QStringLiteral("WWIH?"),
                                QStringLiteral("%"),    QStringLiteral("#"),   QStringLiteral("Value")};
// A cell keeps three pixels on each side of its text.
constexpr int kCellPadding = 6;

template <class V>
class ReadableTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        if (OnPostgreSQL())
            GTEST_SKIP() << "the drawing does not depend on the engine";
        PinToday(2026, 11, 25);
        if (qEnvironmentVariable("QT_SCALE_FACTOR") == QLatin1String("2"))
            scaled_ = true;
    }

    // Makes a sample database of `count` IBOs, shows it in a new view with no stored
    // preferences, and checks every text of the whole columns, the node rows' included.
    void ShowsEverythingWhole(int count)
    {
        const QString db = TempPath(QStringLiteral("sample.db"));
        sample::Options options;
        options.count = count;
        options.today = QDate(2026, 11, 25);
        ASSERT_EQ(sample::Generate(db, options), QString());
        qputenv("BREV_DATABASE", db.toLocal8Bit());
        V view;
        view.resize(1200, 600);
        view.Refresh();
        QMetaObject::invokeMethod(&view, "ExpandAllNodes");
        view.show();
        grid::FlexGrid& g = *view.template findChild<grid::FlexGrid*>(QStringLiteral("flexGrid"));
        if (scaled_) {
            EXPECT_EQ(g.devicePixelRatioF(), 2.0);
        }
        ASSERT_GT(g.Rows(), count / 2);
        const QFont font = g.font();
        int checkedCols = 0;
        for (int c = 0; c < g.Cols(); ++c) {
            if (g.ColHidden(c) || !kWholeColumns.contains(g.TextMatrix(0, c)))
                continue;
            ++checkedCols;
            // The widest data text of the column, and every node total in it.
            int widestRow = -1, widest = 0;
            std::vector<int> nodes;
            for (int r = g.FixedRows(); r < g.Rows(); ++r) {
                if (g.IsSubtotal(r)) {
                    if (g.OutlineCol() != c && !g.TextMatrix(r, c).isEmpty())
                        nodes.push_back(r);
                    continue;
                }
                const int w = QFontMetrics(g.CellFont(r, c, font)).horizontalAdvance(g.DisplayText(r, c));
                if (w > widest) {
                    widest = w;
                    widestRow = r;
                }
            }
            // The "#" column holds only the nodes' counts.
            ASSERT_TRUE(widestRow >= 0 || !nodes.empty()) << "column " << c;
            if (widestRow >= 0)
                nodes.push_back(widestRow);
            for (int r : nodes) {
                g.ShowCell(r, c);
                const QRect cell = g.CellRect(r, c);
                ASSERT_FALSE(cell.isEmpty()) << "row " << r << " column " << c;
                const QString text = g.DisplayText(r, c);
                const int need = QFontMetrics(g.CellFont(r, c, font)).horizontalAdvance(text);
                EXPECT_LE(need + kCellPadding, cell.width())
                    << qPrintable(g.TextMatrix(0, c)) << " row " << r << ": \"" << qPrintable(text) << "\" needs "
                    << need << " px, its cell is " << cell.width() << " px";
            }
            const QRect header = g.CellRect(0, c);
            EXPECT_LE(QFontMetrics(g.CellFont(0, c, font)).horizontalAdvance(g.TextMatrix(0, c)) + kCellPadding,
                      header.width());
        }
        EXPECT_GE(checkedCols, 4);
        CheckSalesCycleHeader(g);
    }

    // The priority view's two-line "Sales Cycle" caption shows both lines, whole.
    void CheckSalesCycleHeader(grid::FlexGrid& g)
    {
        for (int c = 0; c < g.Cols(); ++c) {
            const QString caption = g.TextMatrix(0, c);
            if (!caption.startsWith(QStringLiteral("Sales Cycle")))
                continue;
            const QStringList lines =
                QString(caption).replace(QLatin1Char('\r'), QLatin1Char('\n')).split(QLatin1Char('\n'));
            ASSERT_EQ(lines.size(), 2);
            const QFontMetrics metrics(g.CellFont(0, c, g.font()));
            const QRect cell = g.CellRect(0, c);
            EXPECT_GE(cell.height(), 2 * metrics.lineSpacing());
            for (const QString& line : lines)
                EXPECT_LE(metrics.horizontalAdvance(line) + kCellPadding, cell.width()) << qPrintable(line);
            // The widths the view fixes and stores are its own still.
            EXPECT_EQ(g.ColWidth(c), 900);
            sawSalesCycle_ = true;
        }
    }

    bool scaled_ = false;
    bool sawSalesCycle_ = false;
};

using Views = ::testing::Types<FlatView, ForecastView, PriorityView>;
TYPED_TEST_SUITE(ReadableTest, Views);

TYPED_TEST(ReadableTest, SampleDatabaseShowsEveryNumberWhole)
{
    this->ShowsEverythingWhole(500);
    if (std::is_same_v<TypeParam, PriorityView>) {
        EXPECT_TRUE(this->sawSalesCycle_);
    }
}

TYPED_TEST(ReadableTest, TwoHundredThousandIbosShowEveryTotalWhole)
{
#if defined(BREV_UNDER_ADDRESS_SANITIZER)
    this->ShowsEverythingWhole(20000);
#else
    this->ShowsEverythingWhole(200000);
#endif
}

TYPED_TEST(ReadableTest, BiggerHostFontWidensTheColumnsItNeeds)
{
    const QString db = this->TempPath(QStringLiteral("sample.db"));
    sample::Options options;
    options.count = 200;
    options.today = QDate(2026, 11, 25);
    ASSERT_EQ(sample::Generate(db, options), QString());
    qputenv("BREV_DATABASE", db.toLocal8Bit());
    TypeParam view;
    view.resize(1200, 600);
    view.Refresh();
    grid::FlexGrid& g = *view.template findChild<grid::FlexGrid*>(QStringLiteral("flexGrid"));
    int valueCol = -1;
    for (int c = 0; c < g.Cols(); ++c) {
        if (g.TextMatrix(0, c) == QLatin1String("Value"))
            valueCol = c;
    }
    ASSERT_GE(valueCol, 0);
    const int before = g.CellRect(0, valueCol).width();
    const int twips = g.ColWidth(valueCol);
    QFont big = view.font();
    big.setPointSizeF(big.pointSizeF() * 2);
    view.setFont(big);
    EXPECT_GT(g.CellRect(0, valueCol).width(), before * 3 / 2);
    EXPECT_EQ(g.ColWidth(valueCol), twips);
}

}  // namespace
}  // namespace BrevView::test
