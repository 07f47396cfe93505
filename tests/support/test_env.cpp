#include "test_env.h"

#include <sqlite3.h>

#include <QCoreApplication>

#include "automation/locale_info.h"
#include "common/ibo_schema.h"
#include "common/mod_init.h"
#include "data/engine.h"
#include "host/clock.h"
#include "host/message_box.h"
#include "host/mouse_pointer.h"
#include "host/object_factory.h"
#include "support/pg_test_server.h"

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
    if (OnPostgreSQL()) {
        // The library opens the test server with libpq's own sources of credentials.
        const PgTestServer server = PgTestServer::FromEnvironment();
        if (qEnvironmentVariableIsEmpty("BREV_TEST_PG_INFO"))
            GTEST_SKIP() << "no PostgreSQL test server: `ctest -L postgresql` starts one, or give --pg-info=FILE";
        ASSERT_TRUE(server.valid()) << "BREV_TEST_PG_INFO names no running test server";
        const QByteArray name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        if (name.contains("SQLite"))
            GTEST_SKIP() << "a test of SQLite files alone";
        qputenv("PGUSER", server.user.toUtf8());
        qputenv("PGPASSFILE", server.passFile.toUtf8());
        qunsetenv("PGPASSWORD");
    }
    host::ObjectFactory::RestoreDefaults();
    modInit::ResetForTesting();
    automation::SetLocaleOverride(QLocale(QLocale::English, QLocale::UnitedStates));
    automation::SetShortDateFormatSource({});
    host::SetMessageBoxHandler([](const host::MessageBoxRequest&) {});
    host::ScreenMousePointer::Set(0);
    PinToday(2026, 3, 5);
}

void TestEnv::TearDown()
{
    host::ScreenMousePointer::Set(0);
    host::Clock::Unpin();
    automation::SetLocaleOverride(std::nullopt);
    host::SetMessageBoxHandler({});
    host::ObjectFactory::RestoreDefaults();
    modInit::ResetForTesting();
    const PgTestServer server = PgTestServer::FromEnvironment();
    for (const QString& schema : std::as_const(schemas_))
        PgExec(server.uri, QStringLiteral("SET lock_timeout = '10s'; DROP SCHEMA %1 CASCADE").arg(schema));
    schemas_.clear();
}

void TestEnv::GrantRole(const QString& role, const QString& password, RoleRights rights)
{
    if (!OnPostgreSQL() || schemas_.isEmpty())
        return;
    const QString& s = schemas_.last();
    QString sql = QStringLiteral("DO $$BEGIN CREATE ROLE %1 LOGIN; EXCEPTION WHEN duplicate_object THEN NULL; END$$;"
                                 "ALTER ROLE %1 LOGIN PASSWORD '%2';"
                                 "GRANT USAGE ON SCHEMA %3 TO %1;"
                                 "GRANT SELECT ON ALL TABLES IN SCHEMA %3 TO %1;")
                      .arg(role, password, s);
    if (rights == RoleRights::ReadAndWrite)
        sql += QStringLiteral("GRANT UPDATE (DateWWIH) ON %1.IboMain TO %2;").arg(s, role);
    Exec(PgTestServer::FromEnvironment().uri, sql);
}

void TestEnv::ForgetStoredQueries(const QString& path)
{
    if (OnPostgreSQL())
        Exec(path, QStringLiteral("DELETE FROM BrevQueryDefs"));
}

bool TestEnv::OnPostgreSQL()
{
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    return test && QByteArray(test->test_suite_name()).startsWith("PostgreSQL");
}

std::string EngineParamName(const ::testing::TestParamInfo<Engine>& info)
{
    return info.param == Engine::PostgreSQL ? "server" : "file";
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
    if (OnPostgreSQL()) {
        static int made = 0;
        const QString schema = QStringLiteral("t_%1_%2").arg(QCoreApplication::applicationPid()).arg(++made);
        const PgTestServer server = PgTestServer::FromEnvironment();
        const QString error = PgExec(server.uri, QStringLiteral("CREATE SCHEMA %1").arg(schema));
        EXPECT_TRUE(error.isEmpty()) << error.toStdString();
        schemas_.append(schema);
        const QString uri = PgSchemaUri(server, schema);
        Exec(uri, detail::IboSchemaSql(data::Dialect::PostgreSQL));
        return uri;
    }
    const QString path = name.startsWith(QLatin1Char('/')) ? name : dir_.filePath(name);
    Exec(path, detail::IboSchemaSql());
    return path;
}

void TestEnv::Exec(const QString& path, const QString& sql)
{
    if (data::IsServerUri(path)) {
        const QString error = PgExec(path, sql);
        EXPECT_TRUE(error.isEmpty()) << error.toStdString() << " in " << sql.toStdString();
        return;
    }
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
    if (data::IsServerUri(path))
        return PgQueryText(path, sql);
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
