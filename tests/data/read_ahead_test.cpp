#include "data/read_ahead.h"
#include "automation/conversions.h"
#include "automation/runtime_error.h"
#include "data_fixture.h"
#include "support/memory_in_use.h"

namespace BrevView::test {
namespace {

using data::dbOpenForwardOnly;
using data::dbOpenSnapshot;
using data::ReadAhead;

// A long read goes ahead on a thread of its own: on an SQLite file through a second, read-only
// connection to the file (not once the caller's transaction has written); on a server from
// the caller's own session, for forward-only reads.
class ReadAheadTest : public DataTest {
protected:
    void SetUp() override
    {
        DataTest::SetUp();
        // 20,000 IBOs more (ids 6 to 20005): many batches of rows.
        Exec(path_,
             QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 6 UNION ALL SELECT i + 1 FROM n WHERE i < 20005) "
                            "INSERT INTO IboMain (IboID, IboNumber, DateWWIH, ConLastName, DescriptorStatus, "
                            "IboValueNumeric, RecStatusArchive, RecStatusDelete) "
                            "SELECT i, 'B-' || i, '2025-01-01 00:00:00', 'Name ' || i, 1, i * 10, '0', '0' FROM n"));
    }

    static constexpr int kRows = 20005;
};

// What only an SQLite file's reading connection does: read ahead at the start of a
// transaction, and hold the file's read lock while it reads.
class SqliteReadAheadTest : public ReadAheadTest {
protected:
    void SetUp() override
    {
        if (OnPostgreSQL())
            GTEST_SKIP() << "an SQLite file's reading connection";
        ReadAheadTest::SetUp();
    }
};

QString Text(data::Recordset& rs, int field)
{
    return automation::ToText(rs.Field(field));
}

TEST_P(ReadAheadTest, ALongReadOutsideATransactionGoesAheadOnAThreadAndGivesEveryRowInOrder)
{
    for (const int type : {dbOpenForwardOnly, dbOpenSnapshot}) {
        const quint64 before = ReadAhead::StartedOnThisThread();
        auto rs = db_->OpenRecordset(
            QStringLiteral("SELECT IboID, IboNumber, ConLastName, IboValueNumeric FROM IboMain ORDER BY IboID"), type);
        int expected = 1;
        for (; !rs->Eof(); rs->MoveNext(), ++expected) {
            ASSERT_EQ(rs->Field(0).longValue(), expected);
            if (expected >= 6) {
                const char* text = nullptr;
                int length = 0;
                ASSERT_TRUE(rs->FieldUtf8(1, &text, &length));
                ASSERT_EQ(QString::fromUtf8(text, length), QStringLiteral("B-%1").arg(expected));
                ASSERT_EQ(Text(*rs, 2), QStringLiteral("Name %1").arg(expected));
                ASSERT_EQ(rs->Field(3).longValue(), expected * 10);
            }
        }
        EXPECT_EQ(expected, kRows + 1);
        EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + (OnPostgreSQL() && type == dbOpenSnapshot ? 0 : 1));
        EXPECT_RUNTIME_ERROR(rs->Field(0), 3021);
    }
}

TEST_P(ReadAheadTest, InsideATransactionTheReadSeesTheConnectionsOwnUncommittedWrite)
{
    const quint64 before = ReadAhead::StartedOnThisThread();
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET ConLastName = 'Changed' WHERE IboID = 2"));
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 2"), dbOpenSnapshot);
    EXPECT_EQ(Text(*rs, 0), QStringLiteral("Changed"));
    rs->Close();
    db_->Rollback();
    // An SQLite file's reading connection would not see the write: the caller's own
    // connection read (as a server's session reads a snapshot).
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before);
    auto after = db_->OpenRecordset(QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 2"), dbOpenSnapshot);
    EXPECT_EQ(Text(*after, 0), QStringLiteral("Adams"));
}

