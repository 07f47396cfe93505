#pragma once
// A read-only item model that mirrors an outline grid live: node rows are the parents of
// the rows under them (a flat grid has only top-level rows), in the order the grid shows
// them (a sort by a header click is a layout change that keeps persistent indexes); its
// columns are the columns the grid shows (hidden ones and placeholders left out; the
// header's Qt::UserRole gives a column's number in the grid); the header row gives the
// header data, and each cell's shown text, row data and style are its roles. It keeps three
// integers per row and no object per cell, and it resets once per burst of changes (a
// refresh), not once per cell.

#include <vector>

#include <QAbstractItemModel>
#include <QHash>
#include <QPointer>

namespace BrevView::grid {

class FlexGrid;

class GridModel : public QAbstractItemModel {
    Q_OBJECT

public:
    explicit GridModel(FlexGrid* grid, QObject* parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QModelIndex sibling(int row, int column, const QModelIndex& index) const override;

    // The grid row an index stands for (-1 for an invalid index), and the index of a grid row.
    int GridRow(const QModelIndex& index) const;
    QModelIndex IndexOfGridRow(int gridRow, int column = 0) const;
    // The grid column a model column stands for (-1 when there is none).
    int GridColumn(int column) const;

private:
    void StructureAboutToChange();
    void StructureChanged();
    void ContentChanged();
    void ColumnsChanged();
    void SortChanged();
    void EnsureTree() const;
    // The children of a node row (-1: the top level), as grid rows.
    const int* Children(int node, int* count) const;

    QPointer<FlexGrid> grid_;
    bool resetting_ = false;
    mutable bool dirty_ = true;
    // Per grid row: its parent node row (-1: top level) and its place among its siblings.
    mutable std::vector<int> parent_;
    mutable std::vector<int> position_;
    // Children of each parent, one after another: those of the top level first, then those
    // of each node row in order of the rows; childStart_[k] opens the list of parent k, where
    // k is 0 for the top level and 1 + the node's number among the node rows.
    mutable std::vector<int> children_;
    mutable std::vector<int> childStart_;
    mutable QHash<int, int> nodeNumber_;  // node row -> its number among the node rows
    mutable std::vector<int> cols_;       // the grid columns shown, in order
};

}  // namespace BrevView::grid
