#pragma once
// The members and private procedures of ForecastView.

#include <utility>
#include <vector>

#include <QStringList>

#include "common/call_boundary.h"
#include "common/data_access.h"
#include "common/expander.h"
#include "common/ibo_record.h"
#include "common/probability.h"
#include "grid/flex_grid.h"
#include "grid/grid_model.h"
#include "views/forecast/monthly_totals.h"

namespace BrevView {

class ForecastView;

namespace detail {
extern const char* const kForecastQueryName;
QString ForecastSql();
QString ForecastSort();
}  // namespace detail

class ForecastViewPrivate {
public:
    explicit ForecastViewPrivate(ForecastView* q);
    static ForecastViewPrivate* Of(ForecastView* view);

    void UserControl_Initialize();
    void UserControl_Terminate();
    void UserControl_Resize();
    void InitLookups();
    void InitForecastView();
    void InitFieldIndices();
    void InitTotalsHeader();
    void PresetColumnWidths();
    void SaveViewPreferences();
    void LoadViewPreferences();
    void UpdateForecastValues();
    void Refresh();
    void GetAllOpenWon();
    QString GetForecastFilter(automation::Date& wonStart);
    void InitMonthlyTotalsRS();
    void ProcessOverdues(int& overdueRow);
    qint32 CalcRowIDFromDate(const automation::Date& d);
    automation::Date NormalizeDate(const automation::Date& d);

    // The Value amount a row shows for the current mode and won setting.
    automation::Currency Chosen(automation::Currency unweighted, automation::Currency weighted,
                                automation::Currency unweightedWon, automation::Currency weightedWon) const;
    void WriteAmounts(int row, automation::Currency a11, automation::Currency a12, automation::Currency a13,
                      automation::Currency a14);
    // Fills an IBO row; returns its value and its weighted value (as the hidden cells hold them).
    std::pair<double, double> FillIboRow(int row, data::Recordset& rs, bool won, qint32 level);

    // Grid events.
    void OnAfterCollapse(int row, int state);

    ForecastView* q;
    grid::FlexGrid* flexGrid;
    detail::CallBoundary boundary;
    grid::GridModel* model = nullptr;
    QObject* windowWatch = nullptr;
    struct Told {
        qint32 forecastMode;
        bool showWon;
        qint32 showWonRange, hWnd;
    } told{};
    // Emits the change signals of the properties that changed since they were last told.
    void TellChanges();
    detail::DataAccessState da;
    std::shared_ptr<data::Recordset> ibos;      // the sorted IBO recordset of the last refresh
    std::shared_ptr<data::Recordset> filtered;  // a filtered view of it, while in use
    std::shared_ptr<data::Recordset> shown;     // the IBOs the months show, between the totals and the rows
    detail::Expander expander;
    detail::ForecastFieldIndices fi;
    detail::ProbabilityMatrix probability;
    detail::MonthlyTotals months;
    detail::GrandTotals grand;
    automation::Currency overdueUnweighted;
    automation::Currency overdueWeighted;
    QStringList monthNames;
    QStringList longTitles;
    QStringList headers;
    std::vector<qint32> columnWidths;
    qint32 forecastMode = 0;
    bool showWon = false;
    qint32 showWonRange = 0;
    bool refreshed = false;
    bool refreshing = false;
    bool inCollapseHandler = false;
    int overdueRowMember = 1;
    int forecastRowMember = 2;

    // Column number members.
    qint32 colDate = 0, colIboNumber = 0, colLastName = 0, colFirstName = 0, colCompany = 0, colWih = 0, colWwgi = 0,
           colProbability = 0, colProduct = 0, colCount = 0, colValue = 0, colAmount1 = 0, colAmount2 = 0,
           colAmount3 = 0, colAmount4 = 0, colAmount5 = 0, colNote = 0;
};

}  // namespace BrevView
