#include "main_window.h"
#include "print_target.h"

#include <cstdio>

#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMetaMethod>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProgressDialog>
#include <QScreen>
#include <QScrollBar>
#include <QSettings>
#include <QSpinBox>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTabWidget>
#include <QTextStream>
#include <QTime>
#include <QTimer>
#include <QToolBar>

#include "ibo_edit_dialog.h"

namespace {

// Calls `f` with the current view as its own type: the Qt additions of the three controls
// have the same names, but are members of each class.
template <class F>
auto OnView(QWidget* view, F&& f)
{
    if (auto* p = qobject_cast<BrevView::PriorityView*>(view))
        return f(p);
    if (auto* fc = qobject_cast<BrevView::ForecastView*>(view))
        return f(fc);
    return f(qobject_cast<BrevView::FlatView*>(view));
}

}  // namespace

namespace {

// The database the controls read: this host's own "BrevData.Database" object.
class DemoDatabase : public BrevView::IDatabaseSettings {
public:
    explicit DemoDatabase(QString path) : path_(std::move(path)) {}
    QString DatabasePath() override { return path_; }
    QString AuxiliaryInfo() override { return QString(); }
    // On a server the account is the one libpq finds itself (the URI's user, PGUSER,
    // ~/.pgpass), as for the demo's own edits; a file has no accounts.
    QString UserName() override { return IboStore::IsServerUri(path_) ? QString() : QStringLiteral("demo"); }
    QString Password() override { return QString(); }

private:
    QString path_;
};

QWidget* GridOf(QWidget* view)
{
    return view->findChild<QWidget*>(QStringLiteral("flexGrid"));
}

}  // namespace

