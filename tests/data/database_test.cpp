#include <sqlite3.h>

#include <QFile>
#include <QStorageInfo>

#include "data/engines/sqlite/sqlite_connection.h"
#include "data_fixture.h"

namespace BrevView::test {
namespace {

using data::dbOpenDynaset;
using data::dbOpenForwardOnly;
using data::dbOpenSnapshot;

TEST_P(DataTest, MissingFileIsError3024NamingTheFileAndCreatesNothing)
{
    const QString missing = TempPath(QStringLiteral("nope.db"));
    try {
        data::Database::Open(missing, QString());
        FAIL() << "opened a missing file";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 3024);
        EXPECT_TRUE(e.description().contains(missing)) << e.description().toStdString();
    }
    EXPECT_FALSE(QFile::exists(missing));
}

TEST_P(DataTest, SQLiteFilesAreReadThroughAMemoryMapOnlyOnLocalFileSystems)
{
    EXPECT_TRUE(data::SqliteConnection::MapsFilesOn("ext4"));
    EXPECT_TRUE(data::SqliteConnection::MapsFilesOn("tmpfs"));
    EXPECT_TRUE(data::SqliteConnection::MapsFilesOn("NTFS"));
    EXPECT_FALSE(data::SqliteConnection::MapsFilesOn("nfs"));
    EXPECT_FALSE(data::SqliteConnection::MapsFilesOn("cifs"));
    EXPECT_FALSE(data::SqliteConnection::MapsFilesOn("fuse.sshfs"));
    EXPECT_FALSE(data::SqliteConnection::MapsFilesOn(""));

    // The test database's own connection follows its file system's type.
    const bool local = data::SqliteConnection::MapsFilesOn(QStorageInfo(path_).fileSystemType());
    sqlite3_stmt* s = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(static_cast<data::SqliteConnection&>(*db_->connection()).handle(), "PRAGMA mmap_size",
                                 -1, &s, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(s), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int64(s, 0), local ? 1073741824 : 0) << QStorageInfo(path_).fileSystemType().constData();
    sqlite3_finalize(s);
}

// A connection that writes keeps room for a refresh's changed pages; one that only reads
// (a read going ahead) keeps SQLite's own page cache, whose size also sets how much of a
// sort is done in memory before its runs are merged, and lets SQLite sort those runs on
// threads of its own.
TEST_P(DataTest, SQLiteConnectionsThatOnlyReadKeepTheEnginesOwnPageCacheAndSortOnTwoThreads)
{
    if (OnPostgreSQL())
        GTEST_SKIP() << "an SQLite file's connections";
    auto pragma = [](sqlite3* db, const char* name) {
        sqlite3_stmt* s = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, (QByteArray("PRAGMA ") + name).constData(), -1, &s, nullptr), SQLITE_OK);
        EXPECT_EQ(sqlite3_step(s), SQLITE_ROW);
        const qint64 pages = sqlite3_column_int64(s, 0);
        sqlite3_finalize(s);
        return pages;
    };
    const auto writer = data::SqliteConnection::Open(path_);
    const auto reader = data::SqliteConnection::Open(path_, true);
    sqlite3* plain = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path_.toUtf8().constData(), &plain, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    const qint64 enginesOwn = pragma(plain, "cache_size");
    sqlite3_close(plain);
    EXPECT_EQ(pragma(writer->handle(), "cache_size"), -65536);
    EXPECT_EQ(pragma(reader->handle(), "cache_size"), enginesOwn);
    EXPECT_NE(enginesOwn, -65536);
    EXPECT_EQ(pragma(writer->handle(), "threads"), 0);
    EXPECT_EQ(pragma(reader->handle(), "threads"), 2);
}

TEST_P(DataTest, FileThatIsNotADatabaseIsError3343)
{
    const QString junk = TempPath(QStringLiteral("junk.db"));
    QFile f(junk);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(QByteArray(4096, 'x'));
    f.close();
    EXPECT_RUNTIME_ERROR(data::Database::Open(junk, QString()), 3343);
}

TEST_P(DataTest, StoredQueryLookupAndCreation)
{
    ForgetStoredQueries(path_);
    EXPECT_RUNTIME_ERROR(db_->QueryDefs(QStringLiteral("Q1")), 3265);
    auto q = db_->CreateQueryDef(QStringLiteral("Q1"), QStringLiteral("SELECT IboID FROM IboMain WHERE IboID = 1;"));
    EXPECT_EQ(q->Name(), QStringLiteral("Q1"));
    auto found = db_->QueryDefs(QStringLiteral("Q1"));
    EXPECT_EQ(found->SQL(), QStringLiteral("SELECT IboID FROM IboMain WHERE IboID = 1;"));
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT Name, SQL FROM BrevQueryDefs")),
              QStringLiteral("Q1|SELECT IboID FROM IboMain WHERE IboID = 1;"));
    EXPECT_RUNTIME_ERROR(db_->CreateQueryDef(QStringLiteral("Q1"), QStringLiteral("SELECT 1")), 3012);
}

