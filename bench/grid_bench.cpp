// Measures the outline grid against the usual Qt way and against itself at two
// sizes, in one process, and checks the goals:
//   fill through the grid's API         >= 3x faster than a QStandardItemModel fill
//   grid memory                         <= 1/3 of the QStandardItemModel's
//   CollapseAll/ExpandAll at N rows     <= 12x the time at N/10 rows (linear)
//   painting a 1200x800 viewport        within 1.5x at 1,000 and at N rows
//   sorting N rows by a column          under a second at a million rows
// Usage: grid_bench [--rows N] [--runs K]; exits 1 when a goal is missed.

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

#include <QApplication>
#include <QCommandLineParser>
#include <QImage>
#include <QPainter>
#include <QStandardItemModel>

#include <brevview/version.h>

#include "grid/flex_grid.h"

using BrevView::grid::FlexGrid;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kCols = 12;

double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double Seconds(const std::function<void()>& f)
{
    const auto t0 = Clock::now();
    f();
    return std::chrono::duration<double>(Clock::now() - t0).count();
}

size_t HeapInUse()
{
    malloc_trim(0);
    const struct mallinfo2 mi = mallinfo2();
    return mi.uordblks + mi.hblkhd;
}

QString CellText(int r, int c)
{
    switch (c) {
    case 0:
        return QStringLiteral("IBO-%1").arg(r);
    case 1:
        return QStringLiteral("Open");
    case 2:
        return QStringLiteral("3/%1/26").arg(r % 28 + 1);
    case 10:
        return QString::number(r * 3.25);
    default:
        return QStringLiteral("Text %1/%2").arg(c).arg(r % 1000);
    }
}

void FillGrid(FlexGrid& g, int rows, int nodeEvery)
{
    g.setRedraw(0);
    g.setCols(kCols);
    g.setRows(1);
    for (int r = 1; r <= rows; ++r) {
        g.setRows(g.Rows() + 1);
        const int row = g.Rows() - 1;
        if (nodeEvery > 0 && r % nodeEvery == 1) {
            g.setIsSubtotal(row, true);
            g.setRowDataValue(row, BrevView::automation::Variant(QStringLiteral("N%1").arg(r)));
        } else {
            g.setRowDataValue(row, BrevView::automation::Variant(qint32(r)));
        }
        for (int c = 0; c < kCols; ++c)
            g.setTextMatrix(row, c, CellText(r, c));
    }
    g.setCell(BrevView::grid::flexcpForeColor, 1, 6, g.Rows() - 1, 7, 0xFF0000);
    g.setCell(BrevView::grid::flexcpForeColor, 1, 10, g.Rows() - 1, 10, 0x008000);
    g.setRedraw(1);
}

void FillModel(QStandardItemModel& m, int rows)
{
    m.setColumnCount(kCols);
    m.setRowCount(rows);
    const QBrush blue(QColor(0, 0, 255)), green(QColor(0, 128, 0));
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < kCols; ++c) {
            auto* item = new QStandardItem(CellText(r + 1, c));
            if (c == 6 || c == 7)
                item->setForeground(blue);
            else if (c == 10)
                item->setForeground(green);
            m.setItem(r, c, item);
        }
    }
}

void SetAll(FlexGrid& g, int state)
{
    g.setRedraw(0);
    for (int r = g.FixedRows(); r < g.Rows(); ++r) {
        if (g.IsSubtotal(r))
            g.setIsCollapsed(r, state);
    }
    g.setRedraw(1);
}

