// ChangeWatcher: what a window learns when a colleague, another process or this one, commits
// a change to the IBO tables; on both engines. Times here are bounds a user would notice
// (a colleague's edit seen within two seconds), not measurements.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <brevview/change_watcher.h>
#include <brevview/forecast_view.h>

#include "data/engine.h"
#include "support/child_process.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

// Child mode "commit COUNT SPREAD_MS": COUNT commits, each raising IBO 1's value by one,
// spread evenly over SPREAD_MS, on a connection of its own to $BREV_DATABASE.
int CommitChild(const QStringList& args)
{
    const int count = args.value(0).toInt();
    const int spreadMs = args.value(1).toInt();
    std::shared_ptr<data::Connection> c = data::OpenConnection(qEnvironmentVariable("BREV_DATABASE"), {}, {});
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < count; ++i) {
        c->Execute(QStringLiteral("UPDATE IboMain SET IboValueNumeric = IboValueNumeric + 1 WHERE IboID = 1"));
        const qint64 due = count > 1 ? qint64(spreadMs) * (i + 1) / count : 0;
        if (due > clock.elapsed())
            QThread::msleep(quint64(due - clock.elapsed()));
    }
    printf("committed %d in %lld ms\n", count, static_cast<long long>(clock.elapsed()));
    return 0;
}
const ChildRegistration commitChild{"commit", CommitChild};

// Child mode "follow-forecast SECONDS": a window with a forecast view that refreshes whenever
// its watcher says the IBOs changed, as a host would; prints "ready" after its first refresh
// and "refresh" after each later one.
int FollowForecastChild(const QStringList& args)
{
    ForecastView view;
    view.setShowWonIBOs(true);
    ChangeWatcher watcher;
    QObject::connect(&watcher, &ChangeWatcher::IbosChanged, &view, [&view] {
        view.Refresh();
        printf("refresh\n");
        fflush(stdout);
    });
    view.Refresh();
    watcher.start();
    QElapsedTimer clock;
    clock.start();
    while (!watcher.isActive() && clock.elapsed() < 10000)
        QTest::qWait(20);
    printf("ready\n");
    fflush(stdout);
    QTest::qWait(args.value(0).toInt() * 1000);
    return 0;
}
const ChildRegistration followChild{"follow-forecast", FollowForecastChild};

class ChangeWatcherTest : public TestEnv, public OnBothEngines {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        Exec(db_, Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00")).InsertSql());
    }
    // A started watcher, watching.
    void Start(ChangeWatcher& watcher)
    {
        QSignalSpy active(&watcher, &ChangeWatcher::activeChanged);
        ASSERT_TRUE(watcher.start()) << (watcher.lastError() ? watcher.lastError()->description().toStdString() : "");
        if (!watcher.isActive()) {
            ASSERT_TRUE(active.wait(10000));
        }
        ASSERT_TRUE(watcher.isActive());
    }
    static void RunChild(const QString& name, const QStringList& args)
    {
        std::unique_ptr<QProcess> child = StartChild(name, args);
        ASSERT_TRUE(child->waitForFinished(30000));
        ASSERT_EQ(child->exitCode(), 0) << child->readAllStandardOutput().toStdString();
    }
    void Edit(int times = 1)
    {
        for (int i = 0; i < times; ++i)
            Exec(db_, QStringLiteral("UPDATE IboMain SET IboValueNumeric = IboValueNumeric + 1 WHERE IboID = 1"));
    }

    QString db_;
};

TEST_P(ChangeWatcherTest, AnotherProcessCommitIsReportedWithinTwoSeconds)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    std::unique_ptr<QProcess> colleague =
        StartChild(QStringLiteral("commit"), {QStringLiteral("1"), QStringLiteral("0")});
    ASSERT_TRUE(colleague->waitForFinished(30000));
    ASSERT_EQ(colleague->exitCode(), 0);
    QElapsedTimer since;
    since.start();
    EXPECT_TRUE(changed.wait(2000));
    EXPECT_LT(since.elapsed(), 2000);
    EXPECT_EQ(changed.count(), 1);
}

TEST_P(ChangeWatcherTest, ACommitOfThisProcessIsReportedToo)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    Edit();
    EXPECT_TRUE(changed.wait(2000));
}

TEST_P(ChangeWatcherTest, NothingChangedForFiveSecondsGivesNoSignal)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    // Reading is not changing.
    EXPECT_EQ(QueryText(db_, QStringLiteral("SELECT count(*) FROM IboMain")), QStringLiteral("1"));
    QTest::qWait(5000);
    EXPECT_EQ(changed.count(), 0);
}

TEST_P(ChangeWatcherTest, AHundredCommitsInOneSecondGiveAtMostTwoSignals)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    RunChild(QStringLiteral("commit"), {QStringLiteral("100"), QStringLiteral("900")});
    // Long enough for the end of the last interval, and one more.
    QTest::qWait(2500);
    EXPECT_GE(changed.count(), 1);
    EXPECT_LE(changed.count(), 2);
    EXPECT_EQ(QueryText(db_, QStringLiteral("SELECT IboValueNumeric FROM IboMain")), QStringLiteral("1100"));
}