TEST_F(SqliteReadAheadTest, ADynasetReadAtTheStartOfATransactionGoesAheadAndItsUpdatesCommit)
{
    const quint64 before = ReadAhead::StartedOnThisThread();
    db_->BeginTrans();
    auto rs =
        db_->OpenRecordset(QStringLiteral("SELECT IboID, ConLastName FROM IboMain WHERE IboID >= 20000 ORDER BY IboID"),
                           data::dbOpenDynaset);
    EXPECT_EQ(rs->RecordCount(), kRows - 20000 + 1);
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + 1);
    for (; !rs->Eof(); rs->MoveNext()) {
        rs->Edit();
        rs->SetField(1, automation::Variant(QStringLiteral("Won %1").arg(rs->Field(0).longValue())));
        rs->Update();
    }
    // After a write, a read in the same transaction comes from this connection and sees it.
    auto again =
        db_->OpenRecordset(QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 20005"), data::dbOpenDynaset);
    EXPECT_EQ(Text(*again, 0), QStringLiteral("Won 20005"));
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + 1);
    db_->CommitTrans();
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 20003")),
              QStringLiteral("Won 20003"));
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT count(*) FROM IboMain WHERE ConLastName LIKE 'Won %'")),
              QStringLiteral("6"));
}

// The cells of a read are copied out of the statement a row at a time (into a batch when the
// read goes ahead, into the recordset's current row when it is read on the caller's thread,
// into its kept rows for a dynaset): every kind (none, a number, a real, an empty, short, long
// or non-ASCII text) reads as it was stored, across many batches and past the room the first
// rows' texts had.
TEST_P(ReadAheadTest, EveryKindOfCellCopiedOutOfAStatementReadsAsStoredWhereverItIsRead)
{
    const bool server = OnPostgreSQL();
    Exec(path_,
         server ? QStringLiteral(
                      "CREATE TABLE Cells (Id integer PRIMARY KEY, N bigint, R double precision, T text, V numeric)")
                : QStringLiteral("CREATE TABLE Cells (Id INTEGER PRIMARY KEY, N INTEGER, R REAL, T TEXT, V NUMERIC)"));
    Exec(path_,
         QStringLiteral(
             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
             "INSERT INTO Cells (Id, N, R, T, V) SELECT i, CASE WHEN i % 7 = 0 THEN NULL ELSE i * 3 END, i + 0.25, "
             "CASE WHEN i % 13 = 0 THEN NULL "
             "WHEN i % 11 = 0 THEN '\u00e9' || substr('abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN', 1, i % 40) "
             "ELSE substr('abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN', 1, i % 40) END, "
             "CASE WHEN i % 2 = 0 THEN i * 100 ELSE i + 0.5 END FROM n"));
    Exec(path_,
         server ? QStringLiteral("UPDATE Cells SET T = repeat('long', 80000) WHERE Id = 1500")
                : QStringLiteral("UPDATE Cells SET T = replace(hex(zeroblob(80000)), '00', 'long') WHERE Id = 1500"));
    const QString letters = QStringLiteral("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN");
    auto readAll = [&](int type) {
        auto rs = db_->OpenRecordset(QStringLiteral("SELECT Id, N, R, T, V FROM Cells ORDER BY Id"), type);
        int i = 1;
        for (; !rs->Eof(); rs->MoveNext(), ++i) {
            ASSERT_EQ(rs->Field(0).longValue(), i);
            if (i % 7 == 0) {
                ASSERT_EQ(rs->Field(1).type(), automation::VarType::Null) << i;
            } else {
                ASSERT_EQ(rs->Field(1).longValue(), i * 3) << i;
            }
            ASSERT_EQ(rs->Field(2).doubleValue(), i + 0.25) << i;
            if (i % 2 == 0) {
                ASSERT_EQ(rs->Field(4).longValue(), i * 100) << i;
            } else {
                ASSERT_EQ(rs->Field(4).doubleValue(), i + 0.5) << i;
            }
            const char* text = nullptr;
            int length = 0;
            if (i % 13 == 0) {
                ASSERT_EQ(rs->Field(3).type(), automation::VarType::Null) << i;
                ASSERT_FALSE(rs->FieldUtf8(3, &text, &length)) << i;
                continue;
            }
            const QString expected = i == 1500     ? QStringLiteral("long").repeated(80000)
                                     : i % 11 == 0 ? QStringLiteral("\u00e9") + letters.left(i % 40)
                                                   : letters.left(i % 40);
            ASSERT_TRUE(rs->FieldUtf8(3, &text, &length)) << i;
            ASSERT_EQ(QString::fromUtf8(text, length), expected) << i;
            ASSERT_EQ(Text(*rs, 3), expected) << i;
        }
        EXPECT_EQ(i, 3001);
    };
    for (const int type : {dbOpenForwardOnly, dbOpenSnapshot}) {
        const quint64 before = ReadAhead::StartedOnThisThread();
        readAll(type);
        EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + (server && type == dbOpenSnapshot ? 0 : 1));
    }
    // Inside a transaction that has written, every read is made on the caller's thread.
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET ConLastName = 'Changed' WHERE IboID = 2"));
    const quint64 before = ReadAhead::StartedOnThisThread();
    for (const int type : {dbOpenSnapshot, data::dbOpenDynaset})
        readAll(type);
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before);
    db_->Rollback();
}

