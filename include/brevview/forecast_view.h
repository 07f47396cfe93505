#pragma once
/// \file forecast_view.h
/// \brief The ForecastView control.

#include <functional>
#include <memory>
#include <optional>

#include <QTextDocument>
#include <QVariant>
#include <QWidget>

#include "enums.h"
#include "export.h"
#include "runtime_error.h"

class QAbstractItemModel;
class QPrinter;

namespace BrevView {

class ForecastViewPrivate;

/// \brief The open IBOs (and, on request, the won ones) grouped by the month in which each
/// is expected to close, with per-month counts and unweighted or probability-weighted
/// totals, below an overdue row and a forecast row.
///
/// Errors reach a direct C++ caller as RuntimeError, and a call that Qt makes (queued,
/// timer, connected signal) through ErrorRaised() and lastError(), as FlatView describes
/// in its section on errors. The lowerCamelCase members are additions for Qt hosts.
class BREVVIEW_EXPORT ForecastView : public QWidget {
    Q_OBJECT
    /// eUnweightedForecast (0) or eWeightedForecast (1) (ForecastModeEnum). Notify signal: ForecastModeChanged().
    Q_PROPERTY(qint32 ForecastMode READ ForecastMode WRITE setForecastMode NOTIFY ForecastModeChanged)
    /// The native window handle of the grid (0 before it has one). Notify signal: FlexGridHWndChanged().
    Q_PROPERTY(qint32 FlexGridHWnd READ FlexGridHWnd NOTIFY FlexGridHWndChanged)
    /// The selected IBO ids (see GetSelection()). Notify signal: SelectionChanged().
    Q_PROPERTY(QVariant GetSelection READ GetSelection NOTIFY SelectionChanged)
    /// Whether the won IBOs are shown too. Notify signal: ShowWonIBOsChanged().
    Q_PROPERTY(bool ShowWonIBOs READ ShowWonIBOs WRITE setShowWonIBOs NOTIFY ShowWonIBOsChanged)
    /// Which won IBOs are shown: 0 all, 1 this month, 2 and 3 two and three months back. Notify signal: ShowWonDateRangeChanged().
    Q_PROPERTY(qint32 ShowWonDateRange READ ShowWonDateRange WRITE setShowWonDateRange NOTIFY ShowWonDateRangeChanged)

public:
    /// Makes the control: its columns and its preferences. The database is opened at the
    /// first Refresh.
    explicit ForecastView(QWidget* parent = nullptr);
    /// Saves the preferences and closes the data access.
    ~ForecastView() override;

    /// The forecast mode (ForecastModeEnum).
    qint32 ForecastMode() const;
    /// Stored unchecked; after the first refresh the values switch at once, without a database read.
    void setForecastMode(qint32 eMode);
    /// The grid's native window handle, or 0.
    qint32 FlexGridHWnd() const;
    /// Null (an invalid QVariant), or a QList<qint32> of the selected IBO ids; node rows are skipped.
    QVariant GetSelection();
    /// Whether won IBOs are shown.
    bool ShowWonIBOs() const;
    /// Takes effect at the next Refresh.
    void setShowWonIBOs(bool bShowWon);
    /// The range of won IBOs shown.
    qint32 ShowWonDateRange() const;
    /// 0 all won IBOs, 1 this month, 2 and 3 two and three months back, any other value as 1.
    void setShowWonDateRange(qint32 lShowWonRange);

    /// \name Additions for Qt hosts
    ///@{

    /// A read-only item model that mirrors the grid live, as a tree: the month and total
    /// rows are the parents of their IBO rows. Qt::DisplayRole is the shown text,
    /// Qt::UserRole the row data (the IboID, or "N" and the node's number), and the
    /// foreground, background, font and alignment roles come from the cell's style.
    /// Owned by the control; made on first use.
    QAbstractItemModel* model() const;
    /// The error of the last member call that failed, or nothing when the last call succeeded.
    std::optional<RuntimeError> lastError() const;
    /// The number of grid columns (hidden ones included).
    int columnCount() const;
    /// The width of `column` in twips. Error 9 for a column that does not exist.
    int columnWidth(int column) const;
    /// Sets the width of `column` in twips and stores it with the view preferences. Error 9
    /// for a column that does not exist, 5 for a negative width.
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
    /// view's name, today's date and the forecast mode above each page and "Page n of m" below it. PrintView
    /// keeps its own behaviour.
    void print(QPrinter* printer);
    /// The visible columns (up to a wide window) over the header row and a dozen rows.
    QSize sizeHint() const override;
    /// The header row and three rows, two columns wide.
    QSize minimumSizeHint() const override;
    ///@}

public slots:
    /// Saves the mode, the won settings and the column widths.
    void SaveViewPreferences();
    /// Loads the mode, the won settings and the column widths (the defaults when none).
    void LoadViewPreferences();
    /// Prints the view as shown, through the print dialog.
    void PrintView();
    /// Makes the row of IBO `lIboID` current, opening every node above it; an id not shown is ignored.
    void GotoIBO(qint32 lIboID);
    /// Opens every node row.
    void ExpandAllNodes();
    /// Closes every node row.
    void CollapseAllNodes();
    /// Reads the IBOs again, stores each won IBO's won date and fills the grid.
    void Refresh();
    /// Sets the grid up for printing and keeps its look to restore.
    void SetupViewForPrint();
    /// Restores the look that SetupViewForPrint kept.
    void RestoreViewAfterPrint();

signals:
    /// The user asks to open IBO `IboID` (a double-click or Enter on its row).
    void IboEdit(qint32 IboID);
    /// The user right-clicked IBO `IboID` (or pressed the Menu key or Shift+F10 on its row).
    void RightClick(qint32 IboID);
    /// An error that no caller could receive (a user action, or a member that Qt called).
    void ErrorRaised(qint32 Number, const QString& Source, const QString& Description);
    /// ForecastMode changed (by its setter or by LoadViewPreferences).
    void ForecastModeChanged(qint32 eMode);
    /// ShowWonIBOs changed.
    void ShowWonIBOsChanged(bool bShowWon);
    /// ShowWonDateRange changed.
    void ShowWonDateRangeChanged(qint32 lShowWonRange);
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
    friend class ForecastViewPrivate;
    std::unique_ptr<ForecastViewPrivate> d;
};

}  // namespace BrevView
