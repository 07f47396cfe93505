#include "common/control_surface.h"

#include <QClipboard>
#include <QEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QTextDocument>
#include <QWidget>

#include "automation/runtime_error.h"
#include "grid/flex_grid.h"
#include "grid/grid_export.h"
#include "grid/grid_model.h"

namespace BrevView::detail {
namespace {

// The grid's native window comes with the first show of its window, or when the host asks
// for one; both pass through these events.
class NativeWindowWatch : public QObject {
public:
    NativeWindowWatch(QObject* parent, std::function<void()> changed) : QObject(parent), changed_(std::move(changed)) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::WinIdChange:
        case QEvent::Show:
        case QEvent::ParentChange:
        case QEvent::PlatformSurface:
            changed_();
            break;
        default:
            break;
        }
        return false;
    }

private:
    std::function<void()> changed_;
};

}  // namespace

int ColumnWidthTwips(const grid::FlexGrid& grid, int column, const QString& source)
{
    if (column < 0 || column >= grid.Cols())
        automation::Raise(automation::ErrSubscriptOutOfRange, source,
                          QStringLiteral("There is no column %1").arg(column));
    return grid.ColWidth(column);
}

void SetColumnWidthTwips(grid::FlexGrid& grid, int column, int twips, const QString& source, int fixedColumn)
{
    if (column < 0 || column >= grid.Cols())
        automation::Raise(automation::ErrSubscriptOutOfRange, source,
                          QStringLiteral("There is no column %1").arg(column));
    if (twips < 0)
        automation::Raise(automation::ErrInvalidProcedureCall, source,
                          QStringLiteral("A column width cannot be negative (%1)").arg(twips));
    if (column == fixedColumn)
        automation::Raise(automation::ErrInvalidProcedureCall, source,
                          QStringLiteral("The width of column %1 is fixed").arg(column));
    grid.setColWidth(column, twips);
}

void CopySelection(const grid::FlexGrid& grid)
{
    QGuiApplication::clipboard()->setMimeData(grid::SelectedRowsAsMime(grid));
}

bool ExportCsv(const grid::FlexGrid& grid, const QString& fileName, bool allRows,
               const std::function<bool(qint64, qint64)>& progress, const QString& source)
{
    return grid::ExportCsv(grid, fileName, allRows, progress, source);
}

bool FindNext(grid::FlexGrid& grid, const QString& text, int findFlags)
{
    const int row = grid::FindText(grid, text, grid.Row(), (findFlags & QTextDocument::FindCaseSensitively) != 0,
                                   (findFlags & QTextDocument::FindWholeWords) != 0,
                                   (findFlags & QTextDocument::FindBackward) != 0);
    if (row < 0)
        return false;
    grid.setRedraw(0);
    for (int p = grid.GetNodeRow(row, grid::FlexGrid::flexNTParent); p != -1;
         p = grid.GetNodeRow(p, grid::FlexGrid::flexNTParent)) {
        if (!grid.NodeExpanded(p))
            grid.setIsCollapsed(p, grid::FlexGrid::flexOutlineExpanded);
    }
    grid.setRedraw(1);
    grid.setRow(row);
    grid.ShowCell(row, 0);
    return true;
}

QAbstractItemModel* ModelOf(grid::FlexGrid* grid, QObject* owner, grid::GridModel*& made)
{
    if (!made)
        made = new grid::GridModel(grid, owner);
    return made;
}

QObject* WatchNativeWindow(QWidget* control, grid::FlexGrid* grid, std::function<void()> changed)
{
    auto* watch = new NativeWindowWatch(control, std::move(changed));
    grid->installEventFilter(watch);
    control->installEventFilter(watch);
    return watch;
}

}  // namespace BrevView::detail
