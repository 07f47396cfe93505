// A .ui form naming the three controls loads through QUiLoader with the Designer
// plugin and gives working controls; the plugin offers them with 16 x 15 icons.

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QPluginLoader>
#include <QTemporaryDir>
#include <QUiLoader>
#include <QtUiPlugin/QDesignerCustomWidgetCollectionInterface>
#include <cstdio>
#include <memory>

#include <brevview/brevview.h>

#define CHECK(cond)                                                                \
    do {                                                                           \
        if (!(cond)) {                                                             \
            std::fprintf(stderr, "check failed: %s (line %d)\n", #cond, __LINE__); \
            return 1;                                                              \
        }                                                                          \
    } while (0)

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("BREV_DATABASE", QByteArray(argv[2]));
    QApplication app(argc, argv);
    const QString pluginDir = QString::fromLocal8Bit(argv[1]);

    // The plugin's widget box entries.
    QPluginLoader plugin(QDir(pluginDir).filePath(QStringLiteral("libbrevview_designer.so")));
    auto* collection = qobject_cast<QDesignerCustomWidgetCollectionInterface*>(plugin.instance());
    CHECK(collection);
    QStringList names;
    for (QDesignerCustomWidgetInterface* w : collection->customWidgets()) {
        names << w->name();
        CHECK(w->icon().availableSizes().contains(QSize(16, 15)) || !w->icon().pixmap(16, 15).isNull());
        CHECK(!w->toolTip().isEmpty());
        CHECK(w->domXml().contains(w->name()));
    }
    CHECK(names == (QStringList{"BrevView::PriorityView", "BrevView::ForecastView", "BrevView::FlatView"}));

    // A form that names them.
    const QByteArray ui = R"(<?xml version="1.0" encoding="UTF-8"?>
<ui version="4.0">
 <class>Form</class>
 <widget class="QWidget" name="Form">
  <layout class="QVBoxLayout" name="layout">
   <item><widget class="BrevView::PriorityView" name="priority"/></item>
   <item><widget class="BrevView::ForecastView" name="forecast"/></item>
   <item><widget class="BrevView::FlatView" name="flat"><property name="Filter"><number>3</number></property></widget></item>
  </layout>
 </widget>
 <customwidgets>
  <customwidget><class>BrevView::PriorityView</class><extends>QWidget</extends><header>brevview/priority_view.h</header></customwidget>
  <customwidget><class>BrevView::ForecastView</class><extends>QWidget</extends><header>brevview/forecast_view.h</header></customwidget>
  <customwidget><class>BrevView::FlatView</class><extends>QWidget</extends><header>brevview/flat_view.h</header></customwidget>
 </customwidgets>
</ui>)";
    QUiLoader loader;
    loader.clearPluginPaths();
    loader.addPluginPath(pluginDir);
    CHECK(loader.availableWidgets().contains(QStringLiteral("BrevView::FlatView")));
    QBuffer buffer;
    buffer.setData(ui);
    buffer.open(QIODevice::ReadOnly);
    std::unique_ptr<QWidget> form(loader.load(&buffer));
    CHECK(form);
    auto* flat = form->findChild<BrevView::FlatView*>(QStringLiteral("flat"));
    auto* priority = form->findChild<BrevView::PriorityView*>(QStringLiteral("priority"));
    auto* forecast = form->findChild<BrevView::ForecastView*>(QStringLiteral("forecast"));
    CHECK(flat && priority && forecast);
    CHECK(flat->Filter() == 3);
    flat->Refresh();
    priority->Refresh();
    forecast->Refresh();
    auto* grid = flat->findChild<QWidget*>(QStringLiteral("flexGrid"));
    CHECK(grid && grid->property("Rows").toInt() > 1);
    std::printf("designer plugin and .ui form: ok\n");
    return 0;
}
