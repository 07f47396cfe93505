// Uses the installed package the way a host would and says "package host: ok".
// Argument: a sample database; $BREV_DATABASE names one that does not exist.
#include <cstdio>
#include <memory>

#include <QAbstractItemModel>
#include <QAccessible>
#include <QApplication>
#include <QTimer>
#include <brevview/brevview.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2)
        return 10;
    BrevView::FlatView* view =
        qobject_cast<BrevView::FlatView*>(BrevView::CreateControl(QStringLiteral("BrevView.FlatView")));
    if (!view)
        return 1;
    view->setFilter(BrevView::eFilterShowOpen | BrevView::eFilterShowWon);
    if (view->property("Filter").toInt() != 3)
        return 2;
    try {
        BrevView::CreateControl(QStringLiteral("BrevView.Unknown"));
        return 3;
    } catch (const BrevView::RuntimeError& e) {
        if (e.number() != 429)
            return 4;
    }
    try {
        view->Refresh();  // no database there: a numbered error, not a crash
        return 5;
    } catch (const BrevView::RuntimeError& e) {
        std::printf("refresh without a database: error %d\n", e.number());
    }
    // The same call from the event loop is reported, not thrown.
    int reported = 0;
    QObject::connect(view, &BrevView::FlatView::ErrorRaised,
                     [&](qint32 number, const QString&, const QString&) { reported = number; });
    QTimer::singleShot(0, view, &BrevView::FlatView::Refresh);
    QTimer::singleShot(50, &app, &QCoreApplication::quit);
    app.exec();
    if (reported != 3024 || !view->lastError() || view->lastError()->number() != 3024)
        return 6;
    delete view;

    // A priority view on a missing database is made all the same.
    std::unique_ptr<QWidget> priority(BrevView::CreateControl(QStringLiteral("BrevView.PriorityView")));
    if (!qobject_cast<BrevView::PriorityView*>(priority.get())->lastError())
        return 7;

    // On a real database: the model mirrors the list, a screen reader sees a table.
    qputenv("BREV_DATABASE", argv[1]);
    BrevView::FlatView flat;
    flat.Refresh();
    QAbstractItemModel* model = flat.model();
    if (!model || model->rowCount() < 1 || model->data(model->index(0, 0), Qt::UserRole).toInt() <= 0)
        return 8;
    QAccessibleInterface* grid = nullptr;
    for (QObject* child : flat.children()) {
        if (QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(child);
            iface && iface->tableInterface())
            grid = iface;
    }
    if (!grid || grid->tableInterface()->rowCount() != model->rowCount())
        return 9;
    std::printf("model: %d rows, %d columns; accessible table: %d rows\n", model->rowCount(), model->columnCount(),
                grid->tableInterface()->rowCount());
    // A watcher on the same database: watching at once (a file), quiet while nothing changes.
    BrevView::ChangeWatcher watcher;
    int changes = 0;
    QObject::connect(&watcher, &BrevView::ChangeWatcher::IbosChanged, [&] { ++changes; });
    if (!watcher.start() || !watcher.isActive())
        return 11;
    QTimer::singleShot(300, &app, &QCoreApplication::quit);
    app.exec();
    if (changes != 0)
        return 12;
    watcher.stop();
    std::printf("change watcher: active, quiet\n");
    std::printf("package host: ok\n");
    return 0;
}