MainWindow::MainWindow(const QString& databasePath, QWidget* parent) : QMainWindow(parent), store_(databasePath)
{
    setWindowTitle(tr("BrevView demo — %1").arg(QDir::toNativeSeparators(databasePath)));
    // Before the controls have ever saved a layout, start with columns wide enough to read.
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config"));
    const bool firstRun = !QFile::exists(config + QStringLiteral("/Brev/settings.ini"));
    BrevView::RegisterHostObject(QStringLiteral("BrevData.Database"),
                                 [databasePath] { return std::make_shared<DemoDatabase>(databasePath); });

    tabs_ = new QTabWidget;
    priority_ = qobject_cast<BrevView::PriorityView*>(BrevView::CreateControl(QStringLiteral("BrevView.PriorityView")));
    forecast_ = qobject_cast<BrevView::ForecastView*>(BrevView::CreateControl(QStringLiteral("BrevView.ForecastView")));
    flat_ = qobject_cast<BrevView::FlatView*>(BrevView::CreateControl(QStringLiteral("BrevView.FlatView")));
    tabs_->addTab(priority_, tr("&Priority"));
    tabs_->addTab(forecast_, tr("&Forecast"));
    tabs_->addTab(flat_, tr("F&lat list"));
    setCentralWidget(tabs_);
    if (firstRun) {
        const QList<int> priorityWidths{10,  1300, 600, 1300, 1500, 1300, 2000, 700,
                                        800, 600,  700, 1700, 3300, 2200, 900,  3000};
        const QList<int> forecastWidths{1700, 1300, 1500, 1300, 2000, 700, 800, 600, 2200,
                                        700,  1700, 960,  960,  960,  960, 960, 3000};
        const QList<int> flatWidths{1300, 1200, 1300, 1500, 1300, 2000, 700, 800, 600, 2200, 1700, 3000};
        const std::pair<QWidget*, QList<int>> layouts[] = {
            {priority_, priorityWidths}, {forecast_, forecastWidths}, {flat_, flatWidths}};
        for (const auto& [view, widths] : layouts) {
            QObject* grid = GridOf(view);
            for (int c = 0; c < widths.size(); ++c)
                QMetaObject::invokeMethod(grid, "setColWidth", Q_ARG(int, c), Q_ARG(int, widths[c]));
        }
    }

    connect(priority_, &BrevView::PriorityView::IboEdit, this, &MainWindow::EditIbo);
    connect(forecast_, &BrevView::ForecastView::IboEdit, this, &MainWindow::EditIbo);
    connect(flat_, &BrevView::FlatView::IboEdit, this, &MainWindow::EditIbo);
    connect(priority_, &BrevView::PriorityView::RightClick, this, [this](qint32 id) { ContextMenu(id, priority_); });
    connect(forecast_, &BrevView::ForecastView::RightClick, this, [this](qint32 id) { ContextMenu(id, forecast_); });
    connect(flat_, &BrevView::FlatView::RightClick, this, [this](qint32 id) { ContextMenu(id, flat_); });
    auto errors = [this](qint32 number, const QString& source, const QString& description) {
        statusBar()->showMessage(tr("Error %1 in %2: %3").arg(number).arg(source, description), 10000);
    };
    connect(priority_, &BrevView::PriorityView::ErrorRaised, this, errors);
    connect(forecast_, &BrevView::ForecastView::ErrorRaised, this, errors);
    connect(flat_, &BrevView::FlatView::ErrorRaised, this, errors);
    // The grid's own outline event, reached by name through the meta-object.
    QObject* priorityGrid = GridOf(priority_);
    const int index = priorityGrid->metaObject()->indexOfSignal("AfterCollapse(int,int)");
    if (index >= 0) {
        QObject::connect(priorityGrid, priorityGrid->metaObject()->method(index), this,
                         metaObject()->method(metaObject()->indexOfSlot("OnPriorityOutline(int,int)")));
    }

    // Menus.
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Print…"), QKeySequence::Print, this, &MainWindow::Print);
    file->addAction(tr("Print pre&view…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_P), this,
                    &MainWindow::PrintPreview);
    file->addAction(tr("&Export to CSV…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), this,
                    &MainWindow::ExportCsv);
    file->addSeparator();
    file->addAction(tr("&Quit"), QKeySequence::Quit, qApp, &QApplication::quit);
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->addAction(tr("&Copy"), QKeySequence::Copy, this, &MainWindow::Copy);
    edit->addAction(tr("&Find…"), QKeySequence::Find, this, [this] {
        find_->setFocus();
        find_->selectAll();
    });
    edit->addAction(tr("Find &next"), QKeySequence::FindNext, this, [this] { Find(true); });
    QMenu* view = menuBar()->addMenu(tr("&View"));
    QAction* refresh = view->addAction(tr("&Refresh"), QKeySequence::Refresh, this, &MainWindow::Refresh);
    refresh->setIcon(style()->standardIcon(QStyle::SP_BrowserReload));
    view->addAction(tr("&Expand all nodes"), QKeySequence(Qt::CTRL | Qt::Key_Plus), this, &MainWindow::ExpandAll);
    view->addAction(tr("&Collapse all nodes"), QKeySequence(Qt::CTRL | Qt::Key_Minus), this, &MainWindow::CollapseAll);
    view->addAction(tr("Show &selection"), QKeySequence(Qt::CTRL | Qt::Key_E), this, &MainWindow::ShowSelection);
    view->addSeparator();
    for (int i = 0; i < 3; ++i)
        view->addAction(tabs_->tabText(i).remove(QLatin1Char('&')), QKeySequence(Qt::CTRL | (Qt::Key_1 + i)), this,
                        [this, i] { tabs_->setCurrentIndex(i); });

    // The main tool bar.
    QToolBar* main = addToolBar(tr("Main"));
    main->setObjectName(QStringLiteral("mainToolBar"));
    main->addAction(refresh);
    main->addAction(tr("Expand all"), this, &MainWindow::ExpandAll);
    main->addAction(tr("Collapse all"), this, &MainWindow::CollapseAll);
    main->addAction(tr("Print"), this, &MainWindow::Print);
    main->addAction(tr("Preview"), this, &MainWindow::PrintPreview);
    main->addAction(tr("Selection"), this, &MainWindow::ShowSelection);
    main->addSeparator();
    search_ = new QLineEdit;
    search_->setPlaceholderText(tr("Go to IBO number or id"));
    search_->setMaximumWidth(220);
    main->addWidget(search_);
    connect(search_, &QLineEdit::returnPressed, this, &MainWindow::GoTo);
    main->addAction(tr("Go"), this, &MainWindow::GoTo);
    main->addSeparator();
    find_ = new QLineEdit;
    find_->setObjectName(QStringLiteral("find"));
    find_->setPlaceholderText(tr("Find (Ctrl+F): IBO number, name, company"));
    find_->setClearButtonEnabled(true);
    find_->setMaximumWidth(260);
    main->addWidget(find_);
    // Incremental: each edit looks again from the current row; Enter goes to the next match.
    finder_ = new IncrementalFind(this);
    connect(finder_, &IncrementalFind::Found, this, &MainWindow::OnFound);
    connect(finder_, &IncrementalFind::NotFound, this, &MainWindow::OnNotFound);
    connect(find_, &QLineEdit::textEdited, this, [this] { Find(false); });
    connect(find_, &QLineEdit::returnPressed, this, [this] { Find(true); });

    // Per-view options.
    priorityBar_ = addToolBar(tr("Priority view"));
    {
        // The key to the sales-cycle bars.
        auto* legend = new QLabel(tr(" <span style='color:#0000ff'>&#9632;</span> probe "
                                     "<span style='color:#00c000'>&#9632;</span> prove "
                                     "<span style='color:#ff0000'>&#9632;</span> close "
                                     "<span style='color:#ff00ff'>|</span> today  "));
        legend->setObjectName(QStringLiteral("salesCycleLegend"));
        legend->setToolTip(tr("The sales-cycle bar: from qualification to expected closing, and where today lies."));
        priorityBar_->addWidget(legend);
    }
    priorityBar_->addWidget(new QLabel(tr(" Sales cycle range: ")));
    rangeValue_ = new QSpinBox;
    rangeValue_->setRange(-99, 999);
    rangeValue_->setValue(priority_->SalesCycleRangeValue());
    priorityBar_->addWidget(rangeValue_);
    rangeUnits_ = new QComboBox;
    rangeUnits_->addItems({tr("days"), tr("weeks"), tr("months"), tr("years")});
    rangeUnits_->setCurrentIndex(qBound(0, priority_->SalesCycleRangeUnits(), 3));
    priorityBar_->addWidget(rangeUnits_);
    connect(rangeValue_, &QSpinBox::valueChanged, this, [this](int v) {
        priority_->setSalesCycleRangeValue(v);
        rangeValue_->setValue(priority_->SalesCycleRangeValue());
    });
    connect(rangeUnits_, &QComboBox::currentIndexChanged, this,
            [this](int u) { priority_->setSalesCycleRangeUnits(u); });

    forecastBar_ = addToolBar(tr("Forecast view"));
    weighted_ = new QCheckBox(tr("&Weighted"));
    weighted_->setChecked(forecast_->ForecastMode() != BrevView::eUnweightedForecast);
    showWon_ = new QCheckBox(tr("Show &won IBOs"));
    showWon_->setChecked(forecast_->ShowWonIBOs());
    wonRange_ = new QComboBox;
    wonRange_->addItems(
        {tr("all won"), tr("won this month"), tr("won since two months"), tr("won since three months")});
    wonRange_->setCurrentIndex(qBound(0, forecast_->ShowWonDateRange(), 3));
    forecastBar_->addWidget(weighted_);
    forecastBar_->addWidget(showWon_);
    forecastBar_->addWidget(wonRange_);
    connect(weighted_, &QCheckBox::toggled, this, [this](bool on) {
        try {
            forecast_->setForecastMode(on ? BrevView::eWeightedForecast : BrevView::eUnweightedForecast);
            Event(QStringLiteral("forecast-mode %1").arg(forecast_->ForecastMode()));
        } catch (const BrevView::RuntimeError& e) {
            ReportError(e, tr("switching the forecast mode"));
        }
    });
    connect(showWon_, &QCheckBox::toggled, this, [this](bool on) {
        forecast_->setShowWonIBOs(on);
        // The box shows its new state before the refresh starts.
        QTimer::singleShot(0, this, &MainWindow::RefreshKeepingCurrent);
    });
    connect(wonRange_, &QComboBox::currentIndexChanged, this, [this](int r) {
        forecast_->setShowWonDateRange(r);
        QTimer::singleShot(0, this, &MainWindow::RefreshKeepingCurrent);
    });

    flatBar_ = addToolBar(tr("Flat view"));
    source_ = new QComboBox;
    source_->addItems({tr("Live IBOs"), tr("Archive")});
    flatBar_->addWidget(source_);
    const QStringList names{tr("Open"), tr("Won"), tr("Lost"), tr("Cancelled")};
    for (int i = 0; i < 4; ++i) {
        filters_[i] = new QCheckBox(names[i]);
        filters_[i]->setChecked(flat_->Filter() & (1 << i));
        flatBar_->addWidget(filters_[i]);
        connect(filters_[i], &QCheckBox::toggled, this, [this] {
            qint32 f = 0;
            for (int k = 0; k < 4; ++k)
                f |= filters_[k]->isChecked() ? (1 << k) : 0;
            flat_->setFilter(f);
            QTimer::singleShot(0, this, &MainWindow::RefreshKeepingCurrent);
        });
    }
    connect(source_, &QComboBox::currentIndexChanged, this, [this](int s) {
        flat_->setViewSource(s);
        for (int k = 0; k < 4; ++k) {
            const QSignalBlocker block(filters_[k]);
            filters_[k]->setChecked(flat_->Filter() & (1 << k));
        }
        Refresh();
    });
    // Live updates: the controls never refresh on their own; the watcher tells this window.
    watcher_ = new BrevView::ChangeWatcher(this);
    connect(watcher_, &BrevView::ChangeWatcher::IbosChanged, this, &MainWindow::OnIbosChanged);
    connect(watcher_, &BrevView::ChangeWatcher::ErrorRaised, this,
            [this](qint32 number, const QString&, const QString& description) {
                statusBar()->showMessage(tr("Live updates paused (error %1): %2").arg(number).arg(description), 10000);
            });
    connect(watcher_, &BrevView::ChangeWatcher::activeChanged, this,
            [this](bool active) { Event(QStringLiteral("live %1").arg(active ? 1 : 0)); });
    watcher_->start();
    connect(tabs_, &QTabWidget::currentChanged, this, [this] {
        if (stale_.contains(CurrentView()))
            RefreshLive(CurrentView());
        UpdateOptionBars();
        // After the tool bars have been laid out for the new tab.
        QTimer::singleShot(0, this, &MainWindow::WritePoints);
    });
    UpdateOptionBars();
    statusBar()->showMessage(tr("Double-click an IBO to edit it; right-click for more."));
    // At most the screen's room, and where the user left it last time.
    const QRect room = screen() ? screen()->availableGeometry() : QRect(0, 0, 1400, 820);
    resize(std::min(1400, room.width()), std::min(820, room.height()));
    restoreGeometry(QSettings().value(QStringLiteral("demo/geometry")).toByteArray());
}

QWidget* MainWindow::CurrentView() const
{
    return tabs_->currentWidget();
}

void MainWindow::UpdateOptionBars()
{
    priorityBar_->setVisible(CurrentView() == priority_);
    forecastBar_->setVisible(CurrentView() == forecast_);
    flatBar_->setVisible(CurrentView() == flat_);
}

void MainWindow::ReportError(const BrevView::RuntimeError& e, const QString& what)
{
    statusBar()->showMessage(tr("Error %1 while %2: %3").arg(e.number()).arg(what, e.description()));
    if (qEnvironmentVariableIsEmpty("BREV_DEMO_QUIET"))
        QMessageBox::warning(this, tr("BrevView"),
                             tr("Error %1 while %2:\n%3").arg(e.number()).arg(what, e.description()));
    else
        std::fprintf(stderr, "brevview-demo: error %d while %s: %s\n", e.number(), qPrintable(what),
                     qPrintable(e.description()));
}

void MainWindow::ShowView(const QString& name)
{
    if (name == QLatin1String("forecast"))
        tabs_->setCurrentWidget(forecast_);
    else if (name == QLatin1String("flat"))
        tabs_->setCurrentWidget(flat_);
    else
        tabs_->setCurrentWidget(priority_);
}

void MainWindow::OnIbosChanged()
{
    // Never under a dialog the user is working in: the refresh waits until it closes.
    if (QApplication::activeModalWidget() || QApplication::activePopupWidget()) {
        if (!liveWaiting_) {
            liveWaiting_ = true;
            QTimer::singleShot(500, this, [this] {
                liveWaiting_ = false;
                OnIbosChanged();
            });
        }
        return;
    }
    // The watcher also reports this window's own writes; those are refreshed without
    // crediting a colleague.
    const bool ours = ownWrite_.isValid() && ownWrite_.elapsed() < 2500;
    stale_ = {priority_, forecast_, flat_};
    RefreshLive(CurrentView());
    if (!ours)
        statusBar()->showMessage(tr("Updated: a colleague changed the pipeline (%1)")
                                     .arg(QLocale().toString(QTime::currentTime(), QLocale::ShortFormat)));
    Event(QStringLiteral("live-refresh %1").arg(tabs_->currentIndex()));
}

void MainWindow::RefreshLive(QWidget* view)
{
    stale_.remove(view);
    const QList<qint32> selected = view->property("GetSelection").value<QList<qint32>>();
    auto* grid = qobject_cast<QAbstractScrollArea*>(GridOf(view));
    const int scroll = grid ? grid->verticalScrollBar()->value() : 0;
    if (view == forecast_)
        ownWrite_.start();  // its won-date writes come back through the watcher
    try {
        QMetaObject::invokeMethod(view, "Refresh");
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("refreshing"));
        return;
    }
    if (view == forecast_)
        ownWrite_.start();  // counted from the end of a refresh that may have been long
    // Where the user was, then the current IBO into view if the rows moved under it.
    if (grid)
        grid->verticalScrollBar()->setValue(scroll);
    if (!selected.isEmpty())
        QMetaObject::invokeMethod(view, "GotoIBO", Q_ARG(qint32, selected.front()));
    WritePoints();
}

void MainWindow::RefreshAll()
{
    ownWrite_.start();
    stale_.clear();
    statusBar()->showMessage(tr("Loading…"));
    statusBar()->repaint();
    QApplication::setOverrideCursor(Qt::BusyCursor);
    for (QWidget* view :
         {static_cast<QWidget*>(priority_), static_cast<QWidget*>(forecast_), static_cast<QWidget*>(flat_)}) {
        try {
            QMetaObject::invokeMethod(view, "Refresh");
        } catch (const BrevView::RuntimeError& e) {
            ReportError(e, tr("refreshing"));
        }
    }
    // The forecast view's won-date writes reach the watcher after the refresh: on a large
    // pipeline the refresh alone can outlast the grace that counts them as this window's.
    ownWrite_.start();
    QApplication::restoreOverrideCursor();
    statusBar()->showMessage(tr("Double-click an IBO to edit it; right-click for more."));
    WritePoints();
}

void MainWindow::Refresh()
{
    try {
        QMetaObject::invokeMethod(CurrentView(), "Refresh");
        if (CurrentView() == forecast_)
            ownWrite_.start();  // its won-date writes come back through the watcher
        statusBar()->showMessage(tr("Refreshed."), 3000);
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("refreshing"));
    }
    WritePoints();
}

