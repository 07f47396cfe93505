#pragma once
// PriorityView: the open IBOs under an "Overdues" node and five priority nodes, with
// node counts and value totals and, per IBO, a drawn sales-cycle bar over a date range
// centred on today. The database is opened when the control is created.

#include <memory>
#include <optional>

#include <QVariant>
#include <QWidget>

#include "currency.h"
#include "enums.h"
#include "export.h"
#include "runtime_error.h"

namespace BrevView {

class PriorityViewPrivate;

class BREVVIEW_EXPORT PriorityView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(qint32 FlexGridHWnd READ FlexGridHWnd)
    Q_PROPERTY(qint32 SalesCycleRangeValue READ SalesCycleRangeValue WRITE setSalesCycleRangeValue)
    Q_PROPERTY(qint32 SalesCycleRangeUnits READ SalesCycleRangeUnits WRITE setSalesCycleRangeUnits)
    Q_PROPERTY(QVariant GetSelection READ GetSelection)

public:
    explicit PriorityView(QWidget* parent = nullptr);
    ~PriorityView() override;

    qint32 FlexGridHWnd() const;
    qint32 SalesCycleRangeValue() const;
    // 0 is stored as 1; any other value as it comes. Recomputes the view dates and the header.
    void setSalesCycleRangeValue(qint32 lRange);
    qint32 SalesCycleRangeUnits() const;
    // Stored without a range test (SalesCycleUnitsEnum); only loading preferences clamps it.
    void setSalesCycleRangeUnits(qint32 eUnits);
    QVariant GetSelection();

    // curTotal + dValue while curTotal >= 0, else -1; -1 when the sum overflows.
    Q_INVOKABLE BrevView::Currency AddOutlineTotal(BrevView::Currency curTotal, double dValue);

public slots:
    void SaveViewPreferences();
    void LoadViewPreferences();
    void GotoIBO(qint32 lIboID);
    void ExpandAllNodes();
    void CollapseAllNodes();
    void Refresh();
    void PrintView();
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
    friend class PriorityViewPrivate;
    std::unique_ptr<PriorityViewPrivate> d;
};

}  // namespace BrevView
