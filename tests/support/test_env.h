#pragma once
// What every test stands on: a temporary folder for settings, trace and database
// files, a pinned clock and locale, the library's default objects, and a fresh
// start-up of the library on the test's thread.

#include <memory>
#include <ostream>

#include <QDateTime>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "automation/runtime_error.h"
#include "host/automation_object.h"

// Readable QString values in assertion messages.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}
QT_END_NAMESPACE

namespace BrevView::test {

// A trace object that remembers every call as a line: "ENTER x", "EXIT x",
// "HANDLE <number>", so that tests can assert the exact sequence.
class RecordingTrace : public host::ITrace {
public:
    qint32 LastErrorNumber() override { return lastError; }
    void HandleError(const QString&) override
    {
        lastError = overrideLastError ? overrideLastError : automation::Err().number;
        lines.append(QStringLiteral("HANDLE %1").arg(automation::Err().number));
    }
    void EnterProc(const QString& name) override
    {
        lines.append(QStringLiteral("ENTER ") + name);
        if (name == failOn)
            throw RuntimeError(failNumber, name, QStringLiteral("The trace refused ") + name);
    }
    void ExitProc(const QString& name) override { lines.append(QStringLiteral("EXIT ") + name); }

    QStringList lines;
    qint32 lastError = 0;
    qint32 overrideLastError = 0;
    // EnterProc of this procedure raises failNumber: a way to make any traced member fail.
    QString failOn;
    qint32 failNumber = 70;
};

class TestEnv : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Registers a RecordingTrace for "BrevTWrp.Trace" and restarts the library on this thread.
    RecordingTrace& UseRecordingTrace();
    QString TempPath(const QString& name) const { return dir_.filePath(name); }
    // 10:00 on the given day becomes "now".
    static void PinToday(int year, int month, int day);

    // Whether the running test is one on the PostgreSQL test server: an instance of a suite on
    // both engines named "PostgreSQL/..." (see BREV_ON_BOTH_ENGINES), or a suite of the server
    // alone, whose name starts with "PostgreSQL".
    static bool OnPostgreSQL();
    // Creates an IBO database and returns what DatabasePath names it by: on SQLite, a file
    // at `name` (in the temporary folder when relative); on PostgreSQL, a schema of its own
    // in the test server's database, named by a connection URI.
    QString CreateIboDatabase(const QString& name = QStringLiteral("ibo.db"));
    // Runs SQL directly on a database (a file or a server URI), outside the library. The
    // texts a test writes here are plain SQL that both engines read alike.
    static void Exec(const QString& path, const QString& sql);
    // On PostgreSQL, a login role with `password` and the rights a salesperson's role has on
    // the last database made by CreateIboDatabase: reading the tables, and with ReadAndWrite
    // also writing DateWWIH and adding stored queries. Nothing on SQLite, which has no users.
    enum class RoleRights { ReadOnly, ReadAndWrite };
    void GrantRole(const QString& role, const QString& password, RoleRights rights);
    static QString QueryText(const QString& path, const QString& sql);
    // A database whose stored-query catalogue holds none of the views' queries (a host's own
    // schema): the server's schema script stores them, an SQLite file has none to begin with.
    static void ForgetStoredQueries(const QString& path);

    QTemporaryDir dir_;
    std::shared_ptr<RecordingTrace> trace_;

private:
    QStringList schemas_;  // made on the test server, dropped at the end of the test
};

// The engine a suite on both engines runs on; the parameter of such a suite's fixture.
enum class Engine { SQLite, PostgreSQL };
using OnBothEngines = ::testing::WithParamInterface<Engine>;
std::string EngineParamName(const ::testing::TestParamInfo<Engine>& info);

// Runs a suite whose fixture derives from OnBothEngines once on SQLite files
// ("SQLite/Suite.Test/file") and once on the PostgreSQL test server
// ("PostgreSQL/Suite.Test/server"). On the server, a test whose name says SQLite is skipped.
#define BREV_ON_BOTH_ENGINES(Suite)                                                                      \
    INSTANTIATE_TEST_SUITE_P(SQLite, Suite, ::testing::Values(::BrevView::test::Engine::SQLite),         \
                             ::BrevView::test::EngineParamName);                                         \
    INSTANTIATE_TEST_SUITE_P(PostgreSQL, Suite, ::testing::Values(::BrevView::test::Engine::PostgreSQL), \
                             ::BrevView::test::EngineParamName)
// The same for a type-parameterised suite, once per type on each engine.
#define BREV_TYPED_ON_BOTH_ENGINES(Suite, Types)          \
    INSTANTIATE_TYPED_TEST_SUITE_P(SQLite, Suite, Types); \
    INSTANTIATE_TYPED_TEST_SUITE_P(PostgreSQL, Suite, Types)

// Expects `statement` to raise a RuntimeError with `number`.
#define EXPECT_RUNTIME_ERROR(statement, expected_number_)                                      \
    do {                                                                                       \
        try {                                                                                  \
            statement;                                                                         \
            ADD_FAILURE() << "expected run-time error " << (expected_number_) << ", got none"; \
        } catch (const ::BrevView::RuntimeError& e_) {                                         \
            EXPECT_EQ(e_.number(), (expected_number_)) << e_.description().toStdString();      \
        }                                                                                      \
    } while (0)

}  // namespace BrevView::test
