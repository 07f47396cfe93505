#pragma once
// The grid's shown texts taken out of it: the selected rows for the clipboard (tab-separated
// text and an HTML table with the header row, so that a paste into a spreadsheet gives
// columns), a CSV file (RFC 4180, UTF-8) of the rows on show or of every row, and the
// search of the shown texts. Hidden columns are left out everywhere.

#include <functional>

#include <QString>

class QMimeData;

namespace BrevView::grid {

class FlexGrid;

// The selected rows, in the order they are shown, as text/plain and text/html.
QMimeData* SelectedRowsAsMime(const FlexGrid& grid);

// Called now and then with the rows written and the rows to write; false cancels.
using ExportProgress = std::function<bool(qint64 done, qint64 total)>;

// Writes the rows on show (or, with `allRows`, every data row, collapsed nodes opened) as
// CSV: the header row first, the shown texts, and after each money column a column of its
// plain numbers that a spreadsheet can sum. Nothing is left behind when it fails or is
// cancelled. Returns false when cancelled; error 75 when the file cannot be written.
bool ExportCsv(const FlexGrid& grid, const QString& fileName, bool allRows, const ExportProgress& progress,
               const QString& source);

// The next row after `from` (in the order rows are shown; hidden rows of collapsed nodes
// included, found where they would be shown) whose shown text in a visible column contains
// `text`; wraps round; -1 when no row has it.
int FindText(const FlexGrid& grid, const QString& text, int from, bool caseSensitive, bool wholeText, bool backward);

}  // namespace BrevView::grid
