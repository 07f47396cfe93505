#pragma once
// What the three controls add for Qt hosts beside their automation surface, written once:
// column widths in twips, the item model over the grid, the notice of property changes, and
// copy, export and find over the grid's shown texts.

#include <functional>

#include <QString>

class QObject;
class QWidget;
class QAbstractItemModel;

namespace BrevView::grid {
class FlexGrid;
class GridModel;
}  // namespace BrevView::grid

namespace BrevView::detail {

// The width of `column` in twips; error 9 when there is no such column.
int ColumnWidthTwips(const grid::FlexGrid& grid, int column, const QString& source);
// Sets the width of `column` in twips: error 9 for a column that does not exist, 5 for a
// negative width or for `fixedColumn` (a column whose width the view keeps, -1: none).
void SetColumnWidthTwips(grid::FlexGrid& grid, int column, int twips, const QString& source, int fixedColumn = -1);

// The control's item model over `grid`, made on first use and owned by `owner`.
QAbstractItemModel* ModelOf(grid::FlexGrid* grid, QObject* owner, grid::GridModel*& made);

// Calls `changed` whenever `grid` gets or changes its native window. The control deletes
// the returned watch first thing in its destructor, before its members go.
QObject* WatchNativeWindow(QWidget* control, grid::FlexGrid* grid, std::function<void()> changed);

// Puts the selected rows of `grid` on the clipboard (text and HTML).
void CopySelection(const grid::FlexGrid& grid);

// Writes the rows on show (or every row) as CSV; false when `progress` cancelled.
bool ExportCsv(const grid::FlexGrid& grid, const QString& fileName, bool allRows,
               const std::function<bool(qint64, qint64)>& progress, const QString& source);

// Finds the next row after the current one whose shown text holds `text` (QTextDocument
// find flags: FindCaseSensitively, FindWholeWords for the whole cell text, FindBackward),
// opens the nodes above it as GotoIBO does, makes it current and scrolls to it.
bool FindNext(grid::FlexGrid& grid, const QString& text, int findFlags);

// Calls `emitChange(current)` when `current` differs from what was last told, and keeps it.
template <class T, class Emit>
void TellIfChanged(T& told, const T& current, Emit&& emitChange)
{
    if (told == current)
        return;
    told = current;
    emitChange(current);
}

}  // namespace BrevView::detail
