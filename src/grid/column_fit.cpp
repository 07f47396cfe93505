#include "grid/column_fit.h"

#include <algorithm>

#include <QFontMetrics>

#include "grid/flex_grid.h"

namespace BrevView::grid {
namespace {

// The room a cell keeps beside its text: three pixels on each side and the grid line, and
// one more for the rounding of a scaled screen.
constexpr int kPaddingPx = 8;
// A data row's text is measured when its length is within this many units of the longest
// (the store keeps a few rows of each length; the digits of a grid font are all of one width,
// so texts of the same length and shape measure alike):
// a formatted amount one digit shorter than the longest raw text can still be wider (the
// longest raw text may be the one with decimals that the format drops).
constexpr int kLengthSlack = 2;

int LinesWidth(const QFontMetrics& metrics, QString text)
{
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    int widest = 0;
    for (const QStringView line : QStringView(text).split(QLatin1Char('\n')))
        widest = std::max(widest, metrics.horizontalAdvance(line.toString()));
    return widest;
}

}  // namespace

int ColumnFit::Px(const FlexGrid& grid, int col) const
{
    const GridStore& store = grid.store();
    if (!store.Col(col).fitText)
        return 0;
    if (!valid_ || generation_ != store.generation() || px_.size() != size_t(store.cols()))
        Measure(grid);
    return px_[size_t(col)];
}

void ColumnFit::Measure(const FlexGrid& grid) const
{
    const GridStore& store = grid.store();
    px_.assign(size_t(store.cols()), 0);
    // The node rows, found once for every column: their totals are measured each.
    std::vector<int> nodes;
    bool anyFit = false;
    for (int c = 0; c < store.cols(); ++c)
        anyFit = anyFit || (store.Col(c).fitText && !store.Col(c).hidden);
    if (anyFit) {
        for (int r = std::min(grid.FixedRows(), store.rows()); r < store.rows(); ++r) {
            if (store.Row(r).subtotal)
                nodes.push_back(r);
        }
    }
    for (int c = 0; c < store.cols(); ++c) {
        if (store.Col(c).fitText && !store.Col(c).hidden)
            px_[size_t(c)] = MeasureCol(grid, c, nodes);
    }
    generation_ = store.generation();
    valid_ = true;
}

int ColumnFit::MeasureCol(const FlexGrid& grid, int col, const std::vector<int>& nodes) const
{
    const GridStore& store = grid.store();
    const int rows = store.rows();
    const int fixed = std::min(grid.FixedRows(), rows);
    const QFont base = grid.font();
    int widest = 0;
    auto measure = [&](int row) {
        const QFontMetrics metrics(grid.CellFont(row, col, base));
        widest = std::max(widest, LinesWidth(metrics, grid.DisplayText(row, col)));
    };
    for (int r = 0; r < fixed; ++r)
        measure(r);
    // A node's caption in the outline column runs on over the cells to its right, so it is
    // not this column's to hold; its totals in the other columns are, and there are few nodes.
    const bool outlineCol = col == grid.OutlineCol() && grid.OutlineBar() != FlexGrid::flexOutlineBarNone;
    for (int r : nodes) {
        if (!outlineCol && !store.TextIsEmpty(r, col))
            measure(r);
    }
    // The data rows: those sampled at the longest lengths of the column.
    // Returns whether every row sampled at those lengths holds a shorter text now.
    auto measureLongest = [&](const GridStore::LengthSamples& samples) {
        int measured = 0, stale = 0;
        for (int length = samples.longest; length >= 0 && length >= samples.longest - kLengthSlack; --length) {
            if (size_t(length) >= samples.rowsByLength.size())
                continue;
            for (int r : samples.rowsByLength[size_t(length)]) {
                if (r < fixed || r >= rows || store.Row(r).subtotal)
                    continue;  // header and node rows are measured above
                if (store.TextLength(r, col) < samples.longest - kLengthSlack) {
                    ++stale;
                    continue;
                }
                measure(r);
                ++measured;
            }
        }
        return measured == 0 && stale > 0;
    };
    // Sampled rows written over with shorter texts since: sampled anew from the rows.
    if (measureLongest(store.Lengths(col)))
        measureLongest(store.Lengths(col, true));
    return widest > 0 ? widest + kPaddingPx : 0;
}

}  // namespace BrevView::grid
