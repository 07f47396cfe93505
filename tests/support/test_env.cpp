#include "test_env.h"

#include <sqlite3.h>

#include "common/ibo_schema.h"
#include "common/mod_init.h"
#include "platform/host/clock.h"
#include "platform/host/locale_info.h"
#include "platform/host/message_box.h"
#include "platform/host/mouse_pointer.h"
#include "platform/host/object_factory.h"

namespace BrevView::test {

void TestEnv::SetUp()
{
    ASSERT_TRUE(dir_.isValid());
    qputenv("XDG_CONFIG_HOME", dir_.filePath(QStringLiteral("config")).toLocal8Bit());
    // PrintView's snapshot goes to the temporary folder: give each test its own.
    qputenv("TMPDIR", dir_.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", dir_.filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("BREV_INSTALL_PATH", (dir_.filePath(QStringLiteral("install")) + QLatin1Char('/')).toLocal8Bit());
    qunsetenv("BREV_TRACE");
    qunsetenv("BREV_DATABASE");
    qunsetenv("BREV_USER");
    qunsetenv("BREV_PASSWORD");
    host::ObjectFactory::RestoreDefaults();
    modInit::ResetForTesting();
    host::SetLocaleOverride(QLocale(QLocale::English, QLocale::UnitedStates));
    host::SetShortDateFormatSource({});
    host::SetMessageBoxHandler([](const host::MessageBoxRequest&) {});
    host::ScreenMousePointer::Set(0);
    PinToday(2026, 3, 5);
}

void TestEnv::TearDown()
{
    host::ScreenMousePointer::Set(0);
    host::Clock::Unpin();
    host::SetLocaleOverride(std::nullopt);
    host::SetMessageBoxHandler({});
    host::ObjectFactory::RestoreDefaults();
    modInit::ResetForTesting();
}

RecordingTrace& TestEnv::UseRecordingTrace()
{
    trace_ = std::make_shared<RecordingTrace>();
    auto t = trace_;
    host::ObjectFactory::Register(QString::fromLatin1(host::kProgIdTrace), [t] { return t; });
    modInit::ResetForTesting();
    modInit::EnsureLoaded();
    return *trace_;
}

void TestEnv::PinToday(int year, int month, int day)
{
    host::Clock::Pin(QDateTime(QDate(year, month, day), QTime(10, 0)));
}

QString TestEnv::CreateIboDatabase(const QString& name)
{
    const QString path = name.startsWith(QLatin1Char('/')) ? name : dir_.filePath(name);
    Exec(path, detail::IboSchemaSql());
    return path;
}

void TestEnv::Exec(const QString& path, const QString& sql)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
    char* err = nullptr;
    const int rc = sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, &err);
    EXPECT_EQ(rc, SQLITE_OK) << (err ? err : "") << " in " << sql.toStdString();
    sqlite3_free(err);
    sqlite3_close(db);
}

QString TestEnv::QueryText(const QString& path, const QString& sql)
{
    sqlite3* db = nullptr;
    QString out;
    if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK)
        return QStringLiteral("<open failed>");
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &stmt, nullptr) == SQLITE_OK) {
        QStringList rows;
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            QStringList cols;
            for (int c = 0; c < sqlite3_column_count(stmt); ++c) {
                const unsigned char* t = sqlite3_column_text(stmt, c);
                cols.append(t ? QString::fromUtf8(reinterpret_cast<const char*>(t)) : QStringLiteral("NULL"));
            }
            rows.append(cols.join(QLatin1Char('|')));
        }
        out = rows.join(QLatin1Char('\n'));
    } else {
        out = QStringLiteral("<prepare failed: %1>").arg(QString::fromUtf8(sqlite3_errmsg(db)));
    }
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return out;
}

}  // namespace BrevView::test
