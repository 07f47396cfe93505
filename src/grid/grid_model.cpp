#include "grid/grid_model.h"

#include "grid/flex_grid.h"

namespace BrevView::grid {

GridModel::GridModel(FlexGrid* grid, QObject* parent) : QAbstractItemModel(parent), grid_(grid)
{
    connect(grid, &FlexGrid::StructureAboutToChange, this, &GridModel::StructureAboutToChange);
    connect(grid, &FlexGrid::StructureChanged, this, &GridModel::StructureChanged);
    connect(grid, &FlexGrid::ContentChanged, this, &GridModel::ContentChanged);
    connect(grid, &FlexGrid::ColumnsChanged, this, &GridModel::ColumnsChanged);
    connect(grid, &FlexGrid::SortChanged, this, &GridModel::SortChanged);
    connect(grid, &QObject::destroyed, this, [this] {
        beginResetModel();
        parent_.clear();
        position_.clear();
        children_.clear();
        childStart_.clear();
        nodeNumber_.clear();
        cols_.clear();
        dirty_ = false;
        endResetModel();
    });
}

void GridModel::ColumnsChanged()
{
    if (resetting_ || !grid_)
        return;
    EnsureTree();
    if (grid_->ShownCols() == cols_)
        return;
    beginResetModel();
    dirty_ = true;
    endResetModel();
}

void GridModel::SortChanged()
{
    if (resetting_ || !grid_)
        return;
    // The rows keep their places in the tree (their parents), only their order among their
    // siblings changes: persistent indexes follow their grid rows.
    EnsureTree();
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::vector<std::pair<int, int>> rows;  // grid row and column of each
    rows.reserve(size_t(before.size()));
    for (const QModelIndex& index : before)
        rows.emplace_back(GridRow(index), index.column());
    dirty_ = true;
    EnsureTree();
    QModelIndexList after;
    after.reserve(before.size());
    for (const auto& [row, column] : rows)
        after.append(row < 0 ? QModelIndex() : IndexOfGridRow(row, column));
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void GridModel::StructureAboutToChange()
{
    if (resetting_)
        return;
    beginResetModel();
    resetting_ = true;
    dirty_ = true;
}

void GridModel::StructureChanged()
{
    if (!resetting_)
        beginResetModel();
    dirty_ = true;
    resetting_ = false;
    endResetModel();
}

void GridModel::ContentChanged()
{
    if (resetting_ || !grid_)
        return;
    const int cols = columnCount();
    if (cols == 0)
        return;
    // One notice per list of siblings: the top level and each node's rows.
    EnsureTree();
    auto notify = [&](int node, const QModelIndex& parentIndex) {
        int count = 0;
        Children(node, &count);
        if (count > 0)
            emit dataChanged(index(0, 0, parentIndex), index(count - 1, cols - 1, parentIndex));
    };
    notify(-1, QModelIndex());
    for (auto it = nodeNumber_.constBegin(); it != nodeNumber_.constEnd(); ++it)
        notify(it.key(), IndexOfGridRow(it.key()));
    emit headerDataChanged(Qt::Horizontal, 0, cols - 1);
}

void GridModel::EnsureTree() const
{
    if (!dirty_)
        return;
    dirty_ = false;
    parent_.clear();
    position_.clear();
    children_.clear();
    childStart_.clear();
    nodeNumber_.clear();
    cols_.clear();
    if (!grid_)
        return;
    cols_ = grid_->ShownCols();
    const GridStore& store = grid_->store();
    const int rows = grid_->Rows();
    const int fixed = std::min(grid_->FixedRows(), rows);
    parent_.assign(size_t(rows), -1);
    position_.assign(size_t(rows), 0);
    std::vector<int> counts{0};  // children per parent: the top level, then each node
    std::vector<int> open;       // the nodes a new row may belong to, innermost last
    // In the order the grid shows the rows: a sort reorders the rows among their siblings
    // and leaves the nodes where they are.
    const std::vector<int>& order = grid_->DisplayOrder();
    for (int r : order) {
        const RowInfo& info = store.Row(r);
        if (info.subtotal) {
            // A node's parent is the nearest node above it with a lower level.
            while (!open.empty() && store.Row(open.back()).outlineLevel >= info.outlineLevel)
                open.pop_back();
        }
        // A plain row belongs to the nearest node above it.
        const int p = open.empty() ? -1 : open.back();
        parent_[size_t(r)] = p;
        const size_t k = p < 0 ? 0 : size_t(nodeNumber_.value(p)) + 1;
        position_[size_t(r)] = counts[k]++;
        if (info.subtotal) {
            nodeNumber_.insert(r, int(counts.size()) - 1);
            counts.push_back(0);
            open.push_back(r);
        }
    }
    childStart_.assign(counts.size() + 1, 0);
    for (size_t k = 0; k < counts.size(); ++k)
        childStart_[k + 1] = childStart_[k] + counts[k];
    children_.assign(size_t(rows - fixed), 0);
    for (int r : order) {
        const int p = parent_[size_t(r)];
        const size_t k = p < 0 ? 0 : size_t(nodeNumber_.value(p)) + 1;
        children_[size_t(childStart_[k]) + size_t(position_[size_t(r)])] = r;
    }
}

const int* GridModel::Children(int node, int* count) const
{
    EnsureTree();
    *count = 0;
    if (childStart_.empty())
        return nullptr;
    size_t k = 0;
    if (node >= 0) {
        auto it = nodeNumber_.constFind(node);
        if (it == nodeNumber_.constEnd())
            return nullptr;
        k = size_t(it.value()) + 1;
    }
    *count = childStart_[k + 1] - childStart_[k];
    return children_.data() + childStart_[k];
}

int GridModel::GridRow(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this)
        return -1;
    int count = 0;
    const int* children = Children(int(index.internalId()) - 1, &count);
    return index.row() < count ? children[index.row()] : -1;
}

QModelIndex GridModel::IndexOfGridRow(int gridRow, int column) const
{
    EnsureTree();
    if (!grid_ || gridRow < grid_->FixedRows() || size_t(gridRow) >= parent_.size() || column < 0 ||
        column >= columnCount())
        return QModelIndex();
    return createIndex(position_[size_t(gridRow)], column, quintptr(qsizetype(parent_[size_t(gridRow)]) + 1));
}

QModelIndex GridModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!grid_ || row < 0 || column < 0 || column >= columnCount() || (parent.isValid() && parent.column() != 0))
        return QModelIndex();
    const int node = parent.isValid() ? GridRow(parent) : -1;
    if (parent.isValid() && node < 0)
        return QModelIndex();
    int count = 0;
    Children(node, &count);
    if (row >= count)
        return QModelIndex();
    return createIndex(row, column, quintptr(qsizetype(node) + 1));
}

