#include <set>

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include "grid_fixture.h"

namespace BrevView::test {
namespace {

using grid::FlexGrid;

// Every property the snapshot must keep, as one comparable text.
QString Describe(const FlexGrid& g)
{
    QStringList out;
    out << QStringLiteral("shape %1x%2 fixed %3/%4 row %5 col %6")
               .arg(g.Rows())
               .arg(g.Cols())
               .arg(g.FixedRows())
               .arg(g.FixedCols())
               .arg(g.Row())
               .arg(g.Col());
    out << QStringLiteral("look %1 %2 %3 %4 %5 %6 %7 %8 %9")
               .arg(g.Appearance())
               .arg(g.BackColor())
               .arg(g.BackColorBkg())
               .arg(g.GridLines())
               .arg(g.GridLinesFixed())
               .arg(g.GridColor())
               .arg(g.FocusRect())
               .arg(g.HighLight())
               .arg(g.OutlineBar());
    for (int c = 0; c < g.Cols(); ++c)
        out << QStringLiteral("col %1 w%2 h%3 a%4 t%5 f%6")
                   .arg(c)
                   .arg(g.ColWidth(c))
                   .arg(g.ColHidden(c))
                   .arg(g.ColAlignment(c))
                   .arg(g.ColDataType(c))
                   .arg(g.ColFormat(c));
    for (int r = 0; r < g.Rows(); ++r) {
        QString line = QStringLiteral("row %1 data[%2] h%3 lvl%4 sub%5 col%6:")
                           .arg(r)
                           .arg(g.RowData(r).toString())
                           .arg(g.RowHeight(r))
                           .arg(g.RowOutlineLevel(r))
                           .arg(g.IsSubtotal(r))
                           .arg(g.IsCollapsed(r));
        for (int c = 0; c < g.Cols(); ++c) {
            line += QStringLiteral(" [%1|%2|%3|%4|%5|%6]")
                        .arg(g.TextMatrix(r, c))
                        .arg(g.Cell(grid::flexcpForeColor, r, c).toInt())
                        .arg(g.Cell(grid::flexcpBackColor, r, c).toInt())
                        .arg(g.Cell(grid::flexcpFontBold, r, c).toBool())
                        .arg(g.Cell(grid::flexcpFontName, r, c).toString())
                        .arg(g.Cell(grid::flexcpAlignment, r, c).toInt());
        }
        out << line;
    }
    return out.join(QLatin1Char('\n'));
}

class GridSnapshotTest : public GridTest {
protected:
    void SetUp() override
    {
        GridTest::SetUp();
        FillOutline();
        FlexGrid& g = *grid_;
        g.setColWidth(0, 2000);
        g.setColHidden(1, true);
        g.setColFormat(2, QStringLiteral("$###,##0"));
        g.setColDataType(2, grid::flexDTCurrency);
        g.setColAlignment(2, grid::flexAlignRightCenter);
        g.setRowHeight(0, 500);
        g.setCell(grid::flexcpBackColor, 1, 0, 1, 2, 0xFFF1E0);
        g.setCell(grid::flexcpForeColor, 2, 0, 8, 2, 0x008000);
        g.setCell(grid::flexcpFontBold, 4, 0, 4, 2, true);
        g.setCell(grid::flexcpFontName, 0, 0, 0, 2, QStringLiteral("Helvetica"));
        g.setIsCollapsed(5, 2);
        g.setRow(3);
        g.setGridColor(0xE0E0E0);
    }
};

TEST_F(GridSnapshotTest, SaveThenLoadRestoresEveryProperty)
{
    const QString file = TempPath(QStringLiteral("tempgrid.fg"));
    const QString before = Describe(*grid_);
    grid_->SaveGrid(file, 0, true);
    // Change everything, then load.
    grid_->setRows(2);
    grid_->setCols(1);
    grid_->setGridColor(0);
    grid_->setTextMatrix(0, 0, QStringLiteral("changed"));
    QSignalSpy collapse(grid_.get(), &FlexGrid::AfterCollapse);
    grid_->LoadGrid(file, 0, true);
    EXPECT_EQ(Describe(*grid_), before);
    EXPECT_EQ(collapse.count(), 0);
    EXPECT_EQ(grid_->VisibleRows(), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_F(GridSnapshotTest, DamagedTruncatedOrForeignFileIsRefusedAndTheGridKept)
{
    const QString file = TempPath(QStringLiteral("tempgrid.fg"));
    grid_->SaveGrid(file, 0, true);
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray good = f.readAll();
    f.close();
    const QString before = Describe(*grid_);
    auto tryLoad = [&](const QByteArray& bytes) {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        out.write(bytes);
        out.close();
        EXPECT_RUNTIME_ERROR(grid_->LoadGrid(file, 0, true), 321);
        EXPECT_EQ(Describe(*grid_), before);
    };
    QByteArray flipped = good;
    flipped[flipped.size() / 2] = char(flipped[flipped.size() / 2] ^ 0x5A);
    tryLoad(flipped);
    tryLoad(good.left(good.size() - 7));
    tryLoad(QByteArray("PK\x03\x04 this is a zip file, not a grid"));
    tryLoad(QByteArray());
    EXPECT_RUNTIME_ERROR(grid_->LoadGrid(TempPath(QStringLiteral("none.fg")), 0, true), 53);
    EXPECT_RUNTIME_ERROR(grid_->SaveGrid(TempPath(QStringLiteral("no/such/dir/x.fg")), 0, true), 75);
}

// Found by fuzzing: a text whose length claims gigabytes must not be allocated.
TEST_F(GridSnapshotTest, ContentWithAHugeTextLengthIsRefusedWithoutAllocatingIt)
{
    const QByteArray input = QByteArray::fromBase64(
        "QlZHUklEDQoAAAABAAAAAAAAAE1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU0KAAAAAQAAAAAAAAAA47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJVNTU1NTU1N"
        "TU1NTU0BAAAAAAAAAADjsMRCmPwcFJonRABVADBgAACVmRt4UrhV");
    const QString before = Describe(*grid_);
    EXPECT_RUNTIME_ERROR(grid_->LoadGridData(input, QStringLiteral("fuzz"), false), 321);
    EXPECT_RUNTIME_ERROR(grid_->LoadGridData(input, QStringLiteral("fuzz"), true), 321);
    EXPECT_EQ(Describe(*grid_), before);
}

QString PdfText(const QString& pdf)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    if (!p.waitForFinished(30000))
        return QStringLiteral("<pdftotext failed>");
    return QString::fromUtf8(p.readAllStandardOutput());
}

int PdfPages(const QString& text)
{
    return int(text.count(QLatin1Char('\f')));
}

TEST_F(GridSnapshotTest, PrintToPdfHoldsTheCellTextsAsTextOnEveryPageWithTheHeader)
{
    const QString pdf = TempPath(QStringLiteral("grid.pdf"));
    qputenv("BREV_PRINT_TO_PDF", pdf.toLocal8Bit());
    grid_->setIsCollapsed(5, 0);
    grid_->setRows(200);
    for (int r = 9; r < 200; ++r)
        grid_->setTextMatrix(r, 0, QStringLiteral("Line%1").arg(r));
    grid_->PrintGrid(QStringLiteral("User:Narg"), false, 0);
    qunsetenv("BREV_PRINT_TO_PDF");
    if (qEnvironmentVariableIsSet("BREV_KEEP_PDF"))
        QFile::copy(pdf, qEnvironmentVariable("BREV_KEEP_PDF"));
    const QString text = PdfText(pdf);
    EXPECT_TRUE(text.contains(QStringLiteral("Review First"))) << text.left(400).toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Line199")));
    EXPECT_TRUE(text.contains(QStringLiteral("$8,004")));  // formatted like the screen
    const int pages = PdfPages(text);
    EXPECT_GE(pages, 2);
    EXPECT_EQ(int(text.count(QStringLiteral("Name"))), pages);  // the header on every page
}

TEST_F(GridSnapshotTest, PrintDialogCanBeCancelledAndNothingIsPrinted)
{
    const QString pdf = TempPath(QStringLiteral("cancelled.pdf"));
    qputenv("BREV_PRINT_TO_PDF", pdf.toLocal8Bit());
    int asked = 0;
    FlexGrid::SetPrintDialogHandler([&](QPrinter&) {
        ++asked;
        return false;
    });
    grid_->PrintGrid(QString(), true, 0);
    FlexGrid::SetPrintDialogHandler({});
    qunsetenv("BREV_PRINT_TO_PDF");
    EXPECT_EQ(asked, 1);
    EXPECT_FALSE(QFile::exists(pdf));
}

TEST_F(GridSnapshotTest, HeaderOnlyGridPrintsItsHeader)
{
    const QString pdf = TempPath(QStringLiteral("header.pdf"));
    qputenv("BREV_PRINT_TO_PDF", pdf.toLocal8Bit());
    grid_->setRows(1);
    grid_->PrintGrid(QStringLiteral("User:Narg"), false, 0);
    qunsetenv("BREV_PRINT_TO_PDF");
    const QString text = PdfText(pdf);
    EXPECT_EQ(PdfPages(text), 1);
    EXPECT_TRUE(text.contains(QStringLiteral("Name")));
    EXPECT_FALSE(text.contains(QStringLiteral("Overdues")));
}

class GridRenderTest : public GridTest {};

TEST_F(GridRenderTest, RenderedGridShowsColoursAndHidesCollapsedRows)
{
    FillOutline();
    FlexGrid& g = *grid_;
    g.setCell(grid::flexcpBackColor, 2, 2, 2, 2, 0x0000FF);  // red as a COLORREF
    g.setIsCollapsed(5, 2);
    g.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&g));
    const QImage image = g.grab().toImage();
    image.save(TempPath(QStringLiteral("grid.png")));
    const QString keep = qEnvironmentVariable("BREV_KEEP_PNG");
    if (!keep.isEmpty())
        image.save(keep);
    const QRect red = g.CellRect(2, 2).translated(g.viewport()->pos());
    ASSERT_FALSE(red.isEmpty());
    EXPECT_EQ(image.pixelColor(red.center() + QPoint(-red.width() / 3, 0)), QColor(255, 0, 0));
    // Rows 6 to 8 sit under the collapsed node: the row after the node is the end of the data.
    EXPECT_TRUE(g.CellRect(6, 0).isEmpty());
    const QRect node = g.CellRect(5, 0).translated(g.viewport()->pos());
    const QPoint below(node.center().x(), node.bottom() + node.height() / 2);
    EXPECT_EQ(image.pixelColor(below), g.palette().color(QPalette::Window));
}

TEST_F(GridRenderTest, DrawCellIsRaisedOnlyForPaintedCellsAndDoneIsRespected)
{
    FillOutline();
    FlexGrid& g = *grid_;
    g.setRows(400);
    g.setOwnerDraw(1);
    std::set<int> rows;
    QObject::connect(&g, &FlexGrid::DrawCell, &g,
                     [&](QPainter* p, int row, int col, int l, int t, int r, int b, bool& done) {
                         rows.insert(row);
                         if (col == 2 && row == 3) {
                             p->fillRect(QRect(QPoint(l, t), QPoint(r - 1, b - 1)), Qt::magenta);
                             done = true;
                         }
                     });
    g.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&g));
    const QImage image = g.grab().toImage();
    EXPECT_FALSE(rows.empty());
    EXPECT_EQ(rows.count(0), 0u);    // the header is never owner-drawn
    EXPECT_EQ(rows.count(399), 0u);  // far below the viewport: never painted
    EXPECT_LT(*rows.rbegin(), 40);
    const QRect cell = g.CellRect(3, 2).translated(g.viewport()->pos());
    EXPECT_EQ(image.pixelColor(cell.center()), QColor(Qt::magenta));  // no text drawn over it
}

}  // namespace
}  // namespace BrevView::test
