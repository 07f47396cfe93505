#include "common/expander.h"

#include "automation/conversions.h"
#include "common/traced.h"
#include "grid/flex_grid.h"
#include "host/mouse_pointer.h"

namespace BrevView::detail {

void Expander::Clear()
{
    IgnoringErrors([&] {
        order_.clear();
        set_.clear();
    });
}

void Expander::Expand(qint32 lNodeID)
{
    if (refreshing_)
        return;
    if (!set_.contains(lNodeID)) {
        set_.insert(lNodeID);
        order_.append(lNodeID);
    }
}

void Expander::Collapse(qint32 lNodeID)
{
    if (refreshing_)
        return;
    if (set_.remove(lNodeID))
        order_.removeOne(lNodeID);
}

void Expander::RefreshOutline(grid::FlexGrid& flexGrid)
{
    refreshing_ = true;
    const QList<qint32> keys = order_;
    for (qint32 id : keys) {
        IgnoringErrors([&] {
            const int node = flexGrid.GetNode(QStringLiteral("N") + QString::number(id));
            if (node >= 0)
                flexGrid.setNodeExpanded(node, true);
        });
    }
    refreshing_ = false;
}

void SetAllNodes(grid::FlexGrid& flexGrid, bool expanded)
{
    qint32 saved = 0;
    IgnoringErrors([&] { saved = host::ScreenMousePointer::Get(); });
    IgnoringErrors([&] { host::ScreenMousePointer::Set(host::kPointerArrowHourglass); });
    IgnoringErrors([&] { flexGrid.setRedraw(0); });
    const int state = expanded ? grid::FlexGrid::flexOutlineExpanded : grid::FlexGrid::flexOutlineCollapsed;
    for (int r = 0; r < flexGrid.Rows(); ++r) {
        IgnoringErrors([&] {
            if (flexGrid.IsSubtotal(r))
                flexGrid.setIsCollapsed(r, state);
        });
    }
    IgnoringErrors([&] { flexGrid.setRedraw(1); });
    IgnoringErrors([&] { host::ScreenMousePointer::Set(saved); });
}

void HandleAfterCollapse(grid::FlexGrid& flexGrid, Expander& expander, int row, int state, bool viewRefreshing,
                         bool& handlerBusy, const QString& traceName)
{
    if (viewRefreshing || handlerBusy)
        return;
    handlerBusy = true;
    try {
        Traced(traceName, [&] {
            if (row != -1) {
                const QString key = automation::ToText(flexGrid.RowDataValue(row));
                const qint32 id = automation::ToLong(automation::Variant(key.mid(1)));
                if (state == grid::FlexGrid::flexOutlineExpanded)
                    expander.Expand(id);
                else if (state == grid::FlexGrid::flexOutlineCollapsed)
                    expander.Collapse(id);
            }
        });
    } catch (...) {
        handlerBusy = false;
        throw;
    }
    handlerBusy = false;
}

}  // namespace BrevView::detail
