#include "pg_test_server.h"

#include <libpq-fe.h>

#include <QFile>

namespace BrevView::test {

PgTestServer PgTestServer::FromEnvironment()
{
    return FromFile(qEnvironmentVariable("BREV_TEST_PG_INFO"));
}

PgTestServer PgTestServer::FromFile(const QString& infoFile)
{
    PgTestServer s;
    QFile f(infoFile);
    if (infoFile.isEmpty() || !f.open(QIODevice::ReadOnly))
        return s;
    s.infoFile = infoFile;
    for (const QByteArray& line : f.readAll().split('\n')) {
        const qsizetype eq = line.indexOf('=');
        if (eq < 0)
            continue;
        const QByteArray key = line.left(eq);
        const QString value = QString::fromUtf8(line.mid(eq + 1));
        if (key == "PG_TEST_DIR")
            s.dir = value;
        else if (key == "PG_TEST_BIN")
            s.bin = value;
        else if (key == "PG_TEST_PORT")
            s.port = value;
        else if (key == "PG_TEST_USER")
            s.user = value;
        else if (key == "PG_TEST_PASSFILE")
            s.passFile = value;
        else if (key == "PG_TEST_CERT")
            s.rootCert = value;
        else if (key == "PG_TEST_URI")
            s.uri = value;
    }
    return s;
}

QString PgSchemaUri(const PgTestServer& server, const QString& schema)
{
    return server.uri + QStringLiteral("?options=-csearch_path%3D") + schema;
}

namespace {

// A session as the administrator: the URI's own user and password when it names them,
// else the password file of the test server ($PGPASSFILE, set by the fixture).
PGconn* Connect(const QString& uri, QString* error)
{
    PGconn* conn = PQconnectdb(uri.toUtf8().constData());
    if (PQstatus(conn) != CONNECTION_OK) {
        *error = QString::fromUtf8(PQerrorMessage(conn));
        PQfinish(conn);
        return nullptr;
    }
    PQsetNoticeProcessor(
        conn, [](void*, const char*) {}, nullptr);
    return conn;
}

}  // namespace

QString PgExec(const QString& uri, const QString& sql)
{
    QString error;
    PGconn* conn = Connect(uri, &error);
    if (!conn)
        return error;
    PGresult* r = PQexec(conn, sql.toUtf8().constData());
    const ExecStatusType st = PQresultStatus(r);
    if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK)
        error = QString::fromUtf8(PQresultErrorMessage(r));
    PQclear(r);
    PQfinish(conn);
    return error;
}

QString PgQueryText(const QString& uri, const QString& sql)
{
    QString error;
    PGconn* conn = Connect(uri, &error);
    if (!conn)
        return QStringLiteral("<open failed: %1>").arg(error);
    PGresult* r = PQexec(conn, sql.toUtf8().constData());
    QString out;
    if (PQresultStatus(r) == PGRES_TUPLES_OK) {
        QStringList rows;
        for (int i = 0; i < PQntuples(r); ++i) {
            QStringList cols;
            for (int c = 0; c < PQnfields(r); ++c)
                cols.append(PQgetisnull(r, i, c) ? QStringLiteral("NULL") : QString::fromUtf8(PQgetvalue(r, i, c)));
            rows.append(cols.join(QLatin1Char('|')));
        }
        out = rows.join(QLatin1Char('\n'));
    } else {
        out = QStringLiteral("<query failed: %1>").arg(QString::fromUtf8(PQresultErrorMessage(r)));
    }
    PQclear(r);
    PQfinish(conn);
    return out;
}

}  // namespace BrevView::test