void MainWindow::ExpandAll()
{
    if (CurrentView() == priority_)
        priority_->ExpandAllNodes();
    else if (CurrentView() == forecast_)
        forecast_->ExpandAllNodes();
    WritePoints();
}

void MainWindow::CollapseAll()
{
    if (CurrentView() == priority_)
        priority_->CollapseAllNodes();
    else if (CurrentView() == forecast_)
        forecast_->CollapseAllNodes();
    WritePoints();
}

void MainWindow::GoTo()
{
    const QString text = search_->text().trimmed();
    bool numeric = false;
    qint32 id = text.toInt(&numeric);
    if (!numeric || store_.IdOfNumber(text) != 0)
        id = store_.IdOfNumber(text) ? store_.IdOfNumber(text) : id;
    if (id == 0) {
        statusBar()->showMessage(tr("No IBO \"%1\".").arg(text), 5000);
        return;
    }
    QMetaObject::invokeMethod(CurrentView(), "GotoIBO", Q_ARG(qint32, id));
    const QString number = store_.NumberOfId(id).isEmpty() ? QString::number(id) : store_.NumberOfId(id);
    // GotoIBO ignores an IBO the view does not show: say so rather than claim a move.
    if (!CurrentView()->property("GetSelection").value<QList<qint32>>().contains(id))
        statusBar()->showMessage(tr("IBO %1 is not in this view (its filter or table hides it).").arg(number), 8000);
    else
        statusBar()->showMessage(tr("Went to IBO %1.").arg(number), 5000);
}