TEST_P(DataTest, BrokenQueryTextIsRefusedAndNotStored)
{
    ForgetStoredQueries(path_);
    db_->CreateQueryDef(QStringLiteral("Good"), QStringLiteral("SELECT 1"));
    EXPECT_RUNTIME_ERROR(db_->CreateQueryDef(QStringLiteral("Bad"), QStringLiteral("SELEKT nonsense FROM")), 3129);
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT Name FROM BrevQueryDefs")), QStringLiteral("Good"));
}

TEST_P(DataTest, StoredQueryIsUsedAsItStandsInTheDatabase)
{
    // The server's schema script makes the catalogue with the tables; an SQLite file gets it here.
    if (!OnPostgreSQL())
        Exec(path_,
             QStringLiteral("CREATE TABLE BrevQueryDefs (Name TEXT PRIMARY KEY COLLATE NOCASE, SQL TEXT NOT NULL)"));
    Exec(path_,
         QStringLiteral("INSERT INTO BrevQueryDefs VALUES ('Q', 'SELECT IboNumber FROM IboMain WHERE IboID = 3')"));
    auto rs = db_->QueryDefs(QStringLiteral("q"))->OpenRecordset(dbOpenSnapshot);
    EXPECT_EQ(rs->Field(0).stringValue(), QStringLiteral("A-3"));
}

TEST_P(DataTest, DateComparisonsBehaveAsCalendarDays)
{
    // 17:45 on 10 May 2024 is >= #05/10/2024# and < #05/11/2024#.
    auto rs = db_->OpenRecordset(
        QStringLiteral("SELECT IboID FROM IboMain WHERE DateWWIH >= #05/10/2024# AND DateWWIH < #05/11/2024#"),
        dbOpenSnapshot);
    ASSERT_FALSE(rs->Eof());
    EXPECT_EQ(rs->Field(0).longValue(), 2);
    rs->MoveNext();
    EXPECT_TRUE(rs->Eof());
}

TEST_P(DataTest, SqlDateFunctionReadsTheLibraryClock)
{
    PinToday(2024, 5, 11);
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain WHERE DateWWIH < Date() ORDER BY IboID"),
                                 dbOpenSnapshot);
    QList<int> ids;
    for (; !rs->Eof(); rs->MoveNext())
        ids.append(rs->Field(0).longValue());
    EXPECT_EQ(ids, (QList<int>{2, 4, 5}));
    PinToday(2024, 5, 13);
    rs = db_->OpenRecordset(QStringLiteral("SELECT count(*) FROM IboMain WHERE DateWWIH < Date()"), dbOpenSnapshot);
    EXPECT_EQ(rs->Field(0).longValue(), 5);
}

TEST_P(DataTest, YearAndMonthOfStoredDates)
{
    auto rs = db_->OpenRecordset(
        QStringLiteral("SELECT Year(DateWWIH)*100+Month([DateWWIH]) FROM IboMain WHERE IboID = 2"), dbOpenSnapshot);
    EXPECT_EQ(rs->Field(0).longValue(), 202405);
}

TEST_P(DataTest, TransactionRollbackUndoesWrites)
{
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET IboNumber = 'changed'"));
    db_->Rollback();
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT IboNumber FROM IboMain WHERE IboID = 1")), QStringLiteral("A-1"));
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET IboNumber = 'kept' WHERE IboID = 1"));
    db_->CommitTrans();
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT IboNumber FROM IboMain WHERE IboID = 1")),
              QStringLiteral("kept"));
}

TEST_P(DataTest, WorkspacesCountedPerThreadEngineOnSQLiteWhichIgnoresTheAccount)
{
    auto engine = data::DBEngine::ForThisThread();
    EXPECT_EQ(engine, data::DBEngine::ForThisThread());
    const int before = engine->OpenWorkspaceCount();
    auto ws =
        engine->CreateWorkspace(QStringLiteral("FlatView"), QStringLiteral("u"), QStringLiteral("p"), data::dbUseJet);
    EXPECT_EQ(engine->OpenWorkspaceCount(), before + 1);
    auto db = ws->OpenDatabase(path_, false, false, QStringLiteral("UID=u;PWD=p;"));
    EXPECT_EQ(db->Connect(), QStringLiteral("UID=u;PWD=p;"));
    ws->Close();
    EXPECT_FALSE(db->IsOpen());
    EXPECT_EQ(engine->OpenWorkspaceCount(), before);
}

BREV_ON_BOTH_ENGINES(DataTest);

}  // namespace
}  // namespace BrevView::test
