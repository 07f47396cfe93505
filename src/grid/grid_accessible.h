#pragma once
// What assistive technology sees of the outline grid: a table (a tree when the grid has
// an outline bar) whose rows are the rows on show, whose columns are the visible columns
// named by their header captions, with cells that know their selection, focus and, on node
// rows, their expanded or collapsed state and the actions to change it. The grid tells it
// of changes through the functions below, as Qt's own item views do.

#include <functional>

class QAccessibleEvent;

namespace BrevView::grid {

class FlexGrid;

// Sees every event the grids send, just before it goes to the accessibility bridge (for
// tests, where no bridge is there to receive them); an empty function stops it.
void SetAccessibleEventObserver(std::function<void(QAccessibleEvent*)> observer);

// Registers the factory that gives every FlexGrid its accessible interface (once).
void InstallGridAccessibility();

// The rows or their shape changed: cells made before are gone (a model reset).
void NotifyAccessibleReset(FlexGrid& grid);
// The current cell changed, or the grid took the focus.
void NotifyAccessibleFocus(FlexGrid& grid);
// The selected rows changed.
void NotifyAccessibleSelection(FlexGrid& grid);
// A node row was collapsed or expanded.
void NotifyAccessibleToggle(FlexGrid& grid, int row);
// Redraw is on again: what changed meanwhile is told once.
void NotifyAccessibleRedrawOn(FlexGrid& grid);

}  // namespace BrevView::grid
