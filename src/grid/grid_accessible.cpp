#include "grid/grid_accessible.h"

#include <algorithm>

#include <QAccessible>
#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>

#include "grid/flex_grid.h"

namespace BrevView::grid {
namespace {

std::function<void(QAccessibleEvent*)>& Observer()
{
    static std::function<void(QAccessibleEvent*)> observer;
    return observer;
}

void Send(QAccessibleEvent* event)
{
    if (Observer())
        Observer()(event);
    QAccessible::updateAccessibility(event);
}

class GridAccessible;

// The interfaces live in Qt's accessibility cache, which deletes the last of them when the
// application object goes, after static objects may have gone: the index of them is never
// destroyed.
QHash<const FlexGrid*, GridAccessible*>& Tables()
{
    static auto* tables = new QHash<const FlexGrid*, GridAccessible*>;
    return *tables;
}

const QString kExpand = QStringLiteral("Expand");
const QString kCollapse = QStringLiteral("Collapse");

// One cell (or header cell) of the table, addressed by its grid row and column.
class CellAccessible : public QAccessibleInterface,
                       public QAccessibleTableCellInterface,
                       public QAccessibleActionInterface {
public:
    CellAccessible(FlexGrid* grid, int row, int col) : grid_(grid), row_(row), col_(col) {}

    bool isValid() const override { return grid_ && row_ < grid_->Rows() && col_ < grid_->Cols(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return grid_ ? grid_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(grid_.data()); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }

    QString text(QAccessible::Text t) const override
    {
        if (!isValid())
            return QString();
        switch (t) {
        case QAccessible::Name:
        case QAccessible::Value: {
            QString s = grid_->DisplayText(row_, IsHeader() ? col_ : grid_->TextColOf(row_, col_));
            s.replace(QLatin1Char('\r'), QLatin1Char(' '));
            return s;
        }
        case QAccessible::Description:
            return IsHeader() ? QString() : grid_->TextMatrix(0, col_);
        default:
            return QString();
        }
    }
    void setText(QAccessible::Text, const QString&) override {}

    QRect rect() const override
    {
        if (!isValid())
            return QRect();
        const QRect r = grid_->CellRect(row_, col_);
        return r.isEmpty() ? QRect() : QRect(grid_->viewport()->mapToGlobal(r.topLeft()), r.size());
    }

    QAccessible::Role role() const override
    {
        if (IsHeader())
            return QAccessible::ColumnHeader;
        return IsOutline() ? QAccessible::TreeItem : QAccessible::Cell;
    }

    QAccessible::State state() const override
    {
        QAccessible::State s;
        if (!isValid()) {
            s.invalid = true;
            return s;
        }
        if (IsHeader())
            return s;
        s.selectable = true;
        s.focusable = true;
        s.selected = grid_->RowIsSelected(row_);
        s.focused = grid_->hasFocus() && grid_->Row() == row_ && grid_->Col() == col_;
        s.invisible = !grid_->RowIsVisible(row_);
        s.offscreen = grid_->CellRect(row_, col_).isEmpty();
        if (IsOutline() && grid_->IsSubtotal(row_)) {
            s.expandable = true;
            const bool collapsed = !grid_->NodeExpanded(row_);
            s.expanded = !collapsed;
            s.collapsed = collapsed;
        }
        return s;
    }

    void* interface_cast(QAccessible::InterfaceType t) override
    {
        if (t == QAccessible::TableCellInterface)
            return static_cast<QAccessibleTableCellInterface*>(this);
        if (t == QAccessible::ActionInterface)
            return static_cast<QAccessibleActionInterface*>(this);
        return nullptr;
    }

    // QAccessibleTableCellInterface
    bool isSelected() const override { return isValid() && !IsHeader() && grid_->RowIsSelected(row_); }
    QList<QAccessibleInterface*> columnHeaderCells() const override;
    QList<QAccessibleInterface*> rowHeaderCells() const override { return {}; }
    int columnIndex() const override;
    int rowIndex() const override;
    int columnExtent() const override { return 1; }
    int rowExtent() const override { return 1; }
    QAccessibleInterface* table() const override { return parent(); }

    // QAccessibleActionInterface
    QStringList actionNames() const override
    {
        QStringList names;
        if (!isValid() || IsHeader())
            return names;
        names << setFocusAction();
        if (IsOutline() && grid_->IsSubtotal(row_))
            names << toggleAction() << (grid_->NodeExpanded(row_) ? kCollapse : kExpand);
        return names;
    }
    void doAction(const QString& name) override
    {
        if (!isValid() || IsHeader())
            return;
        if (name == setFocusAction()) {
            grid_->setFocus(Qt::OtherFocusReason);
            grid_->setRow(row_);
            grid_->setCol(col_);
            return;
        }
        if (!IsOutline() || !grid_->IsSubtotal(row_))
            return;
        if (name == toggleAction())
            grid_->setNodeExpanded(row_, !grid_->NodeExpanded(row_));
        else if (name == kExpand)
            grid_->setNodeExpanded(row_, true);
        else if (name == kCollapse)
            grid_->setNodeExpanded(row_, false);
    }
    QStringList keyBindingsForAction(const QString& name) const override
    {
        if (name == toggleAction())
            return {QStringLiteral("Space")};
        if (name == kExpand)
            return {QStringLiteral("Right")};
        if (name == kCollapse)
            return {QStringLiteral("Left")};
        return {};
    }

    int GridRow() const { return row_; }
    int GridCol() const { return col_; }

private:
    bool IsHeader() const { return row_ < grid_->FixedRows(); }
    bool IsOutline() const { return grid_->OutlineBar() != FlexGrid::flexOutlineBarNone; }

    QPointer<FlexGrid> grid_;
    int row_;
    int col_;
};

// The grid as a table, or a tree when it has an outline. Row 0 of the children is the
// header row; the rows after it are the rows on show, in order.
class GridAccessible : public QAccessibleWidget, public QAccessibleTableInterface {
public:
    explicit GridAccessible(FlexGrid* grid)
        : QAccessibleWidget(grid, grid->OutlineBar() != FlexGrid::flexOutlineBarNone ? QAccessible::Tree
                                                                                     : QAccessible::Table),
          grid_(grid)
    {
        Tables().insert(grid, this);
    }
    ~GridAccessible() override
    {
        Tables().remove(grid_);
        ClearCells();
    }

    FlexGrid* Grid() const { return grid_; }

    QAccessible::Role role() const override
    {
        return grid_->OutlineBar() != FlexGrid::flexOutlineBarNone ? QAccessible::Tree : QAccessible::Table;
    }

    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name) {
            const QString name = QAccessibleWidget::text(t);
            return name.isEmpty() ? QStringLiteral("IBO list") : name;
        }
        return QAccessibleWidget::text(t);
    }

