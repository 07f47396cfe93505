#include <QDir>
#include <QFile>

#include <brevview/brevview.h>

#include "support/ibo_builder.h"
#include "support/secret_search.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

class CredentialsTest : public TestEnv, public OnBothEngines {};

TEST_P(CredentialsTest, APasswordAppearsInNoTraceLogSettingsSnapshotOrStandardError)
{
    const QByteArray secret = "Zq9-brev-PW-7f3c1e";
    const QString db = CreateIboDatabase();
    // On a server the account is real: ann signs in with the password.
    GrantRole(QStringLiteral("ann"), QString::fromLatin1(secret), RoleRights::ReadAndWrite);
    Exec(db, Ibo::Open(1, QStringLiteral("2026-06-01 00:00:00")).InsertSql());
    qputenv("BREV_DATABASE", db.toLocal8Bit());
    qputenv("BREV_USER", "ann");
    qputenv("BREV_PASSWORD", secret);
    qputenv("BREV_TRACE", TempPath(QStringLiteral("trace.log")).toLocal8Bit());
    qputenv("BREV_PRINT_TO_PDF", TempPath(QStringLiteral("print.pdf")).toLocal8Bit());
    QDir().mkpath(TempPath(QStringLiteral("install")));

    // Standard error goes to a file for the length of the test.
    auto errors = std::make_unique<StandardErrorToFile>(TempPath(QStringLiteral("stderr.txt")));
    ASSERT_TRUE(errors->ok());
    {
        FlatView flat;
        PriorityView priority;
        ForecastView forecast;
        flat.Refresh();
        priority.Refresh();
        forecast.Refresh();
        flat.PrintView();
        priority.SetupViewForPrint();
        priority.RestoreViewAfterPrint();
        forecast.SetupViewForPrint();
        // Failures are traced too: a database that has gone.
        qputenv("BREV_DATABASE", TempPath(QStringLiteral("gone.db")).toLocal8Bit());
        FlatView failing;
        try {
            failing.Refresh();
        } catch (const RuntimeError& e) {
            std::fprintf(stderr, "%s\n", e.what());
        }
    }
    errors.reset();
    qunsetenv("BREV_PASSWORD");
    qunsetenv("BREV_TRACE");
    qunsetenv("BREV_PRINT_TO_PDF");

    QFile trace(TempPath(QStringLiteral("trace.log")));
    ASSERT_TRUE(trace.open(QIODevice::ReadOnly));
    const QByteArray traced = trace.readAll();
    EXPECT_TRUE(traced.contains("ENTER BrevView.FlatView::Refresh"));  // the trace did record
    EXPECT_TRUE(traced.contains("ERROR 3024"));
    // Nothing the library wrote anywhere holds the password: the trace, the settings, the
    // print snapshots, the PDF, the database, standard error.
    EXPECT_EQ(FilesContaining(TempPath(QString()), secret), QStringList());
}

BREV_ON_BOTH_ENGINES(CredentialsTest);

}  // namespace
}  // namespace BrevView::test
