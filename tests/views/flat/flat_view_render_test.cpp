#include <QTest>

#include "flat_view_fixture.h"

namespace BrevView::test {
namespace {

// Renders a filled flat view (kept as $BREV_KEEP_PNG when set, for a person to look at)
// and checks what a user sees: the header, the rows, the blue descriptor labels.
TEST_P(FlatViewTest, RenderedViewShowsHeaderRowsAndBlueLabels)
{
    for (int i = 1; i <= 12; ++i) {
        Add(Ibo::Open(100 + i, QStringLiteral("2026-03-%1 00:00:00").arg(i + 10, 2, 10, QLatin1Char('0')))
                .Set(QStringLiteral("DescriptorStatus"), QString::number(1 + i % 4))
                .Set(QStringLiteral("DescriptorUwih"), QString::number(i % 3))
                .Set(QStringLiteral("DescriptorUwwgi"), QString::number((i + 1) % 3))
                .Set(QStringLiteral("IboValueNumeric"), QString::number(i * 12345))
                .Set(QStringLiteral("IboValueDecimal"), QStringLiteral("50")));
    }
    View().resize(1100, 340);
    View().Refresh();
    View().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&View()));
    const QImage image = View().grab().toImage();
    if (qEnvironmentVariableIsSet("BREV_KEEP_PNG"))
        image.save(qEnvironmentVariable("BREV_KEEP_PNG"));
    ASSERT_EQ(Grid().Rows(), 13);
    // Somewhere in the "WIH?" cell of row 1 the text is drawn in pure blue.
    const QRect cell = Grid().CellRect(1, 6).translated(Grid().viewport()->pos());
    bool blue = false;
    for (int x = cell.left(); x <= cell.right() && !blue; ++x)
        for (int y = cell.top(); y <= cell.bottom() && !blue; ++y)
            blue = image.pixelColor(x, y) == QColor(0, 0, 255);
    EXPECT_TRUE(blue);
    EXPECT_EQ(Grid().DisplayText(12, 10), QStringLiteral("$148,141"));
}

}  // namespace
}  // namespace BrevView::test
