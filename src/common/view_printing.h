#pragma once
// Printing a view's grid in a plain black-on-white look and returning to the screen
// look, by way of a snapshot of the grid in a file.

#include <QString>

namespace BrevView::grid {
class FlexGrid;
}

namespace BrevView::detail {

struct PrintTraits {
    const char* printTraceName;  // "BrevView.FlatView::PrintView", ...
    const char* setupTraceName;  // "BrevView.FlatView::SetupViewForPrint"; RestoreViewAfterPrint reports under it too
    const char* docName;         // "User:Narg" or ""
    bool showDialog;             // the forecast view asks through the print dialog
    bool helvetica;              // the priority view prints in Helvetica
};

// "tempgrid.fg" in the temporary folder: PrintView's snapshot, left in place.
QString PrintSnapshotPath();
// The installation folder (from "BrevConf.Config") followed directly by "view.tmp".
QString SetupSnapshotPath();

void PrintView(grid::FlexGrid& grid, const PrintTraits& traits);
void SetupViewForPrint(grid::FlexGrid& grid, const PrintTraits& traits);
void RestoreViewAfterPrint(grid::FlexGrid& grid, const PrintTraits& traits);

}  // namespace BrevView::detail
