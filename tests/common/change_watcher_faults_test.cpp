// A watcher on an SQLite file that another process holds, or that goes away: it must never
// hold up the event loop of the window it lives in, and a file it can no longer read is said.

#include <sys/stat.h>

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <brevview/brevview.h>

#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

class ChangeWatcherFaultsTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        if (OnPostgreSQL())
            GTEST_SKIP() << "an SQLite file's locks";
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        Exec(db_, Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00")).InsertSql());
    }
    // The longest the event loop went without running a 10 ms timer, over `ms`.
    static qint64 LongestStall(int ms)
    {
        QElapsedTimer clock, since;
        clock.start();
        since.start();
        qint64 longest = 0;
        QTimer tick;
        QObject::connect(&tick, &QTimer::timeout, [&] { longest = std::max(longest, since.restart()); });
        tick.start(10);
        while (clock.elapsed() < ms)
            QTest::qWait(5);
        return std::max(longest, since.elapsed());
    }

    // Starts `watcher`, whose host deletes it from a slot, and removes the file under it.
    void ExpectDeletedOnceTheFileGoes(ChangeWatcher* watcher)
    {
        bool deleted = false;
        QObject::connect(watcher, &QObject::destroyed, [&] { deleted = true; });
        ASSERT_TRUE(watcher->start());
        ASSERT_TRUE(QFile::remove(db_));
        QElapsedTimer clock;
        clock.start();
        while (!deleted && clock.elapsed() < 3000)
            QTest::qWait(20);
        EXPECT_TRUE(deleted);
        // The sanitizer build finds any use of the freed watcher from here on.
        QTest::qWait(300);
    }

    QString db_;
};

TEST_F(ChangeWatcherFaultsTest, AWatcherOnAFileAnotherProcessHoldsExclusivelyNeverStallsTheEventLoop)
{
    QProcess holder;
    holder.start(QStringLiteral("sqlite3"), {db_});
    ASSERT_TRUE(holder.waitForStarted());
    holder.write(
        "PRAGMA locking_mode = EXCLUSIVE;\nBEGIN EXCLUSIVE;\nUPDATE IboMain SET Note = Note;\nSELECT 'locked';\n");
    ASSERT_TRUE(holder.waitForReadyRead(10000));

    ChangeWatcher watcher;
    QSignalSpy changed(&watcher, &ChangeWatcher::IbosChanged);
    QSignalSpy errors(&watcher, &ChangeWatcher::ErrorRaised);
    QElapsedTimer started;
    started.start();
    watcher.start();
    EXPECT_LT(started.elapsed(), 100);
    // Polled a few times per interval all along, the watcher never makes the loop wait.
    EXPECT_LT(LongestStall(2500), 100);
    EXPECT_TRUE(watcher.isActive());
    EXPECT_EQ(errors.count(), 0);

    // Once the holder commits and lets go, what it did is reported.
    holder.write("UPDATE IboMain SET IboValueNumeric = 7 WHERE IboID = 1;\nCOMMIT;\n.quit\n");
    holder.closeWriteChannel();
    ASSERT_TRUE(holder.waitForFinished(10000));
    EXPECT_TRUE(changed.count() >= 1 || changed.wait(3000));
    EXPECT_EQ(errors.count(), 0);
}

TEST_F(ChangeWatcherFaultsTest, AFileRemovedAfterStartIsReportedOnceThroughErrorRaised)
{
    ChangeWatcher watcher;
    QSignalSpy errors(&watcher, &ChangeWatcher::ErrorRaised);
    QSignalSpy active(&watcher, &ChangeWatcher::activeChanged);
    ASSERT_TRUE(watcher.start());
    ASSERT_TRUE(watcher.isActive());
    ASSERT_TRUE(QFile::remove(db_));
    ASSERT_TRUE(errors.wait(3000));
    EXPECT_EQ(errors.first().at(0).toInt(), 3024);
    EXPECT_FALSE(watcher.isActive());
    // It keeps trying, and says it once per outage.
    QTest::qWait(2500);
    EXPECT_EQ(errors.count(), 1);
    ASSERT_TRUE(watcher.lastError().has_value());
    EXPECT_EQ(watcher.lastError()->number(), 3024);
}

TEST_F(ChangeWatcherFaultsTest, AFileThatNoLongerReadsAsADatabaseAfterStartIsReportedOnce)
{
    ChangeWatcher watcher;
    QSignalSpy errors(&watcher, &ChangeWatcher::ErrorRaised);
    ASSERT_TRUE(watcher.start());
    ASSERT_TRUE(watcher.isActive());
    // The same file (the same inode), its pages overwritten with what no database holds.
    QFile file(db_);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray junk(int(file.size()), 'x');
    ASSERT_EQ(file.write(junk), junk.size());
    file.close();
    ASSERT_TRUE(errors.wait(3000));
    EXPECT_EQ(errors.first().at(0).toInt(), 3343);
    QTest::qWait(2500);
    EXPECT_EQ(errors.count(), 1);
}

TEST_F(ChangeWatcherFaultsTest, AHostMayDeleteTheWatcherInASlotOfItsErrorSignal)
{
    auto* watcher = new ChangeWatcher;
    QObject::connect(watcher, &ChangeWatcher::ErrorRaised,
                     [watcher](int, const QString&, const QString&) { delete watcher; });
    ExpectDeletedOnceTheFileGoes(watcher);
}

TEST_F(ChangeWatcherFaultsTest, AHostMayDeleteTheWatcherInASlotOfActiveChanged)
{
    auto* watcher = new ChangeWatcher;
    QObject::connect(watcher, &ChangeWatcher::activeChanged, [watcher](bool on) {
        if (!on)
            delete watcher;
    });
    ExpectDeletedOnceTheFileGoes(watcher);
}

}  // namespace
}  // namespace BrevView::test