    void* interface_cast(QAccessible::InterfaceType t) override
    {
        if (t == QAccessible::TableInterface)
            return static_cast<QAccessibleTableInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }

    // Children: the cells, row by row (header first); the scroll bars are not the table's.
    int childCount() const override { return (rowCount() + HeaderRows()) * columnCount(); }
    QAccessibleInterface* child(int index) const override
    {
        const int cols = columnCount();
        if (index < 0 || cols == 0 || index >= childCount())
            return nullptr;
        const int r = index / cols - HeaderRows();
        const int c = index % cols;
        if (r < 0)
            return Cell(0, ShownCols()[size_t(c)]);
        return cellAt(r, c);
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        QAccessibleTableCellInterface* cell =
            child ? const_cast<QAccessibleInterface*>(child)->tableCellInterface() : nullptr;
        if (!cell)
            return -1;
        const auto* ours = dynamic_cast<const CellAccessible*>(cell);
        if (!ours)
            return -1;
        const int col = cell->columnIndex();
        if (col < 0)
            return -1;
        if (ours->GridRow() < grid_->FixedRows())
            return col;
        const int row = cell->rowIndex();
        return row < 0 ? -1 : (row + HeaderRows()) * columnCount() + col;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        const QPoint p = grid_->viewport()->mapFromGlobal(QPoint(x, y));
        const std::vector<int> cols = ShownCols();
        for (int c : cols) {
            for (int r = 0; r < grid_->FixedRows(); ++r) {
                if (grid_->CellRect(r, c).contains(p))
                    return Cell(r, c);
            }
        }
        const std::vector<int>& rows = grid_->VisibleRows();
        const int top = std::max(0, grid_->VisibleIndexOf(grid_->TopRow()));
        for (auto it = rows.begin() + std::min<qsizetype>(top, qsizetype(rows.size())); it != rows.end(); ++it) {
            bool onScreen = false;
            for (int c : cols) {
                const QRect rect = grid_->CellRect(*it, c);
                if (!rect.isEmpty())
                    onScreen = true;
                if (rect.contains(p))
                    return Cell(*it, c);
            }
            if (!onScreen)
                break;
        }
        return nullptr;
    }

