#pragma once
// How wide a column that keeps its texts whole is drawn: at least as wide as its widest text
// needs in the font it is drawn in, so that an IBO number, a date or an amount is never cut
// or shown as "###", whatever the font or the number of rows. Its width in twips stays its
// own; only the pixels it is drawn with grow. Worked out once per change of the grid's texts,
// styles or font.

#include <vector>

#include <QtGlobal>

class QFont;

namespace BrevView::grid {

class FlexGrid;

class ColumnFit {
public:
    // The least width in pixels that shows every text of `col` whole (its padding included),
    // or 0 for a column that does not keep its texts whole.
    int Px(const FlexGrid& grid, int col) const;
    // The grid's font changed: every width is worked out again.
    void Invalidate() { valid_ = false; }

private:
    void Measure(const FlexGrid& grid) const;
    int MeasureCol(const FlexGrid& grid, int col, const std::vector<int>& nodes) const;

    mutable bool valid_ = false;
    mutable quint64 generation_ = 0;
    mutable std::vector<int> px_;
};

}  // namespace BrevView::grid