void MainWindow::ShowSelection()
{
    try {
        const QVariant sel = CurrentView()->property("GetSelection");
        if (!sel.isValid()) {
            statusBar()->showMessage(tr("Selection: none"));
            return;
        }
        // The user knows IBOs by their numbers, not by the database's ids.
        QStringList numbers;
        for (qint32 id : sel.value<QList<qint32>>()) {
            const QString number = store_.NumberOfId(id);
            numbers << (number.isEmpty() ? QString::number(id) : number);
        }
        statusBar()->showMessage(tr("Selection: %1").arg(numbers.join(QStringLiteral(", "))));
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("reading the selection"));
    }
}

void MainWindow::Copy()
{
    OnView(CurrentView(), [](auto* v) { v->copySelection(); });
    statusBar()->showMessage(tr("Copied the selected rows."), 3000);
    Event(QStringLiteral("copied"));
}

void MainWindow::ExportCsv()
{
    QString file = qEnvironmentVariable("BREV_DEMO_EXPORT");
    if (file.isEmpty())
        file = QFileDialog::getSaveFileName(this, tr("Export to CSV"),
                                            QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
                                                .filePath(QStringLiteral("ibos.csv")),
                                            tr("CSV files (*.csv)"));
    if (file.isEmpty())
        return;
    QProgressDialog progress(tr("Exporting…"), tr("Cancel"), 0, 100, this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    try {
        const bool done = OnView(CurrentView(), [&](auto* v) {
            return v->exportCsv(file, false, [&](qint64 rows, qint64 total) {
                progress.setValue(total > 0 ? int(100 * rows / total) : 100);
                return !progress.wasCanceled();
            });
        });
        statusBar()->showMessage(done ? tr("Exported to %1.").arg(file) : tr("Export cancelled."), 5000);
        Event(done ? QStringLiteral("exported %1").arg(file) : QStringLiteral("export-cancelled"));
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("exporting"));
    }
}

