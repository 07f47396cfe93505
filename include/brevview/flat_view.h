#pragma once
/// \file flat_view.h
/// \brief The FlatView control.

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

class FlatViewPrivate;

/// \brief One grid row per IBO of the live table (IboMain) or of the archive (IboArchive),
/// narrowed by a status filter.
///
/// The host sets ViewSource and Filter, calls Refresh, and reacts to IboEdit and RightClick.
/// The members named as in the type library (`Refresh`, `GotoIBO`, `Filter`, ...) keep the
/// names, argument names and behaviour of the automation surface; the lowerCamelCase members
/// (`model()`, `lastError()`, `setColumnWidth()`, ...) are additions for Qt hosts.
///
/// \section flatErrors Errors
/// A member called directly from C++ raises its error to the caller as a RuntimeError. A
/// member that Qt calls (a queued connection or QMetaObject::invokeMethod with
/// Qt::QueuedConnection, a QTimer::singleShot, a signal connected to the slot) has no caller
/// that could catch; it reports the same error through ErrorRaised() and lastError() instead,
/// so that no exception ever leaves through Qt's event loop. The control tells the two apart
/// by what Qt records of the call: a posted call event delivered to the control, a single-shot
/// timer's delivery, or a sender of the current signal (QObject::sender()). A host lambda that
/// calls a member directly from its own slot (connected with another context object) is a
/// direct call and gets the exception; only inside a QTimer::singleShot with an interval,
/// where Qt keeps no record of whose code runs, is such a call reported through ErrorRaised()
/// as well. The trace lines are the same either way.
class BREVVIEW_EXPORT FlatView : public QWidget {
    Q_OBJECT
    /// The table shown: eViewMainTable (0) or eViewArchiveTable (1) (FlatViewSourceEnum). Notify signal: ViewSourceChanged().
    Q_PROPERTY(qint32 ViewSource READ ViewSource WRITE setViewSource NOTIFY ViewSourceChanged)
    /// The statuses shown, an OR of FlatViewFilterEnum flags. Notify signal: FilterChanged().
    Q_PROPERTY(qint32 Filter READ Filter WRITE setFilter NOTIFY FilterChanged)
    /// The native window handle of the grid (0 before it has one). Notify signal: FlexGridHWndChanged().
    Q_PROPERTY(qint32 FlexGridHWnd READ FlexGridHWnd NOTIFY FlexGridHWndChanged)
    /// The selected IBO ids (see GetSelection()). Notify signal: SelectionChanged().
    Q_PROPERTY(QVariant GetSelection READ GetSelection NOTIFY SelectionChanged)

public:
    /// Makes the control: its columns, its preferences for the live table. The database is
    /// opened at the first Refresh.
    explicit FlatView(QWidget* parent = nullptr);
    /// Saves the preferences of the current source and closes the data access.
    ~FlatView() override;

    /// The source shown. Reading it saves the view preferences of the current source first.
    qint32 ViewSource();
    /// Loads the new source's preferences and column widths; the rows change at the next Refresh.
    void setViewSource(qint32 eSource);
    /// The status filter (FlatViewFilterEnum flags).
    qint32 Filter() const;
    /// Stores the status filter and saves the preferences; the rows change at the next Refresh.
    void setFilter(qint32 eFilter);
    /// The grid's native window handle, or 0.
    qint32 FlexGridHWnd() const;
    /// Null (an invalid QVariant) when no row is selected, or a QList<qint32> of the
    /// selected IBO ids in selection order.
    QVariant GetSelection();

    /// \name Additions for Qt hosts
    ///@{

    /// A read-only item model that mirrors the grid live: one top-level row per grid row;
    /// Qt::DisplayRole is the shown text, Qt::UserRole the row data (the IboID), and the
    /// foreground, background, font and alignment roles come from the cell's style. Header
    /// data comes from the header row. Owned by the control; made on first use.
    QAbstractItemModel* model() const;
    /// The error of the last member call that failed, or nothing when the last call succeeded.
    std::optional<RuntimeError> lastError() const;
    /// The number of grid columns (hidden ones included).
    int columnCount() const;
    /// The width of `column` in twips. Error 9 for a column that does not exist.
    int columnWidth(int column) const;
    /// Sets the width of `column` in twips and stores it with the view preferences of the
    /// current source, as a drag of the column border does. Error 9 for a column that does
    /// not exist, 5 for a negative width.
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
    /// Saves the filter and the column widths under the preference key of `eViewSource`.
    void SaveViewPreferences(qint32 eViewSource);
    /// Loads the filter and the column widths stored for `eViewSource` (the defaults when none).
    void LoadViewPreferences(qint32 eViewSource);
    /// Prints the list as shown (to the default printer, or to $BREV_PRINT_TO_PDF).
    void PrintView();
    /// Makes the row of IBO `lIboID` current and scrolls it into view; an id not shown is ignored.
    void GotoIBO(qint32 lIboID);
    /// Reads the rows again from the database.
    void Refresh();
    /// Sets the grid up for printing (white background, no selection) and keeps its look to restore.
    void SetupViewForPrint();
    /// Restores the look that SetupViewForPrint kept.
    void RestoreViewAfterPrint();

signals:
    /// The user asks to open IBO `IboID` (a double-click or Enter on its row).
    void IboEdit(qint32 IboID);
    /// The user right-clicked IBO `IboID` (or pressed the Menu key or Shift+F10 on its row).
    void RightClick(qint32 IboID);
    /// An error that no caller could receive: in a user action's handling, or in a member
    /// that Qt called (see \ref flatErrors).
    void ErrorRaised(qint32 Number, const QString& Source, const QString& Description);
    /// ViewSource changed (by its setter or by LoadViewPreferences).
    void ViewSourceChanged(qint32 eSource);
    /// Filter changed (by its setter or by LoadViewPreferences).
    void FilterChanged(qint32 eFilter);
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
    friend class FlatViewPrivate;
    std::unique_ptr<FlatViewPrivate> d;
};

}  // namespace BrevView
