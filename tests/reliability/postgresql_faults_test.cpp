// Faults of a team database on a real PostgreSQL server: accounts, rights, locks held by a
// colleague, TLS, and the server going away and coming back. These concern the server alone
// and run only in the PostgreSQL pass of the suite.

#include <libpq-fe.h>

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <brevview/brevview.h>

#include "common/ibo_schema.h"
#include "data/database.h"
#include "data/recordset.h"
#include "grid/flex_grid.h"
#include "host/mouse_pointer.h"
#include "support/ibo_builder.h"
#include "support/pg_test_server.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

QString ScriptPath()
{
    return QStringLiteral(QT_TESTCASE_SOURCEDIR "/../scripts/pg-test-server");
}

bool RunServerScript(const QString& command, const QString& info)
{
    return QProcess::execute(QStringLiteral("bash"), {ScriptPath(), command, info}) == 0;
}

grid::FlexGrid& GridOf(QWidget& view)
{
    return *view.findChild<grid::FlexGrid*>(QStringLiteral("flexGrid"));
}

class PostgreSQLFaults : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        if (!OnPostgreSQL())
            GTEST_SKIP() << "a PostgreSQL server's faults";
        server_ = PgTestServer::FromEnvironment();
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        UseRecordingTrace();
        PinToday(2024, 5, 10);
    }
    // Won IBOs 1..3 (won on 3 to 5 April 2024, planned for 2030) and open IBO 4.
    void AddWonIbos(const QString& db)
    {
        for (int id = 1; id <= 3; ++id) {
            Exec(db, Ibo::Open(id, QStringLiteral("2030-01-01 00:00:00"))
                         .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2"))
                         .Text(QStringLiteral("DateWonLostCancel"), QStringLiteral("2024-04-0%1 00:00:00").arg(id + 2))
                         .InsertSql());
        }
        Exec(db, Ibo::Open(4, QStringLiteral("2024-06-01 00:00:00")).InsertSql());
    }
    QString WonDatesWritten()
    {
        return QueryText(db_, QStringLiteral("SELECT count(*) FROM IboMain WHERE DateWWIH = DateWonLostCancel"));
    }

    PgTestServer server_;
    QString db_;
};

TEST_F(PostgreSQLFaults, WrongPasswordIsError3029AndNamesNoPassword)
{
    GrantRole(QStringLiteral("brev_sales"), QStringLiteral("right-one"), RoleRights::ReadAndWrite);
    try {
        data::Database::Open(db_, QStringLiteral("UID=brev_sales;PWD=Wr0ng-Pass-8812;"), QStringLiteral("brev_sales"),
                             QStringLiteral("Wr0ng-Pass-8812"));
        ADD_FAILURE() << "a wrong password was accepted";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 3029);
        EXPECT_FALSE(e.description().contains(QStringLiteral("Wr0ng-Pass-8812")));
        EXPECT_TRUE(e.description().contains(QStringLiteral("brevtest"))) << e.description().toStdString();
    }
    // The right one opens it.
    auto db = data::Database::Open(db_, QStringLiteral("UID=brev_sales;PWD=right-one;"), QStringLiteral("brev_sales"),
                                   QStringLiteral("right-one"));
    EXPECT_TRUE(db->IsOpen());
}

TEST_F(PostgreSQLFaults, UnknownDatabaseIsError3024AndTheNextRefreshFindsItOnceMade)
{
    const QString name = QStringLiteral("brev_later_%1").arg(QCoreApplication::applicationPid());
    PgExec(server_.uri, QStringLiteral("DROP DATABASE IF EXISTS %1").arg(name));
    QString later = server_.uri;
    later.replace(QStringLiteral("/brevtest"), QLatin1Char('/') + name);
    qputenv("BREV_DATABASE", later.toLocal8Bit());
    FlatView view;
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3024);
    EXPECT_TRUE(PgExec(server_.uri, QStringLiteral("CREATE DATABASE %1").arg(name)).isEmpty());
    Exec(later, detail::IboSchemaSql(data::Dialect::PostgreSQL));
    Exec(later, Ibo::Open(5, QStringLiteral("2026-03-01 00:00:00")).InsertSql());
    view.Refresh();
    EXPECT_EQ(GridOf(view).Rows(), 2);
    EXPECT_EQ(GridOf(view).TextMatrix(1, 0), QStringLiteral("IBO-5"));
    PgExec(server_.uri, QStringLiteral("DROP DATABASE %1 WITH (FORCE)").arg(name));
}

