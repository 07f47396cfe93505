#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>

#include <brevview/brevview.h>

#include "data/engines/sqlite/sqlite_connection.h"
#include "host/mouse_pointer.h"
#include "support/faulty_vfs.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

class FaultInjectionTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        PinToday(2024, 5, 10);
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        for (int i = 1; i <= 30; ++i) {
            Ibo ibo = Ibo::Open(i, QStringLiteral("2024-06-%1 00:00:00").arg(i % 28 + 1, 2, 10, QLatin1Char('0')));
            if (i % 3 == 0)
                ibo.Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2"))
                    .Text(QStringLiteral("DateWonLostCancel"), QStringLiteral("2024-05-02 00:00:00"));
            Exec(db_, ibo.InsertSql());
        }
        faulty::Register();
        UseRecordingTrace();
    }
    void TearDown() override
    {
        faulty::FailWritesAfter(-1);
        faulty::SetReadOnly(false);
        data::SqliteConnection::SetVfs({});
        TestEnv::TearDown();
    }
    QString UnchangedWonDates()
    {
        return QueryText(
            db_, QStringLiteral(
                     "SELECT count(*) FROM IboMain WHERE DescriptorStatus = 2 AND DateWWIH <> DateWonLostCancel"));
    }
    int Rows(QWidget& view) { return view.findChild<QWidget*>(QStringLiteral("flexGrid"))->property("Rows").toInt(); }

    QString db_;
};

TEST_F(FaultInjectionTest, IoErrorDuringTheWonDateWritesLeavesNoPartialWrite)
{
    data::SqliteConnection::SetVfs("faulty");
    ForecastView view;
    view.Refresh();  // stores the view's query and the won dates; then the won dates go back
    Exec(db_, QStringLiteral("UPDATE IboMain SET DateWWIH = '2030-01-01 00:00:00' WHERE DescriptorStatus = 2"));
    ASSERT_EQ(UnchangedWonDates(), QStringLiteral("10"));
    faulty::FailWritesAfter(1);
    host::ScreenMousePointer::Set(0);
    try {
        view.Refresh();
        FAIL() << "the refresh went through a failing disk";
    } catch (const RuntimeError& e) {
        EXPECT_TRUE(e.number() == 3043 || e.number() == 3027) << e.number() << " " << e.description().toStdString();
    }
    EXPECT_EQ(host::ScreenMousePointer::Get(), 0);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    faulty::FailWritesAfter(-1);
    data::SqliteConnection::SetVfs({});
    EXPECT_EQ(QueryText(db_, QStringLiteral("PRAGMA integrity_check")), QStringLiteral("ok"));
    EXPECT_EQ(UnchangedWonDates(), QStringLiteral("10"));  // none of the ten was written
    view.Refresh();                                        // the fault is gone: it works
    EXPECT_EQ(UnchangedWonDates(), QStringLiteral("0"));
}

TEST_F(FaultInjectionTest, ReadOnlyDatabaseRefusesTheWritesWithANumberedError)
{
    FlatView flat;
    flat.Refresh();  // creates the flat view's stored query while it can
    data::SqliteConnection::SetVfs("faulty");
    faulty::SetReadOnly(true);
    FlatView readOnlyFlat;
    readOnlyFlat.Refresh();  // reading still works
    EXPECT_EQ(Rows(readOnlyFlat), 31);
    ForecastView forecast;
    EXPECT_RUNTIME_ERROR(forecast.Refresh(), 91);  // its stored query cannot be created
    faulty::SetReadOnly(false);
    data::SqliteConnection::SetVfs({});
    EXPECT_EQ(UnchangedWonDates(), QStringLiteral("10"));
    EXPECT_EQ(QueryText(db_, QStringLiteral("PRAGMA integrity_check")), QStringLiteral("ok"));
}

TEST_F(FaultInjectionTest, DatabaseLockedByAnotherProcessFailsAfterABoundedWait)
{
    QProcess holder;
    holder.start(QStringLiteral("sqlite3"), {db_});
    ASSERT_TRUE(holder.waitForStarted());
    holder.write("BEGIN EXCLUSIVE;\nUPDATE IboMain SET Note = Note;\nSELECT 'locked';\n");
    ASSERT_TRUE(holder.waitForReadyRead(10000));
    ForecastView view;
    QElapsedTimer timer;
    timer.start();
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3260);
    EXPECT_LT(timer.elapsed(), 15000);  // a bounded busy wait, never a hang
    holder.write("COMMIT;\n.quit\n");
    holder.closeWriteChannel();
    ASSERT_TRUE(holder.waitForFinished(10000));
    view.Refresh();
    EXPECT_EQ(UnchangedWonDates(), QStringLiteral("0"));
    EXPECT_EQ(QueryText(db_, QStringLiteral("PRAGMA integrity_check")), QStringLiteral("ok"));
}

TEST_F(FaultInjectionTest, FileThatIsNotADatabaseFailsEveryViewWithANumberedError)
{
    QFile f(db_);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(QByteArray(8192, '\x5A'));
    f.close();
    FlatView flat;
    EXPECT_RUNTIME_ERROR(flat.Refresh(), 3343);
    ForecastView forecast;
    EXPECT_RUNTIME_ERROR(forecast.Refresh(), 3343);
    PriorityView priority;  // made all the same; the error is its last one
    ASSERT_TRUE(priority.lastError().has_value());
    EXPECT_EQ(priority.lastError()->number(), 3343);
    // The next refresh succeeds once the file is a database again.
    QFile::remove(db_);
    CreateIboDatabase();
    flat.Refresh();
    EXPECT_EQ(Rows(flat), 1);
}

}  // namespace
}  // namespace BrevView::test
