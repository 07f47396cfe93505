#include <QImage>
#include <QPainter>
#include <QTest>

#include "automation/conversions.h"
#include "priority_view_fixture.h"
#include "views/priority/outline_drawing.h"

namespace BrevView::test {
namespace {

using automation::Date;

const Date kToday = Date::FromParts(2026, 3, 5);
const detail::ViewDates kDates{kToday.AddDays(-10), kToday, kToday.AddDays(10)};  // 20 days over 200 px: 10 px a day

QImage Draw(const Date& qualified, const Date& closing, int left = 100, int right = 300, bool marker = false)
{
    QImage img(400, 20, QImage::Format_ARGB32);
    img.fill(Qt::white);
    QPainter p(&img);
    detail::DrawCycleBar(p, kDates, qualified, closing, left, 0, right, 20);
    if (marker)
        detail::DrawTodayMarker(p, kDates, left, 0, right, 20);
    return img;
}

int CountColour(const QImage& img, const QColor& c)
{
    int n = 0;
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            n += img.pixelColor(x, y) == c;
    return n;
}

TEST(OutlineDrawingTest, SegmentsSitAtTheirComputedPositions)
{
    const QImage img = Draw(kToday.AddDays(-10), kToday.AddDays(10), 100, 300, true);
    // cycle 200 px from x0 = 100: probe 100-200, prove 200-270, close 270-300; band rows 6-13.
    EXPECT_EQ(img.pixelColor(100, 6), QColor(0, 0, 255));
    EXPECT_EQ(img.pixelColor(199, 13), QColor(0, 0, 255));
    EXPECT_EQ(img.pixelColor(201, 10), QColor(0, 255, 0));
    EXPECT_EQ(img.pixelColor(269, 10), QColor(0, 255, 0));
    EXPECT_EQ(img.pixelColor(270, 10), QColor(255, 0, 0));
    EXPECT_EQ(img.pixelColor(299, 10), QColor(255, 0, 0));
    EXPECT_EQ(img.pixelColor(300, 10), QColor(Qt::white));  // the right edge is outside
    EXPECT_EQ(img.pixelColor(150, 5), QColor(Qt::white));   // above the 8-pixel band
    EXPECT_EQ(img.pixelColor(150, 14), QColor(Qt::white));
    // The today marker: one magenta column at the centre, top to bottom.
    for (int y = 0; y < 20; ++y)
        EXPECT_EQ(img.pixelColor(200, y), QColor(255, 0, 255)) << y;
    EXPECT_EQ(img.pixelColor(201, 2), QColor(Qt::white));
    EXPECT_EQ(CountColour(img, QColor(255, 0, 255)), 20);
}

TEST(OutlineDrawingTest, CycleWhollyBeforeTheViewDrawsOnlyTheFocusRectangleToTheCentre)
{
    const QImage img = Draw(kToday.AddDays(-40), kToday.AddDays(-30));
    EXPECT_EQ(CountColour(img, QColor(0, 0, 255)) + CountColour(img, QColor(0, 255, 0)) +
                  CountColour(img, QColor(255, 0, 0)),
              0);
    // Dotted outline from the left edge (100) to the centre (200) over the band (6-13).
    EXPECT_EQ(img.pixelColor(100, 6), QColor(Qt::black));
    EXPECT_EQ(img.pixelColor(198, 6), QColor(Qt::black));
    EXPECT_EQ(img.pixelColor(100, 8), QColor(Qt::black));
    EXPECT_EQ(img.pixelColor(150, 10), QColor(Qt::white));  // inside the outline
    EXPECT_EQ(img.pixelColor(205, 6), QColor(Qt::white));   // past the centre
    EXPECT_EQ(img.pixelColor(98, 6), QColor(Qt::white));    // before the cell
}

TEST(OutlineDrawingTest, CycleCoveringTheRangeDrawsOneClippedSegmentEdgeToEdge)
{
    const QImage img = Draw(kToday.AddDays(-10), kToday.AddDays(410));
    EXPECT_EQ(img.pixelColor(100, 10), QColor(0, 0, 255));
    EXPECT_EQ(img.pixelColor(299, 10), QColor(0, 0, 255));
    EXPECT_EQ(img.pixelColor(99, 10), QColor(Qt::white));
    EXPECT_EQ(img.pixelColor(300, 10), QColor(Qt::white));
    EXPECT_EQ(CountColour(img, QColor(0, 0, 255)), 200 * 8);
    EXPECT_EQ(CountColour(img, QColor(0, 255, 0)) + CountColour(img, QColor(255, 0, 0)), 0);
}

TEST(OutlineDrawingTest, ZeroWidthOrARangeUnderOneDayDrawsNothing)
{
    EXPECT_EQ(CountColour(Draw(kToday.AddDays(-10), kToday.AddDays(10), 100, 100), QColor(Qt::white)), 400 * 20);
    QImage img(400, 20, QImage::Format_ARGB32);
    img.fill(Qt::white);
    QPainter p(&img);
    const detail::ViewDates empty{kToday, kToday, kToday};
    detail::DrawCycleBar(p, empty, kToday.AddDays(-3), kToday.AddDays(3), 100, 0, 300, 20);
    p.end();
    EXPECT_EQ(CountColour(img, QColor(Qt::white)), 400 * 20);
}

class PriorityRenderTest : public PriorityViewTest {};

QImage Render(PriorityView& view, const char* keepAs)
{
    const QImage image = view.grab().toImage();
    const QString keep = qEnvironmentVariable("BREV_KEEP_PNG_DIR");
    if (!keep.isEmpty())
        image.save(keep + QLatin1Char('/') + QString::fromLatin1(keepAs));
    return image;
}

TEST_F(PriorityRenderTest, RenderedBarsAndTodayMarkerAtTwoRanges)
{
    Add(Ibo::Open(1, Day(-3))
            .Text(QStringLiteral("DateQualified"), Day(-40))
            .Set(QStringLiteral("DescriptorPriority"), QStringLiteral("2")));
    Add(Ibo::Open(2, Day(20))
            .Text(QStringLiteral("DateQualified"), Day(-20))
            .Set(QStringLiteral("IboValueNumeric"), QStringLiteral("125000")));
    Add(Ibo::Open(3, Day(60))
            .Text(QStringLiteral("DateQualified"), Day(-5))
            .Set(QStringLiteral("DescriptorPriority"), QStringLiteral("3")));
    Add(Ibo::Open(4, Day(2))
            .Text(QStringLiteral("DateQualified"), Day(-90))
            .Set(QStringLiteral("DescriptorUwih"), QStringLiteral("2")));
    Add(Ibo::Open(5, Day(-30))
            .Text(QStringLiteral("DateQualified"), Day(-200))
            .Set(QStringLiteral("DescriptorPriority"), QStringLiteral("5")));
    View().Refresh();
    View().ExpandAllNodes();
    View().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&View()));
    grid::FlexGrid& g = Grid();
    auto check = [&](const char* name) {
        const QImage image = Render(View(), name);
        // The marker's place is worked out in the grid's own coordinates, as the view does
        // (a half pixel rounds to even there), then moved to the picture's.
        const QRect own = g.CellRect(RowOf(2), 12);
        ASSERT_FALSE(own.isEmpty());
        const QRect cell = own.translated(g.viewport()->pos());
        const auto& d = Private().viewDates;
        const int x = automation::ToLong(own.left() + double(d.start.DaysTo(d.today)) / double(d.start.DaysTo(d.end)) *
                                                          (own.right() + 1 - own.left())) +
                      g.viewport()->pos().x();
        EXPECT_EQ(image.pixelColor(x, cell.top() + 1), QColor(255, 0, 255)) << name;
        EXPECT_EQ(image.pixelColor(x, cell.bottom() - 1), QColor(255, 0, 255))
            << name;  // the last pixel row is the grid line
        // IBO 2 (qualified 20 days ago, closing in 20): probe left of today, prove right of it.
        const int mid = cell.top() + cell.height() / 2;
        EXPECT_EQ(image.pixelColor(x - 3, mid), QColor(0, 0, 255)) << name;
        EXPECT_EQ(image.pixelColor(x + 3, mid), QColor(0, 255, 0)) << name;
    };
    check("priority_3_months.png");
    View().setSalesCycleRangeUnits(eSalesCycleUnitWeeks);
    View().setSalesCycleRangeValue(8);
    check("priority_8_weeks.png");
}

}  // namespace
}  // namespace BrevView::test