TEST_F(PostgreSQLFaults, ReadOnlyRoleGetsError3033FromTheWonDateWriteAndNothingIsWritten)
{
    AddWonIbos(db_);
    {
        // An administrator's first refreshes have made the stored queries, which a read-only
        // role could not.
        ForecastView first;
        first.Refresh();
        FlatView firstFlat;
        firstFlat.Refresh();
    }
    Exec(db_, QStringLiteral("UPDATE IboMain SET DateWWIH = '2030-01-01 00:00:00' WHERE DescriptorStatus = 2"));
    GrantRole(QStringLiteral("brev_viewer"), QStringLiteral("look-only"), RoleRights::ReadOnly);
    qputenv("BREV_USER", "brev_viewer");
    qputenv("BREV_PASSWORD", "look-only");
    ForecastView view;
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3033);
    EXPECT_EQ(WonDatesWritten(), QStringLiteral("0"));
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("HANDLE 3033")));
    // The flat and the priority view only read: the same role sees them.
    FlatView flat;
    flat.Refresh();
    EXPECT_EQ(GridOf(flat).Rows(), 5);
}

TEST_F(PostgreSQLFaults, ARowLockedByAColleagueIsError3260AfterABoundedWaitAndNothingIsWritten)
{
    AddWonIbos(db_);
    Exec(db_, QStringLiteral("UPDATE IboMain SET DateWWIH = '2030-01-01 00:00:00' WHERE DescriptorStatus = 2"));
    // A colleague's session holds IBO 2 in an open transaction.
    PGconn* colleague = PQconnectdb(db_.toUtf8().constData());
    ASSERT_EQ(PQstatus(colleague), CONNECTION_OK) << PQerrorMessage(colleague);
    PQclear(PQexec(colleague, "BEGIN"));
    PGresult* locked = PQexec(colleague, "SELECT IboID FROM IboMain WHERE IboID = 2 FOR UPDATE");
    ASSERT_EQ(PQresultStatus(locked), PGRES_TUPLES_OK);
    PQclear(locked);

    ForecastView view;
    QElapsedTimer waited;
    waited.start();
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3260);
    EXPECT_LT(waited.elapsed(), 30000);
    EXPECT_EQ(WonDatesWritten(), QStringLiteral("0"));

    // Once the colleague is done, the next refresh writes them all.
    PQclear(PQexec(colleague, "COMMIT"));
    PQfinish(colleague);
    view.Refresh();
    EXPECT_EQ(WonDatesWritten(), QStringLiteral("3"));
}

TEST_F(PostgreSQLFaults, TableWithoutAKeyIsError3027BeforeAnyWonDateIsWritten)
{
    AddWonIbos(db_);
    Exec(db_, QStringLiteral("UPDATE IboMain SET DateWWIH = '2030-01-01 00:00:00' WHERE DescriptorStatus = 2;"
                             "ALTER TABLE IboMain DROP CONSTRAINT ibomain_pkey"));
    ForecastView view;
    try {
        view.Refresh();
        ADD_FAILURE() << "a keyless table was written";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 3027);
        EXPECT_TRUE(e.description().contains(QStringLiteral("ibomain"), Qt::CaseInsensitive))
            << e.description().toStdString();
    }
    EXPECT_EQ(WonDatesWritten(), QStringLiteral("0"));
}

TEST_F(PostgreSQLFaults, RequiredTlsWorksAndVerifyFullWithAWrongRootCertificateIsError3151)
{
    Exec(db_, Ibo::Open(1, QStringLiteral("2026-03-01 00:00:00")).InsertSql());
    qputenv("BREV_DATABASE", (db_ + QStringLiteral("&sslmode=require")).toLocal8Bit());
    {
        FlatView view;
        view.Refresh();
        EXPECT_EQ(GridOf(view).Rows(), 2);
    }
    // A root certificate that did not sign the server's.
    const QString wrongRoot = TempPath(QStringLiteral("wrong-root.crt"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("openssl"),
                                {QStringLiteral("req"), QStringLiteral("-new"), QStringLiteral("-x509"),
                                 QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-nodes"),
                                 QStringLiteral("-subj"), QStringLiteral("/CN=localhost"), QStringLiteral("-keyout"),
                                 TempPath(QStringLiteral("wrong-root.key")), QStringLiteral("-out"), wrongRoot}),
              0);
    qputenv("BREV_DATABASE", (db_ + QStringLiteral("&sslmode=verify-full&sslrootcert=") + wrongRoot).toLocal8Bit());
    FlatView refused;
    EXPECT_RUNTIME_ERROR(refused.Refresh(), 3151);
    // With the server's own root it verifies.
    qputenv("BREV_DATABASE",
            (db_ + QStringLiteral("&sslmode=verify-full&sslrootcert=") + server_.rootCert).toLocal8Bit());
    FlatView verified;
    verified.Refresh();
    EXPECT_EQ(GridOf(verified).Rows(), 2);
}

