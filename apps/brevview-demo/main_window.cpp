#include "main_window.h"

#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMetaMethod>
#include <QMessageBox>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QSpinBox>
#include <QStatusBar>
#include <QTabWidget>
#include <QTextStream>
#include <QTimer>
#include <QToolBar>

#include "ibo_edit_dialog.h"

namespace {

// The database the controls read: this host's own "BrevData.Database" object.
class DemoDatabase : public BrevView::IDatabaseSettings {
public:
    explicit DemoDatabase(QString path) : path_(std::move(path)) {}
    QString DatabasePath() override { return path_; }
    QString AuxiliaryInfo() override { return QString(); }
    QString UserName() override { return QStringLiteral("demo"); }
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
        const QList<int> priorityWidths{10, 1300, 600, 1300, 1500, 1300, 2000, 700, 800, 600, 700, 1700, 3300, 2200, 900, 3000};
        const QList<int> forecastWidths{1700, 1300, 1500, 1300, 2000, 700, 800, 600, 2200, 700, 1700, 960, 960, 960, 960, 960, 3000};
        const QList<int> flatWidths{1300, 1200, 1300, 1500, 1300, 2000, 700, 800, 600, 2200, 1700, 3000};
        const std::pair<QWidget*, QList<int>> layouts[] = {{priority_, priorityWidths}, {forecast_, forecastWidths}, {flat_, flatWidths}};
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
    file->addAction(tr("Print pre&view…"), this, &MainWindow::PrintPreview);
    file->addSeparator();
    file->addAction(tr("&Quit"), QKeySequence::Quit, qApp, &QApplication::quit);
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

    // Per-view options.
    priorityBar_ = addToolBar(tr("Priority view"));
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
    connect(rangeUnits_, &QComboBox::currentIndexChanged, this, [this](int u) { priority_->setSalesCycleRangeUnits(u); });

    forecastBar_ = addToolBar(tr("Forecast view"));
    weighted_ = new QCheckBox(tr("&Weighted"));
    weighted_->setChecked(forecast_->ForecastMode() != BrevView::eUnweightedForecast);
    showWon_ = new QCheckBox(tr("Show &won IBOs"));
    showWon_->setChecked(forecast_->ShowWonIBOs());
    wonRange_ = new QComboBox;
    wonRange_->addItems({tr("all won"), tr("won this month"), tr("won since two months"), tr("won since three months")});
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
        Refresh();
    });
    connect(wonRange_, &QComboBox::currentIndexChanged, this, [this](int r) {
        forecast_->setShowWonDateRange(r);
        Refresh();
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
            Refresh();
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
    connect(tabs_, &QTabWidget::currentChanged, this, [this] {
        UpdateOptionBars();
        // After the tool bars have been laid out for the new tab.
        QTimer::singleShot(0, this, &MainWindow::WritePoints);
    });
    UpdateOptionBars();
    statusBar()->showMessage(tr("Double-click an IBO to edit it; right-click for more."));
    resize(1400, 820);
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
        QMessageBox::warning(this, tr("BrevView"), tr("Error %1 while %2:\n%3").arg(e.number()).arg(what, e.description()));
}

void MainWindow::RefreshAll()
{
    for (QWidget* view : {static_cast<QWidget*>(priority_), static_cast<QWidget*>(forecast_), static_cast<QWidget*>(flat_)}) {
        try {
            QMetaObject::invokeMethod(view, "Refresh");
        } catch (const BrevView::RuntimeError& e) {
            ReportError(e, tr("refreshing"));
        }
    }
    WritePoints();
}

void MainWindow::Refresh()
{
    try {
        QMetaObject::invokeMethod(CurrentView(), "Refresh");
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
    statusBar()->showMessage(tr("Went to IBO id %1.").arg(id), 5000);
}

void MainWindow::ShowSelection()
{
    try {
        const QVariant sel = CurrentView()->property("GetSelection");
        if (!sel.isValid()) {
            statusBar()->showMessage(tr("Selection: none"));
            return;
        }
        QStringList ids;
        for (qint32 id : sel.value<QList<qint32>>())
            ids << QString::number(id);
        statusBar()->showMessage(tr("Selection: %1").arg(ids.join(QStringLiteral(", "))));
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("reading the selection"));
    }
}

void MainWindow::Print()
{
    try {
        QMetaObject::invokeMethod(CurrentView(), "PrintView");
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("printing"));
    }
}

void MainWindow::PrintPreview()
{
    QWidget* view = CurrentView();
    try {
        QMetaObject::invokeMethod(view, "SetupViewForPrint");
        QPrinter printer(QPrinter::HighResolution);
        QPrintPreviewDialog preview(&printer, this);
        connect(&preview, &QPrintPreviewDialog::paintRequested, this, [view](QPrinter* p) {
            // The host prints the grid by its own means: here, the view as it is shown.
            QPainter painter(p);
            const QRect page = p->pageLayout().paintRectPixels(p->resolution());
            const double scale = std::min(double(page.width()) / view->width(), double(page.height()) / view->height());
            painter.scale(scale, scale);
            view->render(&painter);
        });
        preview.exec();
        QMetaObject::invokeMethod(view, "RestoreViewAfterPrint");
    } catch (const BrevView::RuntimeError& e) {
        ReportError(e, tr("preparing the print preview"));
    }
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
    for (QWidget* other : {static_cast<QWidget*>(priority_), static_cast<QWidget*>(forecast_), static_cast<QWidget*>(flat_)}) {
        if (other == from)
            continue;
        menu.addAction(tr("Go to in the %1 view").arg(tabs_->tabText(tabs_->indexOf(other)).remove(QLatin1Char('&'))), this,
                       [this, other, id] {
                           tabs_->setCurrentWidget(other);
                           QMetaObject::invokeMethod(other, "GotoIBO", Q_ARG(qint32, id));
                       });
    }
    menu.addAction(tr("&Copy IBO number"), this, [this, id] {
        QString error;
        if (const auto ibo = store_.Load(id, &error))
            QApplication::clipboard()->setText(ibo->number);
    });
    menu.exec(QCursor::pos());
}

void MainWindow::keyPressEvent(QKeyEvent* event)
{
    // F12 saves a picture of the window (for tests and bug reports).
    if (event->key() == Qt::Key_F12) {
        const QString file = qEnvironmentVariable("BREV_DEMO_SHOT", QDir::temp().filePath(QStringLiteral("brevview-demo.png")));
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
        s << "row " << r << ' ' << p.x() << ' ' << p.y() << ' ' << data.toString() << '\n';
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