void MainWindow::Find(bool again)
{
    const QString text = find_->text().trimmed();
    if (text.isEmpty()) {
        finder_->Cancel();
        return;
    }
    findView_ = CurrentView();
    findAgain_ = again;
    // In slices on the event loop: the box keeps up with the keyboard on any number of IBOs.
    finder_->Start(OnView(CurrentView(), [](auto* v) { return v->model(); }), text, again);
}

void MainWindow::OnFound(const QString& text, const QVariant& rowData)
{
    if (findView_ != CurrentView())
        return;
    QMetaObject::invokeMethod(findView_, "GotoIBO", Q_ARG(qint32, rowData.toInt()));
    statusBar()->showMessage(tr("Found \"%1\".").arg(text), 3000);
    Event(QStringLiteral("found %1").arg(text));
}

void MainWindow::OnNotFound(const QString& text)
{
    const bool again = findAgain_;
    // Not in the list: say so honestly when the IBO exists but the view does not show it,
    // and offer to show it in the list with every status.
    const qint32 hiddenId = store_.IdOfNumber(text);
    if (hiddenId == 0) {
        statusBar()->showMessage(tr("Nothing matches \"%1\".").arg(text), 5000);
        Event(QStringLiteral("not-found %1").arg(text));
        return;
    }
    const QString question = tr("IBO %1 is hidden by the filter: show it?").arg(text);
    statusBar()->showMessage(question, 8000);
    Event(QStringLiteral("hidden %1").arg(text));
    if (!again || !qEnvironmentVariableIsEmpty("BREV_DEMO_QUIET") ||
        QMessageBox::question(this, tr("Find"), question) != QMessageBox::Yes)
        return;
    // The flat list with every status, of the table that holds it.
    tabs_->setCurrentWidget(flat_);
    for (int k = 0; k < 4; ++k) {
        const QSignalBlocker block(filters_[k]);
        filters_[k]->setChecked(true);
    }
    flat_->setFilter(BrevView::eFilterShowOpen | BrevView::eFilterShowWon | BrevView::eFilterShowLost |
                     BrevView::eFilterShowCancelled);
    for (int source : {BrevView::eViewMainTable, BrevView::eViewArchiveTable}) {
        {
            const QSignalBlocker block(source_);
            source_->setCurrentIndex(source);
        }
        flat_->setViewSource(source);
        Refresh();
        flat_->GotoIBO(hiddenId);
        if (flat_->GetSelection().value<QList<qint32>>().contains(hiddenId))
            break;
    }
}

