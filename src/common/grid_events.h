#pragma once
// What the three controls do with their grid's input events and the selection
// members, written once; the controls differ only in the options passed.

#include <functional>

#include <QString>
#include <QStringList>
#include <QVariant>

class QWidget;

namespace BrevView::grid {
class FlexGrid;
}

namespace BrevView::detail {

class CallBoundary;

// How GotoIBO reveals the found row.
enum class RevealRule {
    None,             // flat view
    ExpandRow,        // priority view: the row's own outline state is set to expanded
    ExpandAncestors,  // forecast view: every ancestor node, innermost first
};

// How GetSelection reads a selected row's data.
enum class SelectionRule {
    NumericOnly,      // outline views: node rows ("N3") are skipped
    ConvertDirectly,  // flat view: every row is an IBO row; text that is no number fails
};

// The IBO id of a row: its row data read as text, when numeric and above 0; else 0.
qint32 IboIdOfRow(const grid::FlexGrid& grid, int row);

// Null, or the list of selected IBO ids in selection order. Traced under `traceName`.
QVariant GetSelection(grid::FlexGrid& grid, const QString& traceName, SelectionRule rule);

// Selects and reveals the row whose row data is `iboId`; ignores errors, reports nothing.
void GotoIBO(grid::FlexGrid& grid, qint32 iboId, RevealRule rule);

// The double-click: toggles a node (outline views) or returns the IBO id for IboEdit
// (0: raise nothing). Traced under `traceName`.
qint32 HandleDblClick(grid::FlexGrid& grid, const QString& traceName, bool outline);

// The right-button release: makes the row current and returns the IBO id for
// RightClick (0: raise nothing). Traced under `traceName` (the double-click's name).
qint32 HandleRightClick(grid::FlexGrid& grid, const QString& traceName, int button);

// Enter on `row` (the current row): toggles a node (outline views) or returns the IBO id
// for IboEdit, as a double-click does. Traced under `traceName`.
qint32 HandleActivation(grid::FlexGrid& grid, const QString& traceName, bool outline, int row);

// The Menu key or Shift+F10 on `row`: the IBO id for RightClick (0: a node row raises
// nothing). Traced under `traceName`.
qint32 HandleContextMenuKey(grid::FlexGrid& grid, const QString& traceName, int row);

// Over the header row the column's tooltip text; returns false when the pointer is
// elsewhere (the caller decides, or clears the tooltip).
bool ShowHeaderTooltip(grid::FlexGrid& grid, const QStringList& columnTooltips);

// The grid events every control handles the same way, connected once for a control:
// double-click (IboEdit), right-button release (RightClick), header tooltips, and the
// outline state. A user action's error cannot reach the host through a call: it has been
// reported through the trace by the handler and is then signalled as ErrorRaised. The
// control's signals are raised by name.
struct GridEventWiring {
    QString dblClickTraceName;  // also the right-click's trace name
    bool outline = false;       // double-click toggles nodes
    QStringList headerTooltips;
    std::function<bool()> cellTooltip;  // a tooltip away from the header; false: none
    std::function<void(int row, int state)> afterCollapse;
};
void WireGridEvents(QWidget* control, grid::FlexGrid* grid, CallBoundary* boundary, GridEventWiring wiring);

}  // namespace BrevView::detail