    // QAccessibleTableInterface
    QAccessibleInterface* caption() const override { return nullptr; }
    QAccessibleInterface* summary() const override { return nullptr; }
    QAccessibleInterface* cellAt(int row, int column) const override
    {
        const std::vector<int>& rows = grid_->VisibleRows();
        const std::vector<int> cols = ShownCols();
        if (row < 0 || column < 0 || size_t(row) >= rows.size() || size_t(column) >= cols.size())
            return nullptr;
        return Cell(rows[size_t(row)], cols[size_t(column)]);
    }
    int selectedCellCount() const override { return selectedRowCount() * columnCount(); }
    QList<QAccessibleInterface*> selectedCells() const override
    {
        QList<QAccessibleInterface*> cells;
        for (int r : selectedRows()) {
            for (int c = 0; c < columnCount(); ++c)
                cells.append(cellAt(r, c));
        }
        return cells;
    }
    QString columnDescription(int column) const override
    {
        const std::vector<int> cols = ShownCols();
        if (column < 0 || size_t(column) >= cols.size() || grid_->FixedRows() == 0)
            return QString();
        QString s = grid_->TextMatrix(0, cols[size_t(column)]);
        s.replace(QLatin1Char('\r'), QLatin1Char(' '));
        return s;
    }
    QString rowDescription(int) const override { return QString(); }
    int selectedColumnCount() const override { return 0; }
    int selectedRowCount() const override { return int(selectedRows().size()); }
    int columnCount() const override { return int(ShownCols().size()); }
    int rowCount() const override { return int(grid_->VisibleRows().size()); }
    QList<int> selectedColumns() const override { return {}; }
    QList<int> selectedRows() const override
    {
        QList<int> rows;
        for (int i = 0; i < grid_->SelectedRows(); ++i) {
            const int index = grid_->VisibleIndexOf(grid_->SelectedRow(i));
            if (index >= 0)
                rows.append(index);
        }
        std::sort(rows.begin(), rows.end());
        return rows;
    }
    bool isColumnSelected(int) const override { return false; }
    bool isRowSelected(int row) const override
    {
        const std::vector<int>& shown = grid_->VisibleRows();
        return row >= 0 && size_t(row) < shown.size() && grid_->RowIsSelected(shown[size_t(row)]);
    }
    bool selectRow(int row) override
    {
        const std::vector<int>& shown = grid_->VisibleRows();
        if (row < 0 || size_t(row) >= shown.size())
            return false;
        grid_->setRow(shown[size_t(row)]);
        return true;
    }
    bool selectColumn(int) override { return false; }
    bool unselectRow(int) override { return false; }
    bool unselectColumn(int) override { return false; }
    void modelChange(QAccessibleTableModelChangeEvent*) override { ClearCells(); }

    // The accessible row of a grid row (-1: not on show), and of a grid column.
    int RowIndexOf(int gridRow) const { return grid_->VisibleIndexOf(gridRow); }
    int ColumnIndexOf(int gridCol) const
    {
        const std::vector<int> cols = ShownCols();
        auto it = std::find(cols.begin(), cols.end(), gridCol);
        return it == cols.end() ? -1 : int(it - cols.begin());
    }
    int HeaderRows() const { return grid_->FixedRows() > 0 ? 1 : 0; }

    QAccessibleInterface* Cell(int gridRow, int gridCol) const
    {
        const quint64 key = (quint64(quint32(gridRow)) << 32) | quint32(gridCol);
        auto it = cells_.constFind(key);
        if (it != cells_.constEnd()) {
            if (QAccessibleInterface* iface = QAccessible::accessibleInterface(it.value()))
                return iface;
        }
        auto* cell = new CellAccessible(grid_, gridRow, gridCol);
        cells_.insert(key, QAccessible::registerAccessibleInterface(cell));
        return cell;
    }

    // Rows or nodes changed while redraw was off: one reset when it comes back on.
    bool pendingReset = false;
    bool pendingFocus = false;

    void ClearCells()
    {
        for (QAccessible::Id id : std::as_const(cells_))
            QAccessible::deleteAccessibleInterface(id);
        cells_.clear();
    }

private:
    std::vector<int> ShownCols() const { return grid_->ShownCols(); }

    FlexGrid* grid_;
    mutable QHash<quint64, QAccessible::Id> cells_;
};

QList<QAccessibleInterface*> CellAccessible::columnHeaderCells() const
{
    if (!isValid() || IsHeader() || grid_->FixedRows() == 0)
        return {};
    if (GridAccessible* table = Tables().value(grid_))
        return {table->Cell(0, col_)};
    return {};
}

int CellAccessible::columnIndex() const
{
    GridAccessible* table = isValid() ? Tables().value(grid_) : nullptr;
    return table ? table->ColumnIndexOf(col_) : -1;
}

int CellAccessible::rowIndex() const
{
    GridAccessible* table = isValid() ? Tables().value(grid_) : nullptr;
    if (!table || IsHeader())
        return -1;
    return table->RowIndexOf(row_);
}

QAccessibleInterface* GridFactory(const QString& className, QObject* object)
{
    if (className == QLatin1String("BrevView::grid::FlexGrid")) {
        if (auto* grid = qobject_cast<FlexGrid*>(object))
            return new GridAccessible(grid);
    }
    return nullptr;
}

// The current cell as a child of the grid's interface, or -1.
int CurrentChild(FlexGrid& grid, GridAccessible*& table)
{
    table = Tables().value(&grid);
    if (!table) {
        table = dynamic_cast<GridAccessible*>(QAccessible::queryAccessibleInterface(&grid));
        if (!table)
            return -1;
    }
    const int row = table->RowIndexOf(grid.Row());
    // A current column that never shows is announced as the row's first cell with a text.
    const int col = table->ColumnIndexOf(grid.ColShown(grid.Col()) ? grid.Col() : grid.ReadableCol(grid.Row()));
    if (row < 0 || col < 0)
        return -1;
    return (row + table->HeaderRows()) * table->columnCount() + col;
}

}  // namespace