void MainWindow::RefreshKeepingCurrent()
{
    QWidget* view = CurrentView();
    const QList<qint32> selected = view->property("GetSelection").value<QList<qint32>>();
    statusBar()->showMessage(tr("Refreshing…"));
    QApplication::setOverrideCursor(Qt::BusyCursor);
    Refresh();
    QApplication::restoreOverrideCursor();
    if (!selected.isEmpty())
        QMetaObject::invokeMethod(view, "GotoIBO", Q_ARG(qint32, selected.front()));
}

void MainWindow::Print()
{
    QWidget* view = CurrentView();
    try {
        QPrinter printer(QPrinter::HighResolution);
        if (QPrinterInfo::availablePrinterNames().isEmpty() || !qEnvironmentVariableIsEmpty("BREV_PRINT_TO_PDF")) {
            // No printer here: into a PDF file, and say where.
            QString pdf = qEnvironmentVariable("BREV_PRINT_TO_PDF");
            if (pdf.isEmpty())
                pdf = BrevViewDemo::PrintPdfPath(tabs_->tabText(tabs_->currentIndex()));
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf);
            OnView(view, [&](auto* v) { v->print(&printer); });
            statusBar()->showMessage(tr("No printer here: printed to %1.").arg(pdf), 8000);
            Event(QStringLiteral("printed %1").arg(pdf));
            return;
        }
        QPrintDialog dialog(&printer, this);
        if (dialog.exec() == QDialog::Accepted)
            OnView(view, [&](auto* v) { v->print(&printer); });
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("printing"));
    }
}

