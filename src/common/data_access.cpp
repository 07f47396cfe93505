#include "common/data_access.h"

#include "automation/runtime_error.h"
#include "common/traced.h"
#include "host/object_factory.h"

namespace BrevView::detail {

const char* const kFlatViewFromMainName = "V21_GetIbosForFlatViewFromMain";
const char* const kFlatViewFromArchiveName = "V21_GetIbosForFlatViewFromArchive";

QString FlatViewFromMainSql()
{
    return QStringLiteral(
               "SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, ") +
           QStringLiteral("DescriptorUwih, Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, ") +
           QStringLiteral("Note ") +
           QStringLiteral("FROM IboMain WHERE ((RecStatusArchive = False) And (RecStatusDelete = False)) ") +
           QStringLiteral("ORDER BY DateWWIH;");
}

QString FlatViewFromArchiveSql()
{
    return QStringLiteral("SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, ") +
           QStringLiteral(
               "DescriptorUwwgi, DescriptorUwih, Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, ") +
           QStringLiteral("Note FROM IboArchive;");
}

void SetupDataAccess(DataAccessState& state, const DataAccessTraits& traits)
{
    Traced(QString::fromLatin1(traits.setupTraceName), [&] {
        if (traits.guardedByReadyFlag && state.ready)
            return;
        std::shared_ptr<host::IDatabaseSettings> settings = state.databaseSettings;
        if (traits.freshSettingsObject)
            settings =
                host::ObjectFactory::CreateAs<host::IDatabaseSettings>(QString::fromLatin1(host::kProgIdDatabase));
        if (!settings)
            automation::Raise(automation::ErrObjectNotSet, QString::fromLatin1(traits.setupTraceName));
        (void)settings->AuxiliaryInfo();  // read, as the product does, and not used
        const QString path = settings->DatabasePath();
        const QString user = settings->UserName();
        const QString password = settings->Password();
        settings.reset();  // the priority view's own object is released right after the reads
        const QString connect =
            QStringLiteral("UID=") + user + QStringLiteral(";PWD=") + password + QStringLiteral(";");
        std::shared_ptr<data::DBEngine> engine = data::DBEngine::ForThisThread();
        state.workspace =
            engine->CreateWorkspace(QString::fromLatin1(traits.workspaceName), user, password, data::dbUseJet);
        state.database = state.workspace->OpenDatabase(path, false, false, connect);
        if (traits.guardedByReadyFlag)
            state.ready = true;
    });
}

void CleanupDataAccess(DataAccessState& state, const DataAccessTraits& traits)
{
    Traced(QString::fromLatin1(traits.cleanupTraceName), [&] {
        if (state.recordset) {
            state.recordset->Close();
            state.recordset.reset();
        }
        if (state.query) {
            state.query->Close();
            state.query.reset();
        }
        if (state.database) {
            state.database->Close();
            state.database.reset();
        }
        if (state.workspace) {
            state.workspace->Close();
            state.workspace.reset();
        }
    });
}

std::shared_ptr<data::QueryDef> GetStoredQuery(data::Database* database, const QString& name, const QString& sql)
{
    std::shared_ptr<data::QueryDef> query;
    // A server session that cannot be opened again (the server down or refusing), or a
    // lookup whose reading failed (a server gone silent, a disk error), is not a missing
    // query: that error reaches the caller instead of "Object variable not set".
    try {
        query = database->QueryDefs(name);
    } catch (const RuntimeError& e) {
        if (e.number() == automation::ErrConnectionFailed || e.number() == automation::ErrDiskIo)
            throw;
    } catch (const std::exception&) {
        // skipped, as an "ignore errors" procedure does
    }
    if (!query)
        IgnoringErrors([&] { query = database->CreateQueryDef(name, sql); });
    // A look-up that met a lock held by another process found nothing although the query
    // exists (its creation then fails for the same reason): look once more before giving up.
    if (!query)
        IgnoringErrors([&] { query = database->QueryDefs(name); });
    return query;
}

std::shared_ptr<data::Recordset> OpenQuery(const std::shared_ptr<data::QueryDef>& query, int type)
{
    if (!query)
        automation::Raise(automation::ErrObjectNotSet);
    return query->OpenRecordset(type);
}

}  // namespace BrevView::detail
