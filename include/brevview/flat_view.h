#pragma once
// FlatView: one grid row per IBO of the live table (IboMain) or of the archive
// (IboArchive), narrowed by a status filter. The host sets ViewSource and Filter,
// calls Refresh, and reacts to IboEdit and RightClick.

#include <memory>
#include <optional>

#include <QVariant>
#include <QWidget>

#include "enums.h"
#include "export.h"
#include "runtime_error.h"

namespace BrevView {

class FlatViewPrivate;

class BREVVIEW_EXPORT FlatView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(qint32 ViewSource READ ViewSource WRITE setViewSource)
    Q_PROPERTY(qint32 Filter READ Filter WRITE setFilter)
    Q_PROPERTY(qint32 FlexGridHWnd READ FlexGridHWnd)
    Q_PROPERTY(QVariant GetSelection READ GetSelection)

public:
    explicit FlatView(QWidget* parent = nullptr);
    ~FlatView() override;

    // Reading the source saves the view preferences of the current source first.
    qint32 ViewSource();
    // Loads the new source's preferences and column widths; the rows change at the next Refresh.
    void setViewSource(qint32 eSource);
    qint32 Filter() const;
    // Stores the status filter (FlatViewFilterEnum flags) and saves the preferences.
    void setFilter(qint32 eFilter);
    qint32 FlexGridHWnd() const;
    // Null (an invalid QVariant), or a QList<qint32> of the selected IBO ids.
    QVariant GetSelection();

public slots:
    void SaveViewPreferences(qint32 eViewSource);
    void LoadViewPreferences(qint32 eViewSource);
    void PrintView();
    void GotoIBO(qint32 lIboID);
    void Refresh();
    void SetupViewForPrint();
    void RestoreViewAfterPrint();

signals:
    void IboEdit(qint32 IboID);
    void RightClick(qint32 IboID);
    // An error in the handling of a user action (the host cannot catch it there).
    void ErrorRaised(qint32 Number, const QString& Source, const QString& Description);

public:
    std::optional<RuntimeError> lastError() const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    friend class FlatViewPrivate;
    std::unique_ptr<FlatViewPrivate> d;
};

}  // namespace BrevView