void MainWindow::PrintPreview()
{
    QWidget* view = CurrentView();
    QPrinter printer(QPrinter::HighResolution);
    QPrintPreviewDialog preview(&printer, this);
    preview.setObjectName(QStringLiteral("printPreview"));
    connect(&preview, &QPrintPreviewDialog::paintRequested, this,
            [view](QPrinter* p) { OnView(view, [p](auto* v) { v->print(p); }); });
    // Big enough to show a page: most of the screen's room.
    const QRect room = screen() ? screen()->availableGeometry() : QRect(0, 0, 1024, 768);
    preview.resize(room.width() * 3 / 4, room.height() * 9 / 10);
    QTimer::singleShot(0, &preview, [this] { Event(QStringLiteral("preview-open")); });
    preview.exec();
    if (auto error = OnView(view, [](auto* v) { return v->lastError(); }))
        ReportError(*error, tr("preparing the print preview"));
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    QSettings().setValue(QStringLiteral("demo/geometry"), saveGeometry());
    QMainWindow::closeEvent(event);
}

void MainWindow::EditIbo(qint32 id)
{
    QString error;
    const std::optional<IboRecord> ibo = store_.Load(id, &error);
    if (!ibo) {
        statusBar()->showMessage(error, 5000);
        return;
    }
    Event(QStringLiteral("edit-dialog %1").arg(id));
    IboEditDialog dialog(*ibo, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    ownWrite_.start();
    if (!store_.Save(dialog.Result(), &error)) {
        QMessageBox::warning(this, tr("BrevView"), tr("Could not save IBO %1: %2").arg(id).arg(error));
        return;
    }
    RefreshAll();
    QMetaObject::invokeMethod(CurrentView(), "GotoIBO", Q_ARG(qint32, id));
}

void MainWindow::ContextMenu(qint32 id, QWidget* from)
{
    Event(QStringLiteral("context-menu %1").arg(id));
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("iboContextMenu"));
    menu.addAction(tr("&Edit IBO…"), this, [this, id] { EditIbo(id); });
    for (QWidget* other :
         {static_cast<QWidget*>(priority_), static_cast<QWidget*>(forecast_), static_cast<QWidget*>(flat_)}) {
        if (other == from)
            continue;
        menu.addAction(tr("Go to in the %1 view").arg(tabs_->tabText(tabs_->indexOf(other)).remove(QLatin1Char('&'))),
                       this, [this, other, id] { GoToIn(other, id); });
    }
    menu.addAction(tr("&Copy IBO number"), this, [this, id] {
        QString error;
        if (const auto ibo = store_.Load(id, &error))
            QApplication::clipboard()->setText(ibo->number);
    });
    menu.exec(QCursor::pos());
}

void MainWindow::GoToIn(QWidget* view, qint32 id)
{
    tabs_->setCurrentWidget(view);
    QMetaObject::invokeMethod(view, "GotoIBO", Q_ARG(qint32, id));
    if (view->property("GetSelection").value<QList<qint32>>().contains(id)) {
        Event(QStringLiteral("went-to %1").arg(id));
        return;
    }
    // Not in that view: say why instead of doing nothing.
    QString error;
    const auto ibo = store_.Load(id, &error);
    const QString number = ibo ? ibo->number : QString::number(id);
    static const QStringList statuses{tr("open"), tr("won"), tr("lost"), tr("cancelled")};
    const QString status = ibo ? statuses.value(ibo->status - 1, tr("of another status")) : QString();
    QString why;
    if (view == priority_)
        why = tr("IBO %1 is %2: the priority view shows open IBOs only.").arg(number, status);
    else if (view == forecast_)
        why = tr("IBO %1 is %2: the forecast view shows open IBOs (and won ones when \"Show won\" is on).")
                  .arg(number, status);
    else
        why = tr("IBO %1 is %2: the flat list's filter or table hides it.").arg(number, status);
    statusBar()->showMessage(why, 8000);
    Event(QStringLiteral("not-shown %1").arg(id));
}