TEST_P(ReadAheadTest, AnErrorHalfwayComesAfterEveryRowBeforeItWithTheSameNumberAsWithoutReadingAhead)
{
    Exec(path_, QStringLiteral("CREATE TABLE Numbers (k INTEGER, v BIGINT)"));
    Exec(path_,
         QStringLiteral(
             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
             "INSERT INTO Numbers SELECT i, CASE WHEN i = 3000 THEN -9223372036854775807 - 1 ELSE i END FROM n"));
    // abs() of the smallest integer overflows: the engine fails the statement at that row (the
    // table is read in the order its rows were written, without a sort that would meet it first).
    const QString sql = QStringLiteral("SELECT k, abs(v) FROM Numbers");
    auto readUntilTheError = [&](int* rows, qint32* number) {
        auto rs = db_->OpenRecordset(sql, dbOpenForwardOnly);
        *rows = 0;
        try {
            for (; !rs->Eof(); rs->MoveNext()) {
                EXPECT_EQ(rs->Field(0).longValue(), *rows + 1);
                ++*rows;
            }
        } catch (const RuntimeError& e) {
            *number = e.number();
        }
        // The read is over: the record the failed move left behind is no longer held, and
        // asking for its fields is the no-current-record error, not a read of freed rows.
        EXPECT_RUNTIME_ERROR(rs->Field(0), 3021);
        const char* text = nullptr;
        int length = 0;
        EXPECT_RUNTIME_ERROR(rs->FieldUtf8(0, &text, &length), 3021);
    };
    const quint64 before = ReadAhead::StartedOnThisThread();
    int aheadRows = 0, ownRows = 0;
    qint32 aheadError = 0, ownError = 0;
    readUntilTheError(&aheadRows, &aheadError);
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + 1);
    // After a write in a transaction, an SQLite file's own connection reads (a server's
    // session reads ahead all the same).
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET ConLastName = ConLastName WHERE IboID = 1"));
    readUntilTheError(&ownRows, &ownError);
    db_->Rollback();
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + (OnPostgreSQL() ? 2 : 1));
    EXPECT_EQ(aheadRows, 2999);
    EXPECT_EQ(ownRows, 2999);
    EXPECT_NE(aheadError, 0);
    EXPECT_EQ(aheadError, ownError);
}

