#include "brevview_designer_plugin.h"

#include <QLabel>
#include <QPainter>
#include <QPixmap>

#include <brevview/brevview.h>

BrevViewWidgetPlugin::BrevViewWidgetPlugin(QString className, QString progId, QString toolTip, QString includeFile,
                                           int picture, QObject* parent)
    : QObject(parent),
      className_(std::move(className)),
      progId_(std::move(progId)),
      toolTip_(std::move(toolTip)),
      includeFile_(std::move(includeFile)),
      picture_(picture)
{}

QIcon BrevViewWidgetPlugin::icon() const
{
    // 16 x 15: a small grid with a header row; the picture says which view it is.
    QPixmap pm(16, 15);
    pm.fill(Qt::white);
    QPainter p(&pm);
    p.setPen(QColor(128, 128, 128));
    p.drawRect(0, 0, 15, 14);
    p.fillRect(1, 1, 14, 3, QColor(192, 192, 192));
    for (int y = 7; y < 14; y += 3)
        p.drawLine(1, y, 14, y);
    switch (picture_) {
    case 0:  // priority: a sales-cycle bar
        p.fillRect(4, 5, 4, 2, QColor(0, 0, 255));
        p.fillRect(8, 5, 3, 2, QColor(0, 255, 0));
        p.fillRect(11, 5, 2, 2, QColor(255, 0, 0));
        p.fillRect(9, 8, 1, 6, QColor(255, 0, 255));
        break;
    case 1:  // forecast: a month node with a value
        p.fillRect(2, 5, 3, 2, QColor(100, 135, 220));
        p.fillRect(9, 8, 5, 2, QColor(0, 128, 0));
        break;
    default:  // flat: plain rows
        p.fillRect(2, 5, 12, 1, QColor(0, 0, 255));
        break;
    }
    return QIcon(pm);
}

QString BrevViewWidgetPlugin::domXml() const
{
    return QStringLiteral(
               "<ui language=\"c++\"><widget class=\"%1\" name=\"%2\">"
               "<property name=\"geometry\"><rect><x>0</x><y>0</y><width>480</width><height>240</height></rect></property>"
               "<property name=\"toolTip\"><string>%3</string></property>"
               "</widget></ui>")
        .arg(className_, className_.mid(className_.lastIndexOf(QLatin1Char(':')) + 1).toLower(), toolTip_);
}

QWidget* BrevViewWidgetPlugin::createWidget(QWidget* parent)
{
    try {
        return BrevView::CreateControl(progId_, parent);
    } catch (const BrevView::RuntimeError& e) {
        // On a form without a database (the priority view opens its own at once), show what is missing.
        auto* label = new QLabel(
            QStringLiteral("%1\n(error %2: %3)").arg(className_).arg(e.number()).arg(e.description()), parent);
        label->setAlignment(Qt::AlignCenter);
        label->setFrameShape(QFrame::Box);
        return label;
    }
}

BrevViewDesignerPlugins::BrevViewDesignerPlugins(QObject* parent) : QObject(parent)
{
    widgets_ << new BrevViewWidgetPlugin(QStringLiteral("BrevView::PriorityView"),
                                         QStringLiteral("BrevView.PriorityView"),
                                         QStringLiteral("Open IBOs by priority, with overdues and sales-cycle bars"),
                                         QStringLiteral("<brevview/priority_view.h>"), 0, this)
             << new BrevViewWidgetPlugin(QStringLiteral("BrevView::ForecastView"),
                                         QStringLiteral("BrevView.ForecastView"),
                                         QStringLiteral("IBOs by expected closing month, weighted or unweighted"),
                                         QStringLiteral("<brevview/forecast_view.h>"), 1, this)
             << new BrevViewWidgetPlugin(QStringLiteral("BrevView::FlatView"), QStringLiteral("BrevView.FlatView"),
                                         QStringLiteral("A filtered list of live or archived IBOs"),
                                         QStringLiteral("<brevview/flat_view.h>"), 2, this);
}
