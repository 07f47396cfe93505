#include <QFile>

#include "common/data_access.h"
#include "host/object_factory.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using detail::DataAccessState;
using detail::DataAccessTraits;

const DataAccessTraits kFlat{"FlatView", "BrevView.FlatView::SetupDataAccess", "BrevView.FlatView::CleanupDataAcess",
                             true, false};
const DataAccessTraits kPriority{"PriorityView", "BrevView.PriorityView::SetupDataAccess",
                                 "BrevView.PriorityView::CleanupDataAccess", false, true};

class FixedDatabaseSettings : public host::IDatabaseSettings {
public:
    FixedDatabaseSettings(QString path, QString user, QString password, QStringList* reads)
        : path_(std::move(path)),
          user_(std::move(user)),
          password_(std::move(password)),
          reads_(reads)
    {}
    QString DatabasePath() override
    {
        reads_->append(QStringLiteral("DatabasePath"));
        return path_;
    }
    QString AuxiliaryInfo() override
    {
        reads_->append(QStringLiteral("AuxiliaryInfo"));
        return QStringLiteral("aux");
    }
    QString UserName() override
    {
        reads_->append(QStringLiteral("UserName"));
        return user_;
    }
    QString Password() override
    {
        reads_->append(QStringLiteral("Password"));
        return password_;
    }

private:
    QString path_, user_, password_;
    QStringList* reads_;
};

class DataAccessTest : public TestEnv, public OnBothEngines {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        path_ = CreateIboDatabase();
    }
    DataAccessState StateFor(const QString& path, const QString& user = QString(), const QString& password = QString())
    {
        DataAccessState s;
        s.databaseSettings = std::make_shared<FixedDatabaseSettings>(path, user, password, &reads_);
        return s;
    }
    QString path_;
    QStringList reads_;
};

TEST_P(DataAccessTest, SetupReadsTheSettingsInOrderAndOpensTheDatabase)
{
    RecordingTrace& t = UseRecordingTrace();
    // On a server the account is real: ann signs in with her password.
    GrantRole(QStringLiteral("ann"), QStringLiteral("pw"), RoleRights::ReadAndWrite);
    DataAccessState s = StateFor(path_, QStringLiteral("ann"), QStringLiteral("pw"));
    detail::SetupDataAccess(s, kFlat);
    EXPECT_EQ(reads_, (QStringList{QStringLiteral("AuxiliaryInfo"), QStringLiteral("DatabasePath"),
                                   QStringLiteral("UserName"), QStringLiteral("Password")}));
    ASSERT_TRUE(s.database);
    EXPECT_TRUE(s.ready);
    EXPECT_EQ(s.workspace->Name(), QStringLiteral("FlatView"));
    EXPECT_EQ(s.workspace->UserName(), QStringLiteral("ann"));
    EXPECT_EQ(s.workspace->Type(), data::dbUseJet);
    EXPECT_EQ(s.database->Connect(), QStringLiteral("UID=ann;PWD=pw;"));
    EXPECT_EQ(t.lines, (QStringList{QStringLiteral("ENTER BrevView.FlatView::SetupDataAccess"),
                                    QStringLiteral("EXIT BrevView.FlatView::SetupDataAccess")}));
}

TEST_P(DataAccessTest, EmptyCredentialsGiveTheBareConnectString)
{
    UseRecordingTrace();
    DataAccessState s = StateFor(path_);
    detail::SetupDataAccess(s, kFlat);
    EXPECT_EQ(s.database->Connect(), QStringLiteral("UID=;PWD=;"));
}

TEST_P(DataAccessTest, SecondSetupOfAReadyViewOpensNoSecondWorkspace)
{
    UseRecordingTrace();
    DataAccessState s = StateFor(path_);
    const int before = data::DBEngine::ForThisThread()->OpenWorkspaceCount();
    detail::SetupDataAccess(s, kFlat);
    auto first = s.workspace;
    detail::SetupDataAccess(s, kFlat);
    EXPECT_EQ(s.workspace, first);
    EXPECT_EQ(data::DBEngine::ForThisThread()->OpenWorkspaceCount(), before + 1);
    detail::CleanupDataAccess(s, kFlat);
}

TEST_P(DataAccessTest, MissingSQLiteFileFailsWithItsErrorAndLeavesTheViewNotReady)
{
    RecordingTrace& t = UseRecordingTrace();
    DataAccessState s = StateFor(TempPath(QStringLiteral("missing.db")));
    EXPECT_RUNTIME_ERROR(detail::SetupDataAccess(s, kFlat), 3024);
    EXPECT_FALSE(s.ready);
    EXPECT_TRUE(s.workspace);  // assigned before the failure, kept
    EXPECT_FALSE(s.database);
    EXPECT_EQ(t.lines.last(), QStringLiteral("HANDLE 3024"));
    // Once the file is there, the next attempt runs the whole sequence again.
    QFile::copy(path_, TempPath(QStringLiteral("missing.db")));
    detail::SetupDataAccess(s, kFlat);
    EXPECT_TRUE(s.ready);
}

