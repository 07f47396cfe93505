#pragma once
// Remembers which outline nodes of a view the user has opened, by node id, so that a
// refresh (which rebuilds the grid with every node closed) can open them again.

#include <QList>
#include <QSet>
#include <QtGlobal>

namespace BrevView::grid {
class FlexGrid;
}

namespace BrevView::detail {

class Expander {
public:
    void Clear();
    // Opens in the grid every remembered node ("N" + id); ids without a node are skipped
    // and kept. Expand and Collapse change nothing while it runs.
    void RefreshOutline(grid::FlexGrid& flexGrid);
    void Collapse(qint32 lNodeID);
    void Expand(qint32 lNodeID);

    bool Contains(qint32 id) const { return set_.contains(id); }
    QList<qint32> Ids() const { return order_; }
    bool refreshing() const { return refreshing_; }

private:
    QList<qint32> order_;  // in the order the ids were added, as the dictionary returns them
    QSet<qint32> set_;
    bool refreshing_ = false;
};

// Every node row opened (ExpandAllNodes) or closed (CollapseAllNodes), with the busy
// pointer and redraw off; each change raises the grid's AfterCollapse. Errors ignored.
void SetAllNodes(grid::FlexGrid& flexGrid, bool expanded);

// The grid's AfterCollapse for an outline view: the node id (row data without its first
// character) goes to the Expander, unless the view is refreshing or the handler is
// already running. Traced under `traceName`.
void HandleAfterCollapse(grid::FlexGrid& flexGrid, Expander& expander, int row, int state, bool viewRefreshing,
                         bool& handlerBusy, const QString& traceName);

}  // namespace BrevView::detail
