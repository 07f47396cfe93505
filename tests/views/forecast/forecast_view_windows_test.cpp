// Forecast windows of several processes on one SQLite file, refreshing together as open
// windows do after a colleague's edit: the won-date write must not make them queue for the
// file's write lock.

#include <QElapsedTimer>
#include <QProcess>

#include <brevview/brevview.h>

#include "host/clock.h"
#include "support/child_process.h"
#include "support/memory_in_use.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

// Child mode "refresh-forecast SECONDS": a forecast window that refreshes again and again for
// SECONDS; prints "refreshes N" and exits 0, or prints "error N description" and exits 1.
int RefreshForecastChild(const QStringList& args)
{
    host::Clock::Pin(QDateTime(QDate(2024, 5, 10), QTime(9, 0)));
    ForecastView view;
    view.setShowWonIBOs(true);
    QElapsedTimer clock;
    clock.start();
    int refreshes = 0;
    try {
        do {
            view.Refresh();
            ++refreshes;
        } while (clock.elapsed() < args.value(0).toInt() * 1000);
    } catch (const RuntimeError& e) {
        printf("error %d %s\n", e.number(), qPrintable(e.description()));
        return 1;
    }
    printf("refreshes %d\n", refreshes);
    return 0;
}
const ChildRegistration refreshForecastChild{"refresh-forecast", RefreshForecastChild};

class ForecastWindowsTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        if (OnPostgreSQL())
            GTEST_SKIP() << "an SQLite file's write lock";
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        PinToday(2024, 5, 10);
        // 200,000 IBOs, every other one won in April 2024, its won date written by an earlier
        // refresh. A commit waits for every read under way on the file: in the sanitizer build,
        // where a read of 200,000 IBOs takes ten times as long, six windows' reads alone would
        // keep a one-row commit waiting past the busy wait, so it uses a tenth of them.
#if defined(BREV_UNDER_ADDRESS_SANITIZER)
        const int ibos = 20000;
#else
        const int ibos = 200000;
#endif
        Exec(
            db_,
            QStringLiteral(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                "INSERT INTO IboMain (IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorStatus, "
                "DescriptorPriority, DescriptorUwwgi, DescriptorUwih, IboValueNumeric, IboValueDecimal, Product, "
                "RecStatusArchive, RecStatusDelete, DateWonLostCancel, DateQualified, Note) "
                "SELECT i, 'IBO-' || i, CASE WHEN i % 2 = 0 THEN '2024-04-' ELSE '2024-06-' END || printf('%02d', 1 + i % 28) "
                "|| ' 00:00:00', 'First', 'Last', 'Company', CASE WHEN i % 2 = 0 THEN 2 ELSE 1 END, 1 + i % 3, 1, 1, "
                "1000 + i, 0, 'Widget', 0, 0, CASE WHEN i % 2 = 0 THEN '2024-04-' || printf('%02d', 1 + i % 28) || ' 00:00:00' END, "
                "'2024-01-01 00:00:00', 'note' FROM n")
                .arg(ibos));
    }
    QString WrongWonDates()
    {
        return QueryText(
            db_, QStringLiteral(
                     "SELECT count(*) FROM IboMain WHERE DescriptorStatus = 2 AND DateWWIH <> DateWonLostCancel"));
    }

    QString db_;
};

TEST_F(ForecastWindowsTest, SixWindowsInOtherProcessesRefreshingAfterOneEditMeetNoLockErrorAndWriteEveryWonDate)
{
    ASSERT_EQ(WrongWonDates(), QStringLiteral("0"));
    // A colleague's edit: an open IBO won today.
    Exec(db_,
         QStringLiteral(
             "UPDATE IboMain SET DescriptorStatus = 2, DateWonLostCancel = '2024-05-10 00:00:00' WHERE IboID = 1"));
    ASSERT_EQ(WrongWonDates(), QStringLiteral("1"));
    std::vector<std::unique_ptr<QProcess>> windows;
    for (int i = 0; i < 6; ++i)
        windows.push_back(StartChild(QStringLiteral("refresh-forecast"), {QStringLiteral("8")}));
    for (auto& window : windows) {
        ASSERT_TRUE(window->waitForFinished(120000));
        const QString said = QString::fromUtf8(window->readAllStandardOutput()).trimmed();
        EXPECT_EQ(window->exitCode(), 0) << said.toStdString();
        EXPECT_TRUE(said.startsWith(QStringLiteral("refreshes "))) << said.toStdString();
    }
    EXPECT_EQ(WrongWonDates(), QStringLiteral("0"));
}

}  // namespace
}  // namespace BrevView::test