void SetAccessibleEventObserver(std::function<void(QAccessibleEvent*)> observer)
{
    Observer() = std::move(observer);
}

void InstallGridAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(GridFactory);
        return true;
    }();
    (void)installed;
}

// Events are made only for a grid somebody has asked about (its interface exists) or while
// assistive technology is on: a grid nobody reads pays nothing.
bool Listened(const FlexGrid& grid)
{
    return Tables().contains(&grid) || QAccessible::isActive();
}

// A state change names a row, which takes the rows on show: while redraw is off (a refresh,
// ExpandAllNodes) that would be one layout per node, so the notice waits for redraw.
bool Deferred(FlexGrid& grid, GridAccessible* table)
{
    if (grid.Redraw() != 0)
        return false;
    table->pendingReset = true;
    table->ClearCells();
    return true;
}

void NotifyAccessibleReset(FlexGrid& grid)
{
    GridAccessible* table = Tables().value(&grid);
    if (!table)
        return;
    table->pendingReset = false;
    table->ClearCells();
    QAccessibleTableModelChangeEvent event(&grid, QAccessibleTableModelChangeEvent::ModelReset);
    Send(&event);
}

void NotifyAccessibleRedrawOn(FlexGrid& grid)
{
    GridAccessible* table = Tables().value(&grid);
    if (!table)
        return;
    if (table->pendingReset)
        NotifyAccessibleReset(grid);
    if (table->pendingFocus) {
        table->pendingFocus = false;
        NotifyAccessibleFocus(grid);
    }
}

void NotifyAccessibleFocus(FlexGrid& grid)
{
    if (!Listened(grid) || !grid.hasFocus())
        return;
    // While redraw is off the rows on show are about to change, and the cells with them: a
    // cell named now would be gone before anybody asked about it. The focus is told after.
    if (GridAccessible* pending = Tables().value(&grid); pending && (grid.Redraw() == 0 || pending->pendingReset)) {
        pending->pendingFocus = true;
        return;
    }
    GridAccessible* table = nullptr;
    const int child = CurrentChild(grid, table);
    if (child < 0)
        return;
    QAccessibleEvent event(&grid, QAccessible::Focus);
    event.setChild(child);
    Send(&event);
}

void NotifyAccessibleSelection(FlexGrid& grid)
{
    if (!Listened(grid))
        return;
    GridAccessible* table = nullptr;
    const int child = CurrentChild(grid, table);
    QAccessibleEvent event(&grid, QAccessible::SelectionWithin);
    if (child >= 0)
        event.setChild(child);
    Send(&event);
}

void NotifyAccessibleToggle(FlexGrid& grid, int row)
{
    if (!Listened(grid))
        return;
    GridAccessible* table = Tables().value(&grid);
    if (!table)
        table = dynamic_cast<GridAccessible*>(QAccessible::queryAccessibleInterface(&grid));
    if (!table || Deferred(grid, table))
        return;
    // The rows on show changed, the grid's rows did not: the cells made before (one per grid
    // row and column) stay, and what a reader was told about them stays true.
    QAccessibleTableModelChangeEvent rows(&grid, QAccessibleTableModelChangeEvent::ModelReset);
    Send(&rows);
    // The node's caption cell: the outline column, or the first shown cell its caption runs
    // on over when the outline column never shows.
    int captionCol = grid.OutlineCol();
    for (int c : grid.ShownCols()) {
        if (c == captionCol || (c > captionCol && grid.TextColOf(row, c) == captionCol)) {
            captionCol = c;
            break;
        }
    }
    const int col = table->ColumnIndexOf(captionCol);
    const int r = table->RowIndexOf(row);
    if (r < 0 || col < 0)
        return;
    QAccessible::State changed;
    changed.expanded = true;
    changed.collapsed = true;
    QAccessibleStateChangeEvent event(table->cellAt(r, col), changed);
    Send(&event);
}

}  // namespace BrevView::grid
