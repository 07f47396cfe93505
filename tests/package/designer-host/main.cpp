// Argument: the installed plugin folder (PREFIX/lib/qt6/plugins/designer). Says
// "designer host: ok" when the plugin loads there and QUiLoader makes a real control of it.
#include <QApplication>
#include <QDir>
#include <QPluginLoader>
#include <QUiLoader>
#include <QWidget>
#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2)
        return 10;
    const QDir dir(QString::fromLocal8Bit(argv[1]));
    QPluginLoader plugin(dir.filePath(QStringLiteral("libbrevview_designer.so")));
    if (!plugin.load()) {
        std::printf("the plugin does not load: %s\n", qPrintable(plugin.errorString()));
        return 1;
    }
    QUiLoader loader;
    loader.clearPluginPaths();
    loader.addPluginPath(dir.absolutePath());
    if (!loader.availableWidgets().contains(QStringLiteral("BrevView::FlatView"))) {
        std::printf("QUiLoader does not offer BrevView::FlatView\n");
        return 2;
    }
    std::unique_ptr<QWidget> view(loader.createWidget(QStringLiteral("BrevView::FlatView")));
    if (!view || qstrcmp(view->metaObject()->className(), "BrevView::FlatView") != 0) {
        std::printf("QUiLoader made a %s\n", view ? view->metaObject()->className() : "null");
        return 3;
    }
    std::printf("designer host: ok\n");
    return 0;
}