TEST_P(ReadAheadTest, ARecordsetLetGoHalfwayStopsItsReaderAndTheNextReadGoesAheadAgain)
{
    const QString sql = QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID");
    const quint64 before = ReadAhead::StartedOnThisThread();
    {
        auto closed = db_->OpenRecordset(sql, dbOpenForwardOnly);
        for (int i = 0; i < 10; ++i)
            closed->MoveNext();
        EXPECT_EQ(closed->Field(0).longValue(), 11);
        closed->Close();
        auto dropped = db_->OpenRecordset(sql, dbOpenSnapshot);
        dropped->MoveNext();
        EXPECT_EQ(dropped->Field(0).longValue(), 2);
    }  // dropped goes without Close, its reader still running ahead
    auto whole = db_->OpenRecordset(sql, dbOpenForwardOnly);
    int n = 0;
    for (; !whole->Eof(); whole->MoveNext())
        ++n;
    EXPECT_EQ(n, kRows);
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + (OnPostgreSQL() ? 2 : 3));
}

TEST_P(ReadAheadTest, GoingBackInASnapshotReadsItAgainFromTheStartAndStaysOnTheSameRecord)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID, IboNumber FROM IboMain ORDER BY IboID"), dbOpenSnapshot);
    for (int i = 0; i < 5000; ++i)
        rs->MoveNext();
    EXPECT_EQ(rs->Field(0).longValue(), 5001);
    rs->MovePrevious();
    EXPECT_EQ(rs->Field(0).longValue(), 5000);
    EXPECT_EQ(Text(*rs, 1), QStringLiteral("B-5000"));
    rs->MoveLast();
    EXPECT_EQ(rs->Field(0).longValue(), kRows);
    EXPECT_EQ(rs->RecordCount(), kRows);
    rs->MoveFirst();
    EXPECT_EQ(Text(*rs, 1), QStringLiteral("A-1"));
}

TEST_F(SqliteReadAheadTest, ACommitWhileAReadStillGoesAheadWaitsForItAndFailsWithTheLockedErrorInsteadOfHanging)
{
    // The reading connection's read lock keeps the commit out until the read ends; a caller
    // reads to the end (or closes the recordset) before it writes.
    auto reading = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID"), dbOpenForwardOnly);
    reading->MoveNext();
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET ConLastName = 'Late' WHERE IboID = 7"));
    EXPECT_RUNTIME_ERROR(db_->CommitTrans(), automation::ErrLocked);
    db_->Rollback();
    reading->Close();
    db_->BeginTrans();
    db_->Execute(QStringLiteral("UPDATE IboMain SET ConLastName = 'Late' WHERE IboID = 7"));
    db_->CommitTrans();
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 7")),
              QStringLiteral("Late"));
}

TEST_P(ReadAheadTest, TwoReadsAtOnceOnOneConnectionEachGiveTheirOwnRows)
{
    const quint64 before = ReadAhead::StartedOnThisThread();
    auto up = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID"), dbOpenForwardOnly);
    auto down = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID DESC"), dbOpenForwardOnly);
    for (int i = 1; i <= kRows; ++i) {
        ASSERT_FALSE(up->Eof());
        ASSERT_FALSE(down->Eof());
        ASSERT_EQ(up->Field(0).longValue(), i);
        ASSERT_EQ(down->Field(0).longValue(), kRows + 1 - i);
        up->MoveNext();
        down->MoveNext();
    }
    EXPECT_TRUE(up->Eof());
    EXPECT_TRUE(down->Eof());
    // An SQLite file has one reading connection per connection: the first read took it, the
    // second read itself. On a server both read ahead from the one session: the second to
    // start took it back, and the first went on with the rows it was left to keep.
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + (OnPostgreSQL() ? 2 : 1));
}