double PaintSeconds(FlexGrid& g, int runs)
{
    g.resize(1200, 800);
    QImage image(1200, 800, QImage::Format_ARGB32_Premultiplied);
    std::vector<double> t;
    for (int i = 0; i < runs + 1; ++i) {
        g.setTopRow(g.Rows() / 2);
        t.push_back(Seconds([&] { g.render(&image); }));
    }
    t.erase(t.begin());  // warm-up
    return Median(t);
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("grid_bench"));
    QApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Measures the outline grid against a QStandardItemModel and against itself at two sizes; exits 1 when a goal is missed."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption rowsOption(QStringLiteral("rows"),
                                        QStringLiteral("Rows of the large grid (default 1000000, at least 1000)."),
                                        QStringLiteral("N"), QStringLiteral("1000000"));
    const QCommandLineOption runsOption(QStringLiteral("runs"), QStringLiteral("Runs of each measure (default 5)."),
                                        QStringLiteral("K"), QStringLiteral("5"));
    const QCommandLineOption paintOnlyOption(QStringLiteral("paint-only"),
                                             QStringLiteral("Only the painting measure, for a profiler."));
    parser.addOptions({rowsOption, runsOption, paintOnlyOption});
    parser.process(app);
    const int rows = std::max(1000, parser.value(rowsOption).toInt());
    const int runs = std::max(1, parser.value(runsOption).toInt());
    const bool paintOnly = parser.isSet(paintOnlyOption);
    const int small = rows / 10;
    bool ok = true;
    auto check = [&](const char* what, double value, double goal, bool atMost) {
        const bool pass = atMost ? value <= goal : value >= goal;
        ok = ok && pass;
        std::printf("%-52s %10.3f  goal %s %6.3f  %s\n", what, value, atMost ? "<=" : ">=", goal,
                    pass ? "ok" : "MISSED");
    };

    // Fill and memory, each built once per run in a fresh object.
    std::vector<double> gridFill, modelFill;
    if (!paintOnly) {
        size_t gridBytes = 0, modelBytes = 0;
        for (int i = 0; i < std::min(runs, 3); ++i) {
            {
                const size_t before = HeapInUse();
                FlexGrid g;
                gridFill.push_back(Seconds([&] { FillGrid(g, rows, 0); }));
                gridBytes = HeapInUse() - before;
            }
            {
                const size_t before = HeapInUse();
                QStandardItemModel m;
                modelFill.push_back(Seconds([&] { FillModel(m, rows); }));
                modelBytes = HeapInUse() - before;
            }
        }
        std::printf("rows %d x %d columns, median of %zu fills\n", rows, kCols, gridFill.size());
        std::printf("%-52s %10.3f s\n", "grid fill", Median(gridFill));
        std::printf("%-52s %10.3f s\n", "QStandardItemModel fill", Median(modelFill));
        std::printf("%-52s %10.1f MiB\n", "grid memory", gridBytes / 1048576.0);
        std::printf("%-52s %10.1f MiB\n", "QStandardItemModel memory", modelBytes / 1048576.0);
        check("model fill / grid fill", Median(modelFill) / Median(gridFill), 3.0, false);
        check("grid memory / model memory", double(gridBytes) / double(modelBytes), 1.0 / 3.0, true);

        // Collapse and expand of every node: one node per 10 rows.
        auto collapseTime = [&](int n) {
            FlexGrid g;
            FillGrid(g, n, 10);
            std::vector<double> t;
            t.reserve(size_t(runs));
            for (int i = 0; i < runs; ++i) {
                t.push_back(Seconds([&] { SetAll(g, FlexGrid::flexOutlineCollapsed); }) +
                            Seconds([&] { SetAll(g, FlexGrid::flexOutlineExpanded); }));
            }
            return Median(t);
        };
        const double cSmall = collapseTime(small), cLarge = collapseTime(rows);
        std::printf("%-52s %10.4f s (%d rows) %10.4f s (%d rows)\n", "collapse + expand all", cSmall, small, cLarge,
                    rows);
        check("collapse/expand time ratio (10x rows)", cLarge / cSmall, 12.0, true);
    }

    // Painting one viewport.
    FlexGrid few, many;
    FillGrid(few, 1000, 0);
    FillGrid(many, rows, 0);
    const double pFew = PaintSeconds(few, runs), pMany = PaintSeconds(many, runs);
    std::printf("%-52s %10.5f s (1000 rows) %10.5f s (%d rows)\n", "paint 1200x800", pFew, pMany, rows);
    check("paint time ratio", pMany / pFew, 1.5, true);

    // Sorting by a header: an amount column, a text column, and the IBO numbers (every text
    // distinct), each to the first layout that shows them.
    auto sortSeconds = [&](int col) {
        std::vector<double> t;
        for (int i = 0; i < runs; ++i) {
            t.push_back(Seconds([&] {
                many.SortByColumn(col, i % 2 ? Qt::DescendingOrder : Qt::AscendingOrder);
                (void)many.VisibleRows();
            }));
            many.SortByColumn(-1, Qt::AscendingOrder);
        }
        return Median(t);
    };
    many.setColDataType(10, BrevView::grid::flexDTCurrency);
    const double sAmount = sortSeconds(10), sText = sortSeconds(3), sUnique = sortSeconds(0);
    std::printf("%-52s %10.4f s (amounts) %8.4f s (text) %8.4f s (all distinct), %d rows\n", "sort by a column",
                sAmount, sText, sUnique, rows);
    check("sort by the slowest column (s)", std::max({sAmount, sText, sUnique}),
          rows >= 1000000 ? 1.0 : 1.0 * rows / 1000000 + 0.2, true);
    return ok ? 0 : 1;
}