TEST_P(DataAccessTest, PriorityViewReadsAFreshSettingsObjectOfItsOwn)
{
    UseRecordingTrace();
    int created = 0;
    QStringList freshReads;
    const QString path = path_;
    host::ObjectFactory::Register(QStringLiteral("BrevData.Database"), [&, path] {
        ++created;
        return std::make_shared<FixedDatabaseSettings>(path, QString(), QString(), &freshReads);
    });
    DataAccessState s = StateFor(TempPath(QStringLiteral("not-this-one.db")));
    detail::SetupDataAccess(s, kPriority);
    EXPECT_EQ(created, 1);
    EXPECT_TRUE(reads_.isEmpty());
    EXPECT_EQ(freshReads.size(), 4);
    EXPECT_TRUE(s.database);
    EXPECT_FALSE(s.ready);  // the priority view keeps no ready flag
}

TEST_P(DataAccessTest, CleanupClosesInOrderUnderItsTraceName)
{
    RecordingTrace& t = UseRecordingTrace();
    DataAccessState s = StateFor(path_);
    detail::SetupDataAccess(s, kFlat);
    s.query = detail::GetStoredQuery(s.database.get(), QString::fromLatin1(detail::kFlatViewFromMainName),
                                     detail::FlatViewFromMainSql());
    s.recordset = detail::OpenQuery(s.query, data::dbOpenSnapshot);
    auto rs = s.recordset;
    auto db = s.database;
    t.lines.clear();
    detail::CleanupDataAccess(s, kFlat);
    EXPECT_FALSE(rs->IsOpen());
    EXPECT_FALSE(db->IsOpen());
    EXPECT_FALSE(s.recordset || s.query || s.database || s.workspace);
    EXPECT_TRUE(s.ready);
    EXPECT_EQ(t.lines, (QStringList{QStringLiteral("ENTER BrevView.FlatView::CleanupDataAcess"),
                                    QStringLiteral("EXIT BrevView.FlatView::CleanupDataAcess")}));
}

TEST_P(DataAccessTest, FlatViewQueriesHaveTheirExactTexts)
{
    EXPECT_EQ(
        detail::FlatViewFromMainSql(),
        QStringLiteral(
            "SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
            "Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, Note FROM IboMain WHERE ((RecStatusArchive = "
            "False) And (RecStatusDelete = False)) ORDER BY DateWWIH;"));
    EXPECT_EQ(
        detail::FlatViewFromArchiveSql(),
        QStringLiteral(
            "SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
            "Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, Note FROM IboArchive;"));
}

TEST_P(DataAccessTest, MissingStoredQueryIsCreatedOnceAndFoundLater)
{
    ForgetStoredQueries(path_);
    UseRecordingTrace();
    DataAccessState s = StateFor(path_);
    detail::SetupDataAccess(s, kFlat);
    const QString name = QString::fromLatin1(detail::kFlatViewFromMainName);
    auto q = detail::GetStoredQuery(s.database.get(), name, detail::FlatViewFromMainSql());
    ASSERT_TRUE(q);
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT count(*) FROM BrevQueryDefs")), QStringLiteral("1"));
    // Another control instance finds it (and does not store it again).
    DataAccessState other = StateFor(path_);
    detail::SetupDataAccess(other, kFlat);
    auto again = detail::GetStoredQuery(other.database.get(), name, QStringLiteral("SELECT 'different text'"));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->SQL(), detail::FlatViewFromMainSql());
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT count(*) FROM BrevQueryDefs")), QStringLiteral("1"));
}

TEST_P(DataAccessTest, QueryThatCannotBeCreatedSurfacesAsError91)
{
    UseRecordingTrace();
    DataAccessState s = StateFor(path_);
    detail::SetupDataAccess(s, kFlat);
    auto q = detail::GetStoredQuery(s.database.get(), QStringLiteral("Broken"), QStringLiteral("SELECT FROM WHERE"));
    EXPECT_FALSE(q);
    EXPECT_RUNTIME_ERROR(detail::OpenQuery(q, data::dbOpenSnapshot), 91);
}

TEST_P(DataAccessTest, FlatMainQueryListsLiveRowsByDateAndArchiveListsEveryRow)
{
    UseRecordingTrace();
    Exec(
        path_,
        QStringLiteral(
            "INSERT INTO IboMain (IboID, DateWWIH, RecStatusArchive, RecStatusDelete) VALUES "
            "(1, '2024-05-03 00:00:00', '0', '0'), (2, '2024-05-01 00:00:00', '0', '0'), (3, '2024-05-02 00:00:00', '1', '0'),"
            "(4, '2024-04-30 00:00:00', '0', '1');"
            "INSERT INTO IboArchive (IboID, RecStatusArchive, RecStatusDelete) VALUES (7, '1', '1'), (8, '0', '0')"));
    DataAccessState s = StateFor(path_);
    detail::SetupDataAccess(s, kFlat);
    auto main =
        detail::OpenQuery(detail::GetStoredQuery(s.database.get(), QString::fromLatin1(detail::kFlatViewFromMainName),
                                                 detail::FlatViewFromMainSql()),
                          data::dbOpenSnapshot);
    QList<int> ids;
    for (; !main->Eof(); main->MoveNext())
        ids.append(main->Field(0).longValue());
    EXPECT_EQ(ids, (QList<int>{2, 1}));
    auto archive = detail::OpenQuery(detail::GetStoredQuery(s.database.get(),
                                                            QString::fromLatin1(detail::kFlatViewFromArchiveName),
                                                            detail::FlatViewFromArchiveSql()),
                                     data::dbOpenSnapshot);
    EXPECT_EQ(archive->FieldCount(), 13);
    archive->MoveLast();
    EXPECT_EQ(archive->RecordCount(), 2);
}

BREV_ON_BOTH_ENGINES(DataAccessTest);

}  // namespace
}  // namespace BrevView::test