// A server of the test's own, to stop and start without disturbing the other tests.
class PostgreSQLServerDown : public PostgreSQLFaults {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        if (!OnPostgreSQL())
            GTEST_SKIP() << "a PostgreSQL server's faults";
        info_ = TempPath(QStringLiteral("own-server.info"));
        ASSERT_TRUE(RunServerScript(QStringLiteral("start"), info_));
        server_ = PgTestServer::FromFile(info_);
        ASSERT_TRUE(server_.valid());
        qputenv("PGPASSFILE", server_.passFile.toUtf8());
        Exec(server_.uri, detail::IboSchemaSql(data::Dialect::PostgreSQL));
        // Through the Unix socket, whose small buffer cannot hold a whole refresh's rows: a
        // read stopped in the middle really meets the closed session.
        db_ = QStringLiteral("postgresql:///brevtest?host=%1&port=%2").arg(server_.dir, server_.port);
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        UseRecordingTrace();
        PinToday(2024, 5, 10);
    }
    void TearDown() override
    {
        data::SetRowHookForTesting({});
        if (!info_.isEmpty())
            RunServerScript(QStringLiteral("stop"), info_);
        TestEnv::TearDown();
    }
    void AddOpenIbos(int count)
    {
        Exec(db_,
             QStringLiteral(
                 "INSERT INTO IboMain SELECT g, 'IBO-' || g, timestamp '2024-06-01' + (g % 300) * interval '1 day', "
                 "'First' || g, 'Last' || g, 'Company' || g, 1, 1, 1 + g % 3, 1, 'Widget~Gadget', 1000 + g, 0, "
                 "timestamp '2024-01-01', NULL, 'note ' || g, false, false FROM generate_series(1, %1) g")
                 .arg(count));
    }

    QString info_;
};

TEST_F(PostgreSQLServerDown, ServerStoppedIsError3151AndTheFirstRefreshAfterItsReturnWorks)
{
    AddOpenIbos(3);
    PriorityView view;
    view.Refresh();
    const int rows = GridOf(view).Rows();
    ASSERT_TRUE(RunServerScript(QStringLiteral("halt"), info_));
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3151);
    EXPECT_EQ(host::ScreenMousePointer::Get(), 0);
    ASSERT_TRUE(RunServerScript(QStringLiteral("resume"), info_));
    // The same control, not made again: its session is opened anew.
    view.Refresh();
    EXPECT_EQ(GridOf(view).Rows(), rows);
}

TEST_F(PostgreSQLServerDown, ServerStoppedInTheMiddleOfARefreshIsError3043AndKeepsTheRowsReadSoFar)
{
    AddOpenIbos(30000);
    FlatView view;
    int seen = 0;
    const QString info = info_;
    data::SetRowHookForTesting([&seen, info] {
        if (++seen == 10)
            RunServerScript(QStringLiteral("halt"), info);
    });
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3043);
    data::SetRowHookForTesting({});
    const int filled = GridOf(view).Rows();
    EXPECT_GE(filled, 10);
    EXPECT_LT(filled, 30001);
    EXPECT_EQ(host::ScreenMousePointer::Get(), 0);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("HANDLE 3043")));

    ASSERT_TRUE(RunServerScript(QStringLiteral("resume"), info_));
    view.Refresh();
    EXPECT_EQ(GridOf(view).Rows(), 30001);
}

TEST_F(PostgreSQLServerDown, AWatcherReconnectsAfterARestartAndReportsWhatChangedMeanwhile)
{
    AddOpenIbos(3);
    ChangeWatcher watcher;
    QSignalSpy active(&watcher, &ChangeWatcher::activeChanged);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    QSignalSpy errors(&watcher, &ChangeWatcher::ErrorRaised);
    ASSERT_TRUE(watcher.start());
    ASSERT_TRUE(active.wait(10000));
    ASSERT_TRUE(watcher.isActive());

    ASSERT_TRUE(RunServerScript(QStringLiteral("halt"), info_));
    // The closed session is noticed from its socket, not by asking.
    if (watcher.isActive()) {
        ASSERT_TRUE(active.wait(10000));
    }
    EXPECT_FALSE(watcher.isActive());
    ASSERT_GE(errors.count(), 1);
    EXPECT_EQ(errors.first().at(0).toInt(), 3043);
    ASSERT_TRUE(RunServerScript(QStringLiteral("resume"), info_));
    // A colleague is quicker than the watcher's next attempt.
    Exec(db_, QStringLiteral("UPDATE IboMain SET IboValueNumeric = 5 WHERE IboID = 1"));
    QElapsedTimer clock;
    clock.start();
    while (!watcher.isActive() && clock.elapsed() < 20000)
        QTest::qWait(50);
    ASSERT_TRUE(watcher.isActive());
    // The change made while it was away is reported ...
    EXPECT_TRUE(changed.count() >= 1 || changed.wait(3000));
    // ... and it listens again.
    QTest::qWait(1100);
    changed.clear();
    Exec(db_, QStringLiteral("UPDATE IboMain SET IboValueNumeric = 6 WHERE IboID = 1"));
    EXPECT_TRUE(changed.wait(2000));
}

}  // namespace
}  // namespace BrevView::test
