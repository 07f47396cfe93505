#pragma once
// The members and private procedures of PriorityView.

#include <vector>

#include <QStringList>

#include "common/call_boundary.h"
#include "common/data_access.h"
#include "common/expander.h"
#include "common/ibo_record.h"
#include "common/probability.h"
#include "grid/flex_grid.h"
#include "grid/grid_model.h"
#include "views/priority/sales_cycle.h"

class QLabel;
class QPainter;

namespace BrevView {

class PriorityView;

namespace detail {
extern const char* const kPriorityOverduesName;
extern const char* const kPriorityName;
QString PriorityOverduesSql();
QString PrioritySql();
}  // namespace detail

class PriorityViewPrivate {
public:
    explicit PriorityViewPrivate(PriorityView* q);
    static PriorityViewPrivate* Of(PriorityView* view);

    void UserControl_Initialize();
    // Everything initialisation does once the database is open.
    void InitialiseAfterDatabase();
    // Shows the error of a failed opening in place of the grid (nullptr: hides it).
    void ShowOpenError(const RuntimeError* error);
    void UserControl_Terminate();
    void UserControl_Resize();
    void InitFieldIndices();
    void InitLookups();
    void InitPriorityView();
    void RefreshViewDates();
    void RefreshSCHeader();
    QString GetSalesCycleTooltip(const automation::Date& dtStart, const automation::Date& dtEnd);
    automation::Date NormalizeDate(const automation::Date& d);
    void Refresh();
    void ReadGroup(data::Recordset& rs, int nodeRow, bool overdue, qint32& count, automation::Currency& total);
    void FinishNode(int nodeRow, qint32 count, automation::Currency total);
    void SaveViewPreferences();
    void LoadViewPreferences();

    // Grid events.
    bool SalesCycleTooltip();
    void OnAfterCollapse(int row, int state);
    void OnBeforeUserResize(int col, bool& cancel);
    void OnDrawCell(QPainter* painter, int row, int col, int left, int top, int right, int bottom, bool& done);

    PriorityView* q;
    grid::FlexGrid* flexGrid;
    detail::CallBoundary boundary;
    grid::GridModel* model = nullptr;
    QObject* windowWatch = nullptr;
    struct Told {
        qint32 rangeValue, rangeUnits, hWnd;
    } told{};
    // Emits the change signals of the properties that changed since they were last told.
    void TellChanges();
    QLabel* errorLabel = nullptr;
    bool openFailed = false;  // initialisation could not open the database
    detail::DataAccessState da;
    detail::Expander expander;
    detail::PriorityFieldIndices fi;
    detail::ProbabilityMatrix probability;
    QStringList priorityLabels;
    QStringList longCaptions;
    std::vector<qint32> columnWidths;  // columns 1 .. Cols - 1 (index 0 unused)
    qint32 rangeValue = 3;
    qint32 rangeUnits = 2;
    detail::ViewDates viewDates;
    bool refreshing = false;
    bool inCollapseHandler = false;
    bool filled = false;

    // Column index members.
    qint32 colPriority = 0, colIboNumber = 0, colWtc = 0, colDate = 0, colLastName = 0, colFirstName = 0,
           colCompany = 0, colWih = 0, colWwgi = 0, colProbability = 0, colCount = 0, colValue = 0, colSalesCycle = 0,
           colProduct = 0, colQualified = 0, colNote = 0;
};

}  // namespace BrevView
