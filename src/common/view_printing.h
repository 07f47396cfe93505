#pragma once
// Printing a view's grid in a plain black-on-white look and returning to the screen
// look, by way of a snapshot of the grid in a file.

#include <QString>

class QPrinter;

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

// What PrintView prints (the same look, the same rows, every page), into `printer`, with
// `heading` and today's date above each page and "Page n of m" below it. The grid's look
// comes back from a snapshot of its own, so PrintView's snapshot file is left alone.
void PrintInto(grid::FlexGrid& grid, QPrinter& printer, const QString& heading);

}  // namespace BrevView::detail
