#pragma once
// ForecastView: the open IBOs (and, on request, the won ones) grouped by the month in
// which each is expected to close, with per-month counts and unweighted or
// probability-weighted totals, below an overdue row and a forecast row.

#include <memory>
#include <optional>

#include <QVariant>
#include <QWidget>

#include "enums.h"
#include "export.h"
#include "runtime_error.h"

namespace BrevView {

class ForecastViewPrivate;

class BREVVIEW_EXPORT ForecastView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(qint32 ForecastMode READ ForecastMode WRITE setForecastMode)
    Q_PROPERTY(qint32 FlexGridHWnd READ FlexGridHWnd)
    Q_PROPERTY(QVariant GetSelection READ GetSelection)
    Q_PROPERTY(bool ShowWonIBOs READ ShowWonIBOs WRITE setShowWonIBOs)
    Q_PROPERTY(qint32 ShowWonDateRange READ ShowWonDateRange WRITE setShowWonDateRange)

public:
    explicit ForecastView(QWidget* parent = nullptr);
    ~ForecastView() override;

    qint32 ForecastMode() const;
    // Stored unchecked; after the first refresh the values switch at once, without a database read.
    void setForecastMode(qint32 eMode);
    qint32 FlexGridHWnd() const;
    QVariant GetSelection();
    bool ShowWonIBOs() const;
    // Takes effect at the next Refresh.
    void setShowWonIBOs(bool bShowWon);
    qint32 ShowWonDateRange() const;
    // 0 all won IBOs, 1 this month, 2 and 3 two and three months back, any other value as 1.
    void setShowWonDateRange(qint32 lShowWonRange);

public slots:
    void SaveViewPreferences();
    void LoadViewPreferences();
    void PrintView();
    void GotoIBO(qint32 lIboID);
    void ExpandAllNodes();
    void CollapseAllNodes();
    void Refresh();
    void SetupViewForPrint();
    void RestoreViewAfterPrint();

signals:
    void IboEdit(qint32 IboID);
    void RightClick(qint32 IboID);
    void ErrorRaised(qint32 Number, const QString& Source, const QString& Description);

public:
    std::optional<RuntimeError> lastError() const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    friend class ForecastViewPrivate;
    std::unique_ptr<ForecastViewPrivate> d;
};

}  // namespace BrevView
