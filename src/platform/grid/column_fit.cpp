#include "column_fit.h"

#include <algorithm>

#include <QFontMetrics>

#include "flex_grid.h"

namespace BrevView::grid {
namespace {

// The room a cell keeps beside its text: three pixels on each side and the grid line, and
// one more for the rounding of a scaled screen.
constexpr int kPaddingPx = 8;
// A data row's text is measured when its length is within this many units of the longest:
// a formatted amount one digit shorter than the longest raw text can still be wider (the
// longest raw text may be the one with decimals that the format drops).
constexpr int kLengthSlack = 2;
// Rows of each length that are measured: the digits of a grid font are all of one width,
// so texts of the same length and shape measure alike.
constexpr int kRowsPerLength = 64;

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
    for (int c = 0; c < store.cols(); ++c) {
        if (store.Col(c).fitText && !store.Col(c).hidden)
            px_[size_t(c)] = MeasureCol(grid, c);
    }
    generation_ = store.generation();
    valid_ = true;
}

int ColumnFit::MeasureCol(const FlexGrid& grid, int col) const
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
    int longest = 0;
    for (int r = fixed; r < rows; ++r) {
        if (store.Row(r).subtotal) {
            if (!outlineCol && !store.TextIsEmpty(r, col))
                measure(r);
        } else {
            longest = std::max(longest, store.TextLength(r, col));
        }
    }
    if (longest > 0) {
        int measured[kLengthSlack + 1] = {};
        for (int r = fixed; r < rows; ++r) {
            if (store.Row(r).subtotal)
                continue;
            const int shortBy = longest - store.TextLength(r, col);
            if (shortBy <= kLengthSlack && measured[shortBy] < kRowsPerLength) {
                ++measured[shortBy];
                measure(r);
            }
        }
    }
    return widest > 0 ? widest + kPaddingPx : 0;
}

}  // namespace BrevView::grid
