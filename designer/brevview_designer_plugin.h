#pragma once
// The Qt Designer plugin: PriorityView, ForecastView and FlatView in the widget box,
// each with its 16 x 15 toolbox picture and tooltip.

#include <QObject>
#include <QtUiPlugin/QDesignerCustomWidgetCollectionInterface>
#include <QtUiPlugin/QDesignerCustomWidgetInterface>

class BrevViewWidgetPlugin : public QObject, public QDesignerCustomWidgetInterface {
    Q_OBJECT
    Q_INTERFACES(QDesignerCustomWidgetInterface)

public:
    BrevViewWidgetPlugin(QString className, QString progId, QString toolTip, QString includeFile, int picture,
                         QObject* parent);

    QString name() const override { return className_; }
    QString group() const override { return QStringLiteral("BrevView"); }
    QIcon icon() const override;
    QString toolTip() const override { return toolTip_; }
    QString whatsThis() const override { return toolTip_; }
    bool isContainer() const override { return false; }
    QString includeFile() const override { return includeFile_; }
    QString domXml() const override;
    QWidget* createWidget(QWidget* parent) override;
    bool isInitialized() const override { return initialized_; }
    void initialize(QDesignerFormEditorInterface*) override { initialized_ = true; }

private:
    QString className_;
    QString progId_;
    QString toolTip_;
    QString includeFile_;
    int picture_;
    bool initialized_ = false;
};

class BrevViewDesignerPlugins : public QObject, public QDesignerCustomWidgetCollectionInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QDesignerCustomWidgetCollectionInterface")
    Q_INTERFACES(QDesignerCustomWidgetCollectionInterface)

public:
    explicit BrevViewDesignerPlugins(QObject* parent = nullptr);
    QList<QDesignerCustomWidgetInterface*> customWidgets() const override { return widgets_; }

private:
    QList<QDesignerCustomWidgetInterface*> widgets_;
};