TEST_P(ReadAheadTest, OnAServerAReadGoesAheadFromTheCallersOwnSessionAndSeesItsTemporaryTable)
{
    if (!OnPostgreSQL())
        GTEST_SKIP() << "a server session's temporary table";
    const QString sql = QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 1");
    const quint64 before = ReadAhead::StartedOnThisThread();
    // A temporary table of the same name is found first, by this session alone.
    db_->Execute(QStringLiteral("CREATE TEMP TABLE IboMain (IboID integer, ConLastName text)"));
    db_->Execute(QStringLiteral("INSERT INTO IboMain (IboID, ConLastName) VALUES (1, 'Elsewhere')"));
    for (const auto type : {dbOpenForwardOnly, dbOpenSnapshot, data::dbOpenDynaset}) {
        auto rs = db_->OpenRecordset(sql, type);
        EXPECT_EQ(Text(*rs, 0), QStringLiteral("Elsewhere"));
    }
    // The forward-only read went ahead.
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + 1);
}

TEST_P(ReadAheadTest, OnAServerAForwardOnlyReadGoesAheadOnTheStatementItPreparedAndPreparesNoOther)
{
    if (!OnPostgreSQL())
        GTEST_SKIP() << "a server session's prepared statements";
    // The statements this session holds prepared on the server (the count's own among them).
    auto prepared = [&] {
        auto rs = db_->OpenRecordset(QStringLiteral("SELECT count(*) FROM pg_prepared_statements"), dbOpenSnapshot);
        return rs->Field(0).longValue();
    };
    const qint32 alone = prepared();
    ASSERT_EQ(prepared(), alone);
    const quint64 before = ReadAhead::StartedOnThisThread();
    auto reading = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID"), dbOpenForwardOnly);
    ASSERT_FALSE(reading->Eof());
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + 1);
    EXPECT_EQ(prepared(), alone + 1);
    int n = 0;
    for (; !reading->Eof(); reading->MoveNext())
        ASSERT_EQ(reading->Field(0).longValue(), ++n);
    EXPECT_EQ(n, kRows);
}

TEST_P(ReadAheadTest, OnAServerAStatementRunWhileAReadGoesAheadTakesTheSessionAndTheReadStillGivesEveryRow)
{
    // (On an SQLite file the write would wait for the reading connection's lock: see
    // ACommitWhileAReadStillGoesAhead... above.)
    if (!OnPostgreSQL())
        GTEST_SKIP() << "one server session shared by a read and the statements run meanwhile";
    const quint64 before = ReadAhead::StartedOnThisThread();
    auto reading = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID"), dbOpenForwardOnly);
    int n = 0;
    for (; !reading->Eof(); reading->MoveNext()) {
        ASSERT_EQ(reading->Field(0).longValue(), ++n);
        if (n % 5000 == 1) {
            // Written and read back on the same connection while the long read goes on.
            db_->Execute(QStringLiteral("UPDATE IboMain SET ConLastName = 'Seen %1' WHERE IboID = 2").arg(n));
            auto one =
                db_->OpenRecordset(QStringLiteral("SELECT ConLastName FROM IboMain WHERE IboID = 2"), dbOpenSnapshot);
            ASSERT_EQ(Text(*one, 0), QStringLiteral("Seen %1").arg(n));
        }
    }
    EXPECT_EQ(n, kRows);
    // The long read went ahead; the snapshots read meanwhile did not.
    EXPECT_EQ(ReadAhead::StartedOnThisThread(), before + 1);
}

TEST_P(ReadAheadTest, AReaderThatFindsNoRoomForABatchEndsTheReadWithAnErrorInsteadOfTheProcess)
{
#if defined(BREV_UNDER_ADDRESS_SANITIZER)
    GTEST_SKIP() << "AddressSanitizer stops the process on an allocation this size instead of failing it";
#else
    std::unique_ptr<data::Statement> stmt = db_->connection()->Prepare(QStringLiteral("SELECT IboID FROM IboMain"));
    // A batch of a billion columns a row cannot be made.
    ReadAhead ahead(std::move(stmt), 1 << 30);
    EXPECT_THROW(ahead.Next(), std::exception);
    EXPECT_FALSE(ahead.Next());
#endif
}

BREV_ON_BOTH_ENGINES(ReadAheadTest);

}  // namespace
}  // namespace BrevView::test
