#pragma once
// The demo host's window: the three BrevView controls in tabs, with a menu and tool
// buttons for every public property and method.

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QSet>

#include <brevview/brevview.h>

#include "ibo_store.h"
#include "incremental_find.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QTabWidget;
class QToolBar;

class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(const QString& databasePath, QWidget* parent = nullptr);

    void RefreshAll();
    // Shows the tab of "priority", "forecast" or "flat".
    void ShowView(const QString& name);
    // Renders each view, refreshed and opened, to DIR/priority.png, forecast.png, flat.png.
    QStringList SaveScreenshots(const QString& dir);

private slots:
    void OnPriorityOutline(int row, int state);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* CurrentView() const;
    void Refresh();
    void ExpandAll();
    void CollapseAll();
    void GoTo();
    void ShowSelection();
    void Copy();
    void ExportCsv();
    void Find(bool again);
    void OnFound(const QString& text, const QVariant& rowData);
    void OnNotFound(const QString& text);
    // Goes to an IBO in another view, or says why that view does not show it.
    void GoToIn(QWidget* view, qint32 id);
    // Refreshes the view on show, keeping the current IBO current and in view.
    void RefreshKeepingCurrent();
    // A colleague (or this window) changed the IBOs: the view on screen is refreshed now,
    // keeping its current IBO and its scroll position; the others when their tab is shown.
    void OnIbosChanged();
    void RefreshLive(QWidget* view);
    void Print();
    void PrintPreview();
    void EditIbo(qint32 id);
    void ContextMenu(qint32 id, QWidget* from);
    void ReportError(const BrevView::RuntimeError& e, const QString& what);
    void UpdateOptionBars();
    void WritePoints();
    void Event(const QString& line);
    void closeEvent(QCloseEvent* event) override;

    IboStore store_;
    QTabWidget* tabs_;
    BrevView::PriorityView* priority_;
    BrevView::ForecastView* forecast_;
    BrevView::FlatView* flat_;
    QToolBar* priorityBar_;
    QToolBar* forecastBar_;
    QToolBar* flatBar_;
    QSpinBox* rangeValue_;
    QComboBox* rangeUnits_;
    QCheckBox* weighted_;
    QCheckBox* showWon_;
    QComboBox* wonRange_;
    QCheckBox* filters_[4];
    QComboBox* source_;
    QLineEdit* search_;
    QLineEdit* find_;
    IncrementalFind* finder_;
    QPointer<QWidget> findView_;  // the view the search under way looks in
    bool findAgain_ = false;      // it was asked for with Return or F3, not by typing
    BrevView::ChangeWatcher* watcher_;
    QSet<QWidget*> stale_;      // views to refresh when their tab is shown
    bool liveWaiting_ = false;  // a change came during a dialog: refresh when it closes
    QElapsedTimer ownWrite_;    // since this window last wrote IBOs (its edits, the forecast's won dates)
};
