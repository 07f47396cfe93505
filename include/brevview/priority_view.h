#pragma once
/// \file priority_view.h
/// \brief The PriorityView control.

#include <functional>
#include <memory>
#include <optional>

#include <QTextDocument>
#include <QVariant>
#include <QWidget>

#include "currency.h"
#include "enums.h"
#include "export.h"
#include "runtime_error.h"

class QAbstractItemModel;
class QPrinter;

namespace BrevView {

class PriorityViewPrivate;

/// \brief The open IBOs under an "Overdues" node and five priority nodes, with node counts
/// and value totals and, per IBO, a drawn sales-cycle bar over a date range centred on today.
///
/// The database is opened when the control is made. When it cannot be opened, the control
/// is made all the same (a constructor has no caller that could catch: a .ui form,
/// CreateControl): it shows the error where the grid would be, reports it through
/// ErrorRaised() once the event loop runs and through lastError() at once, and its next
/// Refresh opens the database again. Other errors reach a direct C++ caller as RuntimeError
/// and a call that Qt makes through ErrorRaised(), as FlatView describes in its section on
/// errors. The lowerCamelCase members are additions for Qt hosts.
class BREVVIEW_EXPORT PriorityView : public QWidget {
    Q_OBJECT
    /// The native window handle of the grid (0 before it has one). Notify signal: FlexGridHWndChanged().
    Q_PROPERTY(qint32 FlexGridHWnd READ FlexGridHWnd NOTIFY FlexGridHWndChanged)
    /// How many units of SalesCycleRangeUnits the sales-cycle column spans on each side of today. Notify signal: SalesCycleRangeValueChanged().
    Q_PROPERTY(qint32 SalesCycleRangeValue READ SalesCycleRangeValue WRITE setSalesCycleRangeValue NOTIFY
                   SalesCycleRangeValueChanged)
    /// The unit of the sales-cycle range (SalesCycleUnitsEnum). Notify signal: SalesCycleRangeUnitsChanged().
    Q_PROPERTY(qint32 SalesCycleRangeUnits READ SalesCycleRangeUnits WRITE setSalesCycleRangeUnits NOTIFY
                   SalesCycleRangeUnitsChanged)
    /// The selected IBO ids (see GetSelection()). Notify signal: SelectionChanged().
    Q_PROPERTY(QVariant GetSelection READ GetSelection NOTIFY SelectionChanged)

public:
    /// Makes the control, opens its database and loads its preferences (see the class notes
    /// for a database that cannot be opened).
    explicit PriorityView(QWidget* parent = nullptr);
    /// Saves the preferences and closes the data access.
    ~PriorityView() override;

    /// The grid's native window handle, or 0.
    qint32 FlexGridHWnd() const;
    /// The sales-cycle range value.
    qint32 SalesCycleRangeValue() const;
    /// 0 is stored as 1; any other value as it comes. Recomputes the view dates and the header.
    void setSalesCycleRangeValue(qint32 lRange);
    /// The sales-cycle range units.
    qint32 SalesCycleRangeUnits() const;
    /// Stored without a range test (SalesCycleUnitsEnum); only loading preferences clamps it.
    void setSalesCycleRangeUnits(qint32 eUnits);
    /// Null (an invalid QVariant), or a QList<qint32> of the selected IBO ids; node rows are skipped.
    QVariant GetSelection();

    /// curTotal + dValue while curTotal >= 0, else -1; -1 when the sum overflows.
    Q_INVOKABLE BrevView::Currency AddOutlineTotal(BrevView::Currency curTotal, double dValue);

    /// \name Additions for Qt hosts
    ///@{