TEST_P(ChangeWatcherTest, TheIntervalSpacesTheSignals)
{
    ChangeWatcher watcher;
    QSignalSpy intervalChanged(&watcher, &ChangeWatcher::intervalChanged);
    watcher.setInterval(300);
    EXPECT_EQ(intervalChanged.count(), 1);
    EXPECT_EQ(watcher.interval(), 300);
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    QElapsedTimer clock;
    clock.start();
    std::vector<qint64> at;
    QObject::connect(&watcher, &ChangeWatcher::IbosChanged, &watcher, [&] { at.push_back(clock.elapsed()); });
    // Commits every 50 ms for 1.2 s: a signal at once, then one per interval.
    while (clock.elapsed() < 1200) {
        Edit();
        QTest::qWait(50);
    }
    QTest::qWait(700);
    ASSERT_GE(at.size(), 3u);
    EXPECT_LE(at.size(), 6u);
    for (size_t i = 1; i < at.size(); ++i)
        EXPECT_GE(at[i] - at[i - 1], 290) << "signals " << i - 1 << " and " << i;
}

TEST_P(ChangeWatcherTest, StopEndsTheSignals)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy active(&watcher, &ChangeWatcher::activeChanged);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    watcher.stop();
    EXPECT_FALSE(watcher.isActive());
    EXPECT_EQ(active.count(), 1);
    Edit();
    QTest::qWait(1500);
    EXPECT_EQ(changed.count(), 0);
}

TEST_P(ChangeWatcherTest, TwoForecastWindowsThatRefreshOnEachChangeGoQuietAfterOneEdit)
{
    // Won IBOs whose DateWWIH is not yet their won date: the first refresh writes them.
    for (int id = 2; id <= 6; ++id)
        Exec(db_, Ibo::Open(id, QStringLiteral("2030-01-01 00:00:00"))
                      .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2"))
                      .Text(QStringLiteral("DateWonLostCancel"), QStringLiteral("2026-02-0%1 00:00:00").arg(id))
                      .InsertSql());
    std::unique_ptr<QProcess> first = StartChild(QStringLiteral("follow-forecast"), {QStringLiteral("30")});
    std::unique_ptr<QProcess> second = StartChild(QStringLiteral("follow-forecast"), {QStringLiteral("30")});
    QByteArray out1, out2;
    auto read = [&] {
        out1 += first->readAllStandardOutput();
        out2 += second->readAllStandardOutput();
    };
    QElapsedTimer clock;
    clock.start();
    while ((!out1.contains("ready") || !out2.contains("ready")) && clock.elapsed() < 20000) {
        QTest::qWait(50);
        read();
    }
    ASSERT_TRUE(out1.contains("ready") && out2.contains("ready"));
    // Whatever the first refreshes set off has settled within a few seconds.
    QTest::qWait(3000);
    read();
    const qsizetype before1 = out1.count("refresh"), before2 = out2.count("refresh");
    Edit();
    QTest::qWait(3000);
    read();
    const qsizetype after1 = out1.count("refresh"), after2 = out2.count("refresh");
    // Both windows saw the edit ...
    EXPECT_GT(after1, before1);
    EXPECT_GT(after2, before2);
    // ... and then nothing more: no window's refresh wakes the other.
    QTest::qWait(3000);
    read();
    EXPECT_EQ(out1.count("refresh"), after1) << out1.toStdString();
    EXPECT_EQ(out2.count("refresh"), after2) << out2.toStdString();
    first->kill();
    second->kill();
    first->waitForFinished();
    second->waitForFinished();
}

TEST_P(ChangeWatcherTest, AMissingDatabaseIsANumberedErrorWithoutThePassword)
{
    qputenv("BREV_PASSWORD", "Wh1sper-7391");
    qputenv("BREV_DATABASE", OnPostgreSQL() ? QByteArray("postgresql://127.0.0.1:1/none?connect_timeout=2")
                                            : TempPath(QStringLiteral("missing.db")).toLocal8Bit());
    ChangeWatcher watcher;
    QSignalSpy errors(&watcher, &ChangeWatcher::ErrorRaised);
    const bool started = watcher.start();
    if (started) {
        ASSERT_TRUE(errors.wait(10000));
    }
    ASSERT_GE(errors.count(), 1);
    const qint32 number = errors.first().at(0).toInt();
    EXPECT_EQ(number, OnPostgreSQL() ? 3151 : 3024);
    EXPECT_EQ(errors.first().at(1).toString(), QStringLiteral("BrevView.ChangeWatcher"));
    ASSERT_TRUE(watcher.lastError().has_value());
    EXPECT_EQ(watcher.lastError()->number(), number);
    EXPECT_FALSE(watcher.lastError()->description().contains(QStringLiteral("Wh1sper-7391")));
    EXPECT_FALSE(watcher.isActive());
    // It keeps trying, and reports the outage once rather than at every attempt.
    QTest::qWait(1200);
    EXPECT_EQ(errors.count(), 1);
}

