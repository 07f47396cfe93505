// Many clients on one team database: reader processes refresh the three views in a loop while
// writer processes edit IBOs, on a PostgreSQL server, for a bounded time. The only error
// allowed is the documented lock error (3260); at the end every edit a writer committed is in
// the database and the counts add up.
// Usage: brevview-many-clients --server-info FILE [--seconds S] [--readers R] [--writers W]
// (FILE as written by scripts/pg-test-server); prints "many clients: ok" or exits 1.

#include <libpq-fe.h>

#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <brevview/brevview.h>

#include "refresh_loop.h"
#include "sample_process.h"

namespace {

constexpr int kIbos = 2000;
constexpr qint64 kFirstNewId = 10000000;  // writer k adds IBOs kFirstNewId * (k + 1) + n

QString Value(const QString& infoFile, const QString& key)
{
    QFile f(infoFile);
    if (!f.open(QIODevice::ReadOnly))
        return QString();
    for (const QByteArray& line : f.readAll().split('\n')) {
        if (line.startsWith(key.toUtf8() + '='))
            return QString::fromUtf8(line.mid(key.size() + 1));
    }
    return QString();
}

PGresult* Exec(PGconn* c, const QByteArray& sql)
{
    return PQexec(c, sql.constData());
}

QString One(PGconn* c, const QByteArray& sql)
{
    PGresult* r = Exec(c, sql);
    QString v =
        PQresultStatus(r) == PGRES_TUPLES_OK && PQntuples(r) > 0 ? QString::fromUtf8(PQgetvalue(r, 0, 0)) : QString();
    PQclear(r);
    return v;
}

// Writer k: in each transaction, adds one IBO and edits the note and value of an open one.
// Prints what it committed, for the check at the end.
int Writer(const QString& uri, int index, int seconds)
{
    PGconn* c = PQconnectdb(uri.toUtf8().constData());
    if (PQstatus(c) != CONNECTION_OK) {
        std::printf("writer %d: %s\n", index, PQerrorMessage(c));
        return 2;
    }
    PQclear(Exec(c, "SET lock_timeout = '5s'"));
    QElapsedTimer t;
    t.start();
    qint64 committed = 0, locked = 0, failed = 0, n = 0;
    while (t.elapsed() < seconds * 1000) {
        ++n;
        const qint64 id = kFirstNewId * (index + 1) + n;
        const QByteArray sql =
            QStringLiteral(
                "BEGIN; INSERT INTO IboMain (IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, "
                "DescriptorUwwgi, DescriptorUwih, DescriptorPriority, DescriptorStatus, Product, IboValueNumeric, "
                "IboValueDecimal, DateQualified, Note, RecStatusArchive, RecStatusDelete) VALUES (%1, 'W%2-%3', "
                "'2027-01-01', 'F', 'L', 'C', 1, 1, 2, 1, 'P', 100, 0, '2026-01-01', 'new', false, false); "
                "UPDATE IboMain SET Note = 'writer %2 edit %3', IboValueNumeric = IboValueNumeric + 1 "
                "WHERE IboID = (SELECT IboID FROM IboMain WHERE DescriptorStatus = 1 AND IboID < %4 AND IboID % 5 = %2 "
                "ORDER BY IboID OFFSET %5 LIMIT 1); COMMIT;")
                .arg(id)
                .arg(index)
                .arg(n)
                .arg(kFirstNewId)
                .arg(n % 200)
                .toUtf8();
        PGresult* r = Exec(c, sql);
        if (PQresultStatus(r) == PGRES_COMMAND_OK) {
            ++committed;
        } else {
            const char* state = PQresultErrorField(r, PG_DIAG_SQLSTATE);
            if (state && (qstrcmp(state, "55P03") == 0 || qstrcmp(state, "40P01") == 0))
                ++locked;
            else {
                ++failed;
                std::printf("writer %d: %s", index, PQresultErrorMessage(r));
            }
            PQclear(Exec(c, "ROLLBACK"));
        }
        PQclear(r);
        QThread::msleep(20);  // a salesperson's edits, not a flood
    }
    PQfinish(c);
    std::printf("writer %d: committed %lld, locked %lld, failed %lld\n", index, committed, locked, failed);
    std::fflush(stdout);
    return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("brevview-many-clients"));
    QApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Reader processes refresh the three views while writer processes edit IBOs on one PostgreSQL database. "
        "Prints \"many clients: ok\" or exits 1."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption infoOption(QStringLiteral("server-info"),
                                        QStringLiteral("The file scripts/pg-test-server wrote."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption secondsOption(QStringLiteral("seconds"),
                                           QStringLiteral("How long the clients run (default 60)."),
                                           QStringLiteral("S"), QStringLiteral("60"));
    const QCommandLineOption readersOption(QStringLiteral("readers"), QStringLiteral("Reader processes (default 20)."),
                                           QStringLiteral("R"), QStringLiteral("20"));
    const QCommandLineOption writersOption(QStringLiteral("writers"), QStringLiteral("Writer processes (default 5)."),
                                           QStringLiteral("W"), QStringLiteral("5"));
    const QCommandLineOption readerOption(QStringLiteral("reader"),
                                          QStringLiteral("Run as a reader on URI (started by the tool itself)."),
                                          QStringLiteral("URI"));
    const QCommandLineOption writerOption(QStringLiteral("writer"),
                                          QStringLiteral("Run as writer number K (started by the tool itself)."),
                                          QStringLiteral("K"));
    const QCommandLineOption uriOption(QStringLiteral("uri"), QStringLiteral("The database of a writer."),
                                       QStringLiteral("URI"));
    parser.addOptions({infoOption, secondsOption, readersOption, writersOption, readerOption, writerOption, uriOption});
    parser.process(app);
    const int seconds = parser.value(secondsOption).toInt();
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    if (parser.isSet(readerOption))
        return BrevView::reliability::RunReader(parser.value(readerOption), seconds);
    if (parser.isSet(writerOption))
        return Writer(parser.value(uriOption), parser.value(writerOption).toInt(), seconds);

    const QString info = parser.value(infoOption);
    const QString serverUri = Value(info, QStringLiteral("PG_TEST_URI"));
    if (serverUri.isEmpty()) {
        std::fprintf(stderr, "brevview-many-clients: no test server in %s\n", qPrintable(info));
        return 2;
    }
    qputenv("PGUSER", Value(info, QStringLiteral("PG_TEST_USER")).toUtf8());
    qputenv("PGPASSFILE", Value(info, QStringLiteral("PG_TEST_PASSFILE")).toUtf8());
    // A schema of this run's own in the test database.
    const QString schema = QStringLiteral("many_%1").arg(QCoreApplication::applicationPid());
    PGconn* admin = PQconnectdb(serverUri.toUtf8().constData());
    if (PQstatus(admin) != CONNECTION_OK)
        return 2;
    PQsetNoticeProcessor(
        admin, [](void*, const char*) {}, nullptr);
    PQclear(Exec(admin, QStringLiteral("CREATE SCHEMA %1").arg(schema).toUtf8()));
    const QString uri = serverUri + QStringLiteral("?options=-csearch_path%3D") + schema;
    const QString made = BrevView::sample::GenerateWithProgram(uri, kIbos);
    if (!made.isEmpty()) {
        std::fprintf(stderr, "brevview-many-clients: %s\n", qPrintable(made));
        return 2;
    }
    {
        // The views have been used before: their stored queries exist when the clients start.
        qputenv("BREV_DATABASE", uri.toUtf8());
        BrevView::FlatView flat;
        BrevView::PriorityView priority;
        BrevView::ForecastView forecast;
        flat.Refresh();
        priority.Refresh();
        forecast.Refresh();
    }
    const int before = One(admin, QStringLiteral("SELECT count(*) FROM %1.IboMain").arg(schema).toUtf8()).toInt();

    const int readerCount = parser.value(readersOption).toInt();
    const int writerCount = parser.value(writersOption).toInt();
    std::vector<std::unique_ptr<QProcess>> clients;
    const QString self = app.applicationFilePath();
    for (int k = 0; k < writerCount; ++k) {
        clients.push_back(std::make_unique<QProcess>());
        clients.back()->start(self, {QStringLiteral("--seconds"), QString::number(seconds), QStringLiteral("--writer"),
                                     QString::number(k), QStringLiteral("--uri"), uri});
    }
    for (int k = 0; k < readerCount; ++k) {
        clients.push_back(std::make_unique<QProcess>());
        clients.back()->start(self,
                              {QStringLiteral("--seconds"), QString::number(seconds), QStringLiteral("--reader"), uri});
    }
    bool ok = true;
    qint64 committed = 0, writerLocked = 0, readerLocked = 0, rounds = 0;
    std::vector<qint64> committedBy(size_t(writerCount), 0);
    BrevView::reliability::RefreshCounts load;
    for (size_t i = 0; i < clients.size(); ++i) {
        QProcess& p = *clients[i];
        if (!p.waitForFinished(seconds * 1000 + 120000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
            ok = false;
        const QString out = QString::fromUtf8(p.readAllStandardOutput());
        for (const QString& line : out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList w = QString(line).remove(QLatin1Char(',')).split(QLatin1Char(' '));
            if (line.startsWith(QLatin1String("writer ")) && w.size() >= 8 && w[2] == QLatin1String("committed")) {
                committedBy[size_t(QString(w[1]).remove(QLatin1Char(':')).toInt())] = w[3].toLongLong();
                committed += w[3].toLongLong();
                writerLocked += w[5].toLongLong();
            } else if (line.startsWith(QLatin1String("reader: rounds")) && w.size() >= 7) {
                rounds += w[2].toLongLong();
                readerLocked += w[4].toLongLong();
            } else if (BrevView::reliability::ReadReaderLine(line, load)) {
            } else {
                std::printf("%s\n", qPrintable(line));
            }
        }
    }
    // Every committed IBO is there, and only those: the counts add up, per writer and in all.
    const int after = One(admin, QStringLiteral("SELECT count(*) FROM %1.IboMain").arg(schema).toUtf8()).toInt();
    bool counts = after == before + committed;
    qint64 lost = 0;
    for (int k = 0; k < writerCount; ++k) {
        const qint64 present = One(admin, QStringLiteral("SELECT count(*) FROM %1.IboMain WHERE IboID / %2 = %3")
                                              .arg(schema)
                                              .arg(kFirstNewId)
                                              .arg(k + 1)
                                              .toUtf8())
                                   .toLongLong();
        counts = counts && present == committedBy[size_t(k)];
        lost += std::max<qint64>(0, committedBy[size_t(k)] - present);
    }
    PQclear(Exec(admin, QStringLiteral("DROP SCHEMA %1 CASCADE").arg(schema).toUtf8()));
    PQfinish(admin);
    std::printf(
        "many clients: %d readers, %d writers, %d s: %lld refresh rounds (%lld lock errors), %lld edits committed "
        "(%lld lock errors), IBOs %d -> %d, counts %s\n",
        readerCount, writerCount, seconds, rounds, readerLocked, committed, writerLocked, before, after,
        counts ? "consistent" : "WRONG");
    std::printf("many clients: %s, edits lost: %lld\n", qPrintable(BrevView::reliability::LoadFigures(load)), lost);
    if (!ok || !counts) {
        std::printf("many clients: FAILED\n");
        return 1;
    }
    std::printf("many clients: ok\n");
    return 0;
}