    /// A read-only item model that mirrors the grid live, as a tree: the "Overdues" node and
    /// the five priority nodes are the parents of their IBO rows. Qt::DisplayRole is the shown
    /// text, Qt::UserRole the row data (the IboID, or "N" and the node's number), and the
    /// foreground, background, font and alignment roles come from the cell's style. Owned by
    /// the control; made on first use.
    QAbstractItemModel* model() const;
    /// The error of the last member call that failed, or nothing when the last call succeeded.
    std::optional<RuntimeError> lastError() const;
    /// The number of grid columns (hidden ones included).
    int columnCount() const;
    /// The width of `column` in twips. Error 9 for a column that does not exist.
    int columnWidth(int column) const;
    /// Sets the width of `column` in twips and stores it with the view preferences. Error 9
    /// for a column that does not exist, 5 for a negative width or for column 0, whose
    /// width the view keeps.
    void setColumnWidth(int column, int twips);
    /// Puts the selected rows on the clipboard as tab-separated text with the header row and
    /// as an HTML table with the same cells (Ctrl+C in the grid does the same). Hidden
    /// columns are left out; a node row gives its caption and totals.
    void copySelection();
    /// Writes the rows on show, in the order and with the nodes as they are shown (or, with
    /// `allRows`, every row), to `fileName` as CSV (RFC 4180, UTF-8): the header row, the
    /// shown texts, and after each money column a column of its plain numbers. `progress` is
    /// called now and then with the rows written and the rows to write, and cancels by
    /// returning false (the file is then not written). Returns false when cancelled; error
    /// 75 when the file cannot be written.
    bool exportCsv(const QString& fileName, bool allRows = false, std::function<bool(qint64, qint64)> progress = {});
    /// Finds the next row after the current one whose shown text in a visible column holds
    /// `text` (case-insensitive unless QTextDocument::FindCaseSensitively; the whole cell with
    /// QTextDocument::FindWholeWords; upwards with QTextDocument::FindBackward), wrapping
    /// round; opens the nodes above it, makes it current and scrolls to it. False when no row
    /// holds the text.
    bool findNext(const QString& text, QTextDocument::FindFlags options = {});
    /// Prints what PrintView prints (the same look, the same rows, every page) into
    /// `printer` (a printer the host chose, a PDF file, or a QPrintPreviewDialog's), with the
    /// view's name, today's date above each page and "Page n of m" below it. PrintView
    /// keeps its own behaviour.
    void print(QPrinter* printer);
    /// The visible columns (up to a wide window) over the header row and a dozen rows.
    QSize sizeHint() const override;
    /// The header row and three rows, two columns wide.
    QSize minimumSizeHint() const override;
    ///@}

public slots:
    /// Saves the sales-cycle range and the column widths.
    void SaveViewPreferences();
    /// Loads the sales-cycle range and the column widths (the defaults when none).
    void LoadViewPreferences();
    /// Makes the row of IBO `lIboID` current, opening its node; an id not shown is ignored.
    void GotoIBO(qint32 lIboID);
    /// Opens every node row.
    void ExpandAllNodes();
    /// Closes every node row.
    void CollapseAllNodes();
    /// Reads the open IBOs again and fills the grid.
    void Refresh();
    /// Prints the view as shown.
    void PrintView();
    /// Sets the grid up for printing and keeps its look to restore.
    void SetupViewForPrint();
    /// Restores the look that SetupViewForPrint kept.
    void RestoreViewAfterPrint();

signals:
    /// The user asks to open IBO `IboID` (a double-click or Enter on its row).
    void IboEdit(qint32 IboID);
    /// The user right-clicked IBO `IboID` (or pressed the Menu key or Shift+F10 on its row).
    void RightClick(qint32 IboID);
    /// An error that no caller could receive (a user action, a member that Qt called, or the
    /// opening of the database when the control was made).
    void ErrorRaised(qint32 Number, const QString& Source, const QString& Description);
    /// SalesCycleRangeValue changed (by its setter or by LoadViewPreferences).
    void SalesCycleRangeValueChanged(qint32 lRange);
    /// SalesCycleRangeUnits changed (by its setter or by LoadViewPreferences).
    void SalesCycleRangeUnitsChanged(qint32 eUnits);
    /// The grid got (or lost) its native window.
    void FlexGridHWndChanged(qint32 hWnd);
    /// The grid's selected rows changed, by the user or by code.
    void SelectionChanged();

protected:
    /// Lays the grid over the whole control.
    void resizeEvent(QResizeEvent* event) override;
    /// Delivers calls that Qt posts to the control (queued connections, invokeMethod, zero
    /// single shots) so that their errors are reported, not thrown.
    bool event(QEvent* event) override;

private:
    friend class PriorityViewPrivate;
    std::unique_ptr<PriorityViewPrivate> d;
};

}  // namespace BrevView
