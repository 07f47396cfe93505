#include "common/grid_events.h"

#include <QWidget>

#include "automation/conversions.h"
#include "common/call_boundary.h"
#include "common/traced.h"
#include "grid/flex_grid.h"

namespace BrevView::detail {

qint32 IboIdOfRow(const grid::FlexGrid& grid, int row)
{
    const QString text = automation::ToText(grid.RowDataValue(row));
    if (!automation::IsNumericText(text))
        return 0;
    const qint32 id = automation::ToLong(automation::Variant(text));
    return id > 0 ? id : 0;
}

QVariant GetSelection(grid::FlexGrid& grid, const QString& traceName, SelectionRule rule)
{
    return Traced(traceName, [&]() -> QVariant {
        if (grid.SelectedRows() == 0)
            return QVariant();
        QList<qint32> ids;
        for (int i = 0; i < grid.SelectedRows(); ++i) {
            const int r = grid.SelectedRow(i);
            const automation::Variant data = grid.RowDataValue(r);
            qint32 id = -1;
            if (rule == SelectionRule::ConvertDirectly) {
                id = automation::ToLong(data);
            } else {
                const QString text = automation::ToText(data);
                if (!automation::IsNumericText(text))
                    continue;
                id = automation::ToLong(automation::Variant(text));
            }
            if (id >= 0)
                ids.append(id);
        }
        if (ids.isEmpty())
            return QVariant();
        return QVariant::fromValue(ids);
    });
}

void GotoIBO(grid::FlexGrid& grid, qint32 iboId, RevealRule rule)
{
    int r = -1;
    IgnoringErrors([&] { r = grid.FindRowValue(automation::Variant(iboId), -1, -1, false, true); });
    if (r < 1)
        return;
    IgnoringErrors([&] { grid.setRedraw(0); });
    if (rule == RevealRule::ExpandRow) {
        IgnoringErrors([&] { grid.setIsCollapsed(r, grid::FlexGrid::flexOutlineExpanded); });
    } else if (rule == RevealRule::ExpandAncestors) {
        IgnoringErrors([&] {
            for (int p = grid.GetNodeRow(r, grid::FlexGrid::flexNTParent); p != -1;
                 p = grid.GetNodeRow(p, grid::FlexGrid::flexNTParent))
                grid.setIsCollapsed(p, grid::FlexGrid::flexOutlineExpanded);
        });
    }
    IgnoringErrors([&] { grid.setRedraw(1); });
    IgnoringErrors([&] { grid.setRow(r); });
    IgnoringErrors([&] { grid.ShowCell(r, 0); });
    IgnoringErrors([&] { grid.Refresh(); });
}

namespace {

// A node row opens or closes (outline views); an IBO row gives its id for IboEdit.
qint32 ToggleOrOpen(grid::FlexGrid& grid, int row, bool outline)
{
    if (outline && grid.IsSubtotal(row)) {
        grid.setIsCollapsed(row, grid.IsCollapsed(row) != 0 ? grid::FlexGrid::flexOutlineExpanded
                                                            : grid::FlexGrid::flexOutlineCollapsed);
        return 0;
    }
    return IboIdOfRow(grid, row);
}

}  // namespace

qint32 HandleDblClick(grid::FlexGrid& grid, const QString& traceName, bool outline)
{
    return Traced(traceName, [&]() -> qint32 {
        if (grid.MouseRow() < 1)
            return 0;
        if (!outline && grid.Row() <= 0)
            return 0;
        if (grid.Row() != grid.MouseRow())
            return 0;
        return ToggleOrOpen(grid, grid.Row(), outline);
    });
}

qint32 HandleRightClick(grid::FlexGrid& grid, const QString& traceName, int button)
{
    return Traced(traceName, [&]() -> qint32 {
        if (button != 2)
            return 0;
        const int r = grid.MouseRow();
        if (r < 1)
            return 0;  // the header or empty space
        grid.setRow(r);
        if (grid.IsSubtotal(r))
            return 0;
        return IboIdOfRow(grid, r);
    });
}

qint32 HandleActivation(grid::FlexGrid& grid, const QString& traceName, bool outline, int row)
{
    return Traced(traceName, [&]() -> qint32 {
        if (row < 1 || row != grid.Row())
            return 0;
        return ToggleOrOpen(grid, row, outline);
    });
}

qint32 HandleContextMenuKey(grid::FlexGrid& grid, const QString& traceName, int row)
{
    return Traced(traceName, [&]() -> qint32 {
        if (row < 1 || grid.IsSubtotal(row))
            return 0;
        return IboIdOfRow(grid, row);
    });
}

bool ShowHeaderTooltip(grid::FlexGrid& grid, const QStringList& columnTooltips)
{
    const int r = grid.MouseRow();
    const int c = grid.MouseCol();
    if (r == 0 && c >= 0) {
        grid.setToolTipText(c < columnTooltips.size() ? columnTooltips[c] : QString());
        return true;
    }
    return false;
}

void WireGridEvents(QWidget* control, grid::FlexGrid* grid, CallBoundary* boundary, GridEventWiring wiring)
{
    auto w = std::make_shared<GridEventWiring>(std::move(wiring));
    QObject::connect(grid, &grid::FlexGrid::DblClick, control, [control, grid, boundary, w] {
        boundary->AtEvent([&] {
            const qint32 id = HandleDblClick(*grid, w->dblClickTraceName, w->outline);
            if (id > 0)
                QMetaObject::invokeMethod(control, "IboEdit", Q_ARG(qint32, id));
        });
    });
    QObject::connect(grid, &grid::FlexGrid::MouseUp, control,
                     [control, grid, boundary, w](int button, int, float, float) {
                         boundary->AtEvent([&] {
                             const qint32 id = HandleRightClick(*grid, w->dblClickTraceName, button);
                             if (id > 0)
                                 QMetaObject::invokeMethod(control, "RightClick", Q_ARG(qint32, id));
                         });
                     });
    // The keyboard does what the mouse does: Enter opens as a double-click, the Menu key
    // and Shift+F10 raise RightClick as a right-click does (on the current row).
    QObject::connect(grid, &grid::FlexGrid::RowActivated, control, [control, grid, boundary, w](int row) {
        boundary->AtEvent([&] {
            const qint32 id = HandleActivation(*grid, w->dblClickTraceName, w->outline, row);
            if (id > 0)
                QMetaObject::invokeMethod(control, "IboEdit", Q_ARG(qint32, id));
        });
    });
    QObject::connect(grid, &grid::FlexGrid::ContextMenuKey, control, [control, grid, boundary, w](int row) {
        boundary->AtEvent([&] {
            const qint32 id = HandleContextMenuKey(*grid, w->dblClickTraceName, row);
            if (id > 0)
                QMetaObject::invokeMethod(control, "RightClick", Q_ARG(qint32, id));
        });
    });
    QObject::connect(grid, &grid::FlexGrid::SelectionChanged, control,
                     [control] { QMetaObject::invokeMethod(control, "SelectionChanged"); });
    QObject::connect(grid, &grid::FlexGrid::MouseMove, control, [grid, w](int, int, float, float) {
        IgnoringErrors([&] {
            if (ShowHeaderTooltip(*grid, w->headerTooltips))
                return;
            if (w->cellTooltip && w->cellTooltip())
                return;
            grid->setToolTipText(QString());
        });
    });
    if (w->afterCollapse) {
        QObject::connect(grid, &grid::FlexGrid::AfterCollapse, control, [boundary, w](int row, int state) {
            boundary->AtEvent([&] { w->afterCollapse(row, state); });
        });
    }
}

}  // namespace BrevView::detail