// (A server's return has its own test, with a server of its own to stop and start.)
TEST_P(ChangeWatcherTest, AWatcherOnAnSQLiteFileThatIsNotThereYetReportsOnceItIs)
{
    const QString later = TempPath(QStringLiteral("later.db"));
    qputenv("BREV_DATABASE", later.toLocal8Bit());
    ChangeWatcher watcher;
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    EXPECT_FALSE(watcher.start());
    Exec(later, QStringLiteral("CREATE TABLE IboMain (IboID integer)"));
    EXPECT_TRUE(changed.wait(3000));
    EXPECT_TRUE(watcher.isActive());
}

// On a server the schema's triggers speak only when a row really differs afterwards.
class PostgreSQLChangeWatcher : public ChangeWatcherTest {
protected:
    void SetUp() override
    {
        if (!OnPostgreSQL())
            GTEST_SKIP() << "the PostgreSQL schema's triggers";
        ChangeWatcherTest::SetUp();
    }
};

TEST_F(PostgreSQLChangeWatcher, AnUpdateThatStoresWhatWasThereAlreadyWakesNoOne)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    Exec(db_, QStringLiteral("UPDATE IboMain SET IboValueNumeric = IboValueNumeric, DateWWIH = DateWWIH"));
    Exec(db_, QStringLiteral("DELETE FROM IboArchive WHERE IboID = 42"));
    QTest::qWait(1500);
    EXPECT_EQ(changed.count(), 0);
    // A row that does differ, in the archive this time, is reported.
    Exec(db_, Ibo::Open(7, QStringLiteral("2026-04-01 00:00:00")).InsertSql(QStringLiteral("IboArchive")));
    EXPECT_TRUE(changed.wait(2000));
}

TEST_F(PostgreSQLChangeWatcher, ASessionTheServerEndsIsOpenedAgainAndTheWatcherSaysSoOnce)
{
    // A name of its own for the watcher's session, so that the test ends that one alone.
    const QString name = QStringLiteral("watch_%1").arg(QCoreApplication::applicationPid());
    qputenv("BREV_DATABASE", (db_ + QStringLiteral("&application_name=") + name).toLocal8Bit());
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy active(&watcher, &ChangeWatcher::activeChanged);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    QSignalSpy errors(&watcher, &ChangeWatcher::ErrorRaised);
    EXPECT_EQ(
        QueryText(db_, QStringLiteral("SELECT count(*) FROM pg_stat_activity WHERE application_name = '%1'").arg(name)),
        QStringLiteral("1"));
    Exec(db_, QStringLiteral("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = '%1'")
                  .arg(name));
    ASSERT_TRUE(active.wait(5000));
    EXPECT_FALSE(active.first().at(0).toBool());
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.first().at(0).toInt(), 3043);
    // Opened again after the first pause, and one signal for what may have happened meanwhile.
    ASSERT_TRUE(changed.wait(5000));
    EXPECT_TRUE(watcher.isActive());
    QTest::qWait(1200);
    EXPECT_EQ(changed.count(), 1);
    Edit();
    EXPECT_TRUE(changed.wait(2000));
}

TEST_F(PostgreSQLChangeWatcher, TheAccountComesFromTheDatabaseSettingsAndItsPasswordIsNeverShown)
{
    GrantRole(QStringLiteral("watch_rep"), QStringLiteral("Qu1et-Harbour-58"), RoleRights::ReadOnly);
    // Nothing from libpq's own sources: the settings object's user and password alone.
    qunsetenv("PGUSER");
    qunsetenv("PGPASSFILE");
    qputenv("BREV_USER", "watch_rep");
    qputenv("BREV_PASSWORD", "Qu1et-Harbour-58");
    {
        ChangeWatcher watcher;
        Start(watcher);
        EXPECT_FALSE(watcher.lastError().has_value());
    }
    qputenv("BREV_PASSWORD", "Wr0ng-Harbour-58");
    ChangeWatcher refused;
    QSignalSpy errors(&refused, &ChangeWatcher::ErrorRaised);
    refused.start();
    ASSERT_TRUE(errors.count() > 0 || errors.wait(10000));
    EXPECT_EQ(errors.first().at(0).toInt(), 3029);
    const QString description = errors.first().at(2).toString();
    EXPECT_FALSE(description.contains(QStringLiteral("Wr0ng-Harbour-58"))) << description.toStdString();
    EXPECT_FALSE(description.contains(QStringLiteral("Qu1et-Harbour-58")));
}

TEST_F(PostgreSQLChangeWatcher, AChangeToAnotherSchemasTablesIsAnotherPipeline)
{
    ChangeWatcher watcher;
    Start(watcher);
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    const QString other = CreateIboDatabase();
    Exec(other, Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00")).InsertSql());
    QTest::qWait(1500);
    EXPECT_EQ(changed.count(), 0);
}

BREV_ON_BOTH_ENGINES(ChangeWatcherTest);

}  // namespace
}  // namespace BrevView::test
