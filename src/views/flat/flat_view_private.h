#pragma once
// The members and private procedures of FlatView.

#include <memory>
#include <vector>

#include <QStringList>

#include "common/call_boundary.h"
#include "common/data_access.h"
#include "common/ibo_record.h"
#include "common/probability.h"
#include "grid/flex_grid.h"
#include "grid/grid_model.h"

namespace BrevView {

class FlatView;

class FlatViewPrivate {
public:
    explicit FlatViewPrivate(FlatView* q);
    static FlatViewPrivate* Of(FlatView* view);

    void UserControl_Initialize();
    void UserControl_Terminate();
    void UserControl_Resize();
    void InitView();
    void InitFieldIndices();
    void InitProbabilityMatrix();
    void PresetColumnWidths();
    QString GetFilterString();
    void Refresh();
    void SaveViewPreferences(qint32 eViewSource);
    void LoadViewPreferences(qint32 eViewSource);

    // Emits the change signals of the properties that changed since they were last told.
    void TellChanges();

    // Grid events.
    void OnAfterUserResize();
    void OnBeforeScrollTip(int row);

    FlatView* q;
    grid::FlexGrid* flexGrid;
    detail::CallBoundary boundary;
    grid::GridModel* model = nullptr;
    QObject* windowWatch = nullptr;
    struct Told {
        qint32 viewSource, filter, hWnd;
    } told{};
    detail::DataAccessState da;
    std::shared_ptr<data::Recordset> filtered;  // the filtered recordset of a refresh
    detail::FlatFieldIndices fi;
    detail::ProbabilityMatrix probability;
    qint32 viewSource = 0;
    qint32 filter = 0;
    std::vector<qint32> columnWidths;
    QStringList headers;
    QStringList longHeaders;

    // Column index members.
    qint32 colIboNumber = 0, colStatus = 0, colDate = 0, colLastName = 0, colFirstName = 0, colCompany = 0, colUwih = 0,
           colUwwgi = 0, colProbability = 0, colProduct = 0, colValue = 0, colNote = 0;
};

}  // namespace BrevView
