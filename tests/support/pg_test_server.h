#pragma once
// The PostgreSQL server of a test run (started by scripts/pg-test-server; $BREV_TEST_PG_INFO
// names the file it wrote), and plain libpq sessions on it for the tests' own SQL.

#include <QString>
#include <QStringList>

namespace BrevView::test {

struct PgTestServer {
    QString dir;  // the cluster's folder (its socket is there)
    QString bin;  // the server's programs
    QString port;
    QString user;  // the administrator, whose password is in passFile
    QString passFile;
    QString rootCert;  // the server certificate, a root for sslmode=verify-full
    QString uri;       // postgresql://127.0.0.1:<port>/brevtest
    QString infoFile;

    bool valid() const { return !uri.isEmpty(); }
    // Reads $BREV_TEST_PG_INFO (or `infoFile`).
    static PgTestServer FromEnvironment();
    static PgTestServer FromFile(const QString& infoFile);
};

// Runs SQL as the administrator on `uri` (a database URI, with its options); an empty
// string when it worked, else the server's message.
QString PgExec(const QString& uri, const QString& sql);
// The rows of a query, cells joined by '|', rows by '\n', Null as "NULL".
QString PgQueryText(const QString& uri, const QString& sql);
// The URI of a schema of its own in the test database.
QString PgSchemaUri(const PgTestServer& server, const QString& schema);

}  // namespace BrevView::test