QModelIndex GridModel::parent(const QModelIndex& child) const
{
    if (!child.isValid() || child.internalId() == 0)
        return QModelIndex();
    return IndexOfGridRow(int(child.internalId()) - 1, 0);
}

QModelIndex GridModel::sibling(int row, int column, const QModelIndex& index) const
{
    if (!index.isValid() || column < 0 || column >= columnCount() || row < 0)
        return QModelIndex();
    int count = 0;
    Children(int(index.internalId()) - 1, &count);
    return row < count ? createIndex(row, column, index.internalId()) : QModelIndex();
}

int GridModel::rowCount(const QModelIndex& parent) const
{
    if (!grid_ || (parent.isValid() && parent.column() != 0))
        return 0;
    const int node = parent.isValid() ? GridRow(parent) : -1;
    if (parent.isValid() && node < 0)
        return 0;
    int count = 0;
    Children(node, &count);
    return count;
}

int GridModel::columnCount(const QModelIndex&) const
{
    if (!grid_)
        return 0;
    EnsureTree();
    return int(cols_.size());
}

int GridModel::GridColumn(int column) const
{
    EnsureTree();
    return column >= 0 && size_t(column) < cols_.size() ? cols_[size_t(column)] : -1;
}

bool GridModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

QVariant GridModel::data(const QModelIndex& index, int role) const
{
    const int r = GridRow(index);
    const int shown = GridColumn(index.column());
    if (r < 0 || shown < 0)
        return QVariant();
    // A node's caption in a column never shown is the first shown cell's it runs on over.
    const int c = grid_->TextColOf(r, shown);
    const CellStyle& style = grid_->store().Style(r, c);
    switch (role) {
    case Qt::DisplayRole:
        return grid_->DisplayText(r, c);
    case Qt::UserRole:
        return grid_->RowData(r);
    case Qt::ForegroundRole:
        // A colour the view chose, or the one that keeps uncoloured text readable on a
        // background the view chose; otherwise the palette's, left to the host's view.
        if (style.fore >= 0 || style.back >= 0 || grid_->ForeColor() >= 0 || grid_->BackColor() >= 0)
            return grid_->TextColorOf(r, c);
        return QVariant();
    case Qt::BackgroundRole:
        if (style.back >= 0 || grid_->BackColor() >= 0)
            return grid_->BackColorOf(r, c);
        return QVariant();
    case Qt::FontRole: {
        if (style.bold < 0 && style.italic < 0 && style.underline < 0 && style.fontName < 0 && style.fontSize <= 0)
            return QVariant();
        return grid_->CellFont(r, c, grid_->font());
    }
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(grid_->TextAlignmentOf(r, c));
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return grid_->DisplayText(r, c);
    default:
        return QVariant();
    }
}

QVariant GridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (!grid_ || orientation != Qt::Horizontal || section < 0 || section >= columnCount() || grid_->FixedRows() == 0)
        return QAbstractItemModel::headerData(section, orientation, role);
    const int col = GridColumn(section);
    if (role == Qt::DisplayRole) {
        QString text = grid_->TextMatrix(0, col);
        text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        return text;
    }
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(grid_->TextAlignmentOf(0, col));
    if (role == Qt::UserRole)
        return col;
    return QVariant();
}

Qt::ItemFlags GridModel::flags(const QModelIndex& index) const
{
    const int r = GridRow(index);
    if (r < 0)
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (!grid_->store().Row(r).subtotal)
        f |= Qt::ItemNeverHasChildren;
    return f;
}

}  // namespace BrevView::grid