void MainWindow::keyPressEvent(QKeyEvent* event)
{
    // F12 saves a picture of the window (for tests and bug reports).
    if (event->key() == Qt::Key_F12) {
        const QString file =
            qEnvironmentVariable("BREV_DEMO_SHOT", QDir::temp().filePath(QStringLiteral("brevview-demo.png")));
        grab().save(file);
        Event(QStringLiteral("screenshot %1").arg(file));
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void MainWindow::OnPriorityOutline(int row, int state)
{
    Event(QStringLiteral("priority-outline %1 %2").arg(row).arg(state));
    WritePoints();
}

void MainWindow::Event(const QString& line)
{
    const QString file = qEnvironmentVariable("BREV_DEMO_EVENTS");
    if (file.isEmpty())
        return;
    QFile f(file);
    if (f.open(QIODevice::Append | QIODevice::Text))
        QTextStream(&f) << line << '\n';
}

void MainWindow::WritePoints()
{
    // Where things are on the screen, for a test that drives the window with real input.
    const QString file = qEnvironmentVariable("BREV_DEMO_POINTS");
    if (file.isEmpty())
        return;
    QWidget* view = CurrentView();
    auto* grid = qobject_cast<QAbstractScrollArea*>(GridOf(view));
    if (!grid)
        return;
    QString out;
    QTextStream s(&out);
    s << "tab " << tabs_->currentIndex() << '\n';
    if (weighted_->isVisible()) {
        const QPoint w = weighted_->mapToGlobal(weighted_->rect().center());
        s << "control weighted " << w.x() << ' ' << w.y() << '\n';
    }
    const int rows = grid->property("Rows").toInt();
    for (int r = 1; r < std::min(rows, 8); ++r) {
        QRect cell;
        QMetaObject::invokeMethod(grid, "CellRect", Q_RETURN_ARG(QRect, cell), Q_ARG(int, r), Q_ARG(int, 3));
        if (cell.isEmpty())
            continue;
        QVariant data;
        QMetaObject::invokeMethod(grid, "RowData", Q_RETURN_ARG(QVariant, data), Q_ARG(int, r));
        const QPoint p = grid->viewport()->mapToGlobal(cell.center());
        // Then what the row says, cell by cell.
        QStringList texts;
        const int cols = grid->property("Cols").toInt();
        for (int c = 0; c < cols; ++c) {
            QString text;
            QMetaObject::invokeMethod(grid, "TextMatrix", Q_RETURN_ARG(QString, text), Q_ARG(int, r), Q_ARG(int, c));
            texts << text;
        }
        s << "row " << r << ' ' << p.x() << ' ' << p.y() << ' ' << data.toString() << ' '
          << texts.join(QLatin1Char('|')) << '\n';
    }
    QFile f(file);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        f.write(out.toUtf8());
}

QStringList MainWindow::SaveScreenshots(const QString& dir)
{
    QDir().mkpath(dir);
    RefreshAll();
    priority_->ExpandAllNodes();
    forecast_->ExpandAllNodes();
    // The overdue groups are long: close them so the pictures show the other groups too.
    for (QWidget* view : {static_cast<QWidget*>(priority_), static_cast<QWidget*>(forecast_)}) {
        QObject* grid = GridOf(view);
        int node = -1;
        QMetaObject::invokeMethod(grid, "GetNode", Q_RETURN_ARG(int, node), Q_ARG(QString, QStringLiteral("N0")));
        if (node > 0)
            QMetaObject::invokeMethod(grid, "setIsCollapsed", Q_ARG(int, node), Q_ARG(int, 2));
    }
    QStringList files;
    const char* names[] = {"priority.png", "forecast.png", "flat.png"};
    for (int i = 0; i < 3; ++i) {
        tabs_->setCurrentIndex(i);
        QApplication::processEvents();
        const QString file = QDir(dir).filePath(QString::fromLatin1(names[i]));
        grab().save(file);
        files << file;
    }
    return files;
}
