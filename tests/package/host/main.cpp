// Uses the installed package the way a host would and says "package host: ok".
#include <cstdio>

#include <QApplication>
#include <brevview/brevview.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    BrevView::FlatView* view = qobject_cast<BrevView::FlatView*>(BrevView::CreateControl(QStringLiteral("BrevView.FlatView")));
    if (!view || !view->findChild<QWidget*>(QStringLiteral("flexGrid")))
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
        view->Refresh();  // no database configured: a numbered error, not a crash
        return 5;
    } catch (const BrevView::RuntimeError& e) {
        std::printf("refresh without a database: error %d\n", e.number());
    }
    delete view;
    std::printf("package host: ok\n");
    return 0;
}
