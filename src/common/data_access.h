#pragma once
// How a control opens its database and its stored queries, and closes them, with
// the differences between the three controls given as traits.

#include <memory>

#include <QString>

#include "data/database.h"
#include "data/query_def.h"
#include "data/recordset.h"
#include "data/workspace.h"
#include "host/automation_object.h"

namespace BrevView::detail {

// A control's data-access members.
struct DataAccessState {
    std::shared_ptr<host::IDatabaseSettings> databaseSettings;  // created at initialisation
    std::shared_ptr<data::Workspace> workspace;
    std::shared_ptr<data::Database> database;
    std::shared_ptr<data::QueryDef> query;
    std::shared_ptr<data::Recordset> recordset;
    bool ready = false;  // flat and forecast views: the database is open
};

struct DataAccessTraits {
    const char* workspaceName;     // "FlatView", "ForecastView", "PriorityView"
    const char* setupTraceName;    // "BrevView.FlatView::SetupDataAccess", ...
    const char* cleanupTraceName;  // "BrevView.FlatView::CleanupDataAcess", ...
    bool guardedByReadyFlag;       // flat and forecast views
    bool freshSettingsObject;      // priority view: reads a second "BrevData.Database" of its own
};

// Reads the database settings, creates the thread's engine on first use, a workspace
// named after the control and opens the database with "UID=<user>;PWD=<password>;".
void SetupDataAccess(DataAccessState& state, const DataAccessTraits& traits);
// Closes and releases recordset, query, database and workspace, each when present.
// The ready flag is left as it is.
void CleanupDataAccess(DataAccessState& state, const DataAccessTraits& traits);

// The stored query `name`: looked up with errors ignored, created with `sql` when
// missing; nothing (so that the caller fails with error 91) when creation fails and the
// query is still not to be found.
std::shared_ptr<data::QueryDef> GetStoredQuery(data::Database* database, const QString& name, const QString& sql);

// Opens `query` as a recordset; error 91 when there is no query, as with an object
// variable that is not set.
std::shared_ptr<data::Recordset> OpenQuery(const std::shared_ptr<data::QueryDef>& query, int type);

// The flat view's stored queries.
extern const char* const kFlatViewFromMainName;
extern const char* const kFlatViewFromArchiveName;
QString FlatViewFromMainSql();
QString FlatViewFromArchiveSql();

}  // namespace BrevView::detail
