// Two processes on one database: a writer changes IBOs in a loop while this process (and
// as many more reader processes as asked) refreshes all three views in a loop, for a
// bounded time. The only error allowed is the documented busy error (3260); the database
// must pass its integrity check afterwards, with every IBO the writer committed in it.
// Usage: brevview-two-process [--seconds S] [--readers R]; prints "two processes: ok" or
// exits 1.

#include <sqlite3.h>

#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <brevview/brevview.h>

#include "refresh_loop.h"
#include "sample_process.h"

namespace {

int Writer(const QString& path, int seconds)
{
    sqlite3* db = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK)
        return 2;
    sqlite3_busy_timeout(db, 2000);
    QElapsedTimer t;
    t.start();
    int n = 0, busy = 0, failed = 0, committed = 0;
    while (t.elapsed() < seconds * 1000) {
        const QByteArray sql =
            QStringLiteral(
                "BEGIN IMMEDIATE; UPDATE IboMain SET Note = 'writer %1', IboValueNumeric = IboValueNumeric + 1 "
                "WHERE IboID % 7 = %2; INSERT INTO IboMain (IboID, IboNumber, DateWWIH, DescriptorStatus, "
                "DescriptorPriority, DescriptorUwih, DescriptorUwwgi, IboValueNumeric, IboValueDecimal, Product, "
                "ConFirstName, ConLastName, ConCompany, Note, DateQualified, RecStatusArchive, RecStatusDelete) "
                "VALUES (%3, 'W-%3', '2027-01-01 00:00:00', 1, 2, 1, 1, 100, 0, 'P', 'F', 'L', 'C', 'n', "
                "'2026-01-01 00:00:00', 0, 0); COMMIT;")
                .arg(n)
                .arg(n % 7)
                .arg(900000 + n)
                .toUtf8();
        char* err = nullptr;
        const int rc = sqlite3_exec(db, sql.constData(), nullptr, nullptr, &err);
        if (rc == SQLITE_BUSY || rc == SQLITE_LOCKED) {
            ++busy;
        } else if (rc != SQLITE_OK) {
            ++failed;
            std::printf("writer: %s\n", err ? err : "error");
        }
        sqlite3_free(err);
        if (rc != SQLITE_OK)
            sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        else
            ++committed;
        QThread::usleep(500);  // a user's edits, not a flood
        ++n;
    }
    sqlite3_close(db);
    std::printf("writer: %d transactions, %d busy, %d failed\n", n, busy, failed);
    std::printf("writer: committed %d\n", committed);
    return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("brevview-two-process"));
    QApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A writer process changes IBOs in a loop while this process refreshes the three views, for a bounded time. "
        "Prints \"two processes: ok\" or exits 1."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption secondsOption(QStringLiteral("seconds"),
                                           QStringLiteral("How long both loops run (default 10)."), QStringLiteral("S"),
                                           QStringLiteral("10"));
    const QCommandLineOption writerOption(QStringLiteral("writer"),
                                          QStringLiteral("Run as the writer on DB (started by the test itself)."),
                                          QStringLiteral("DB"));
    const QCommandLineOption readersOption(
        QStringLiteral("readers"), QStringLiteral("Processes refreshing the views, this one included (default 1)."),
        QStringLiteral("R"), QStringLiteral("1"));
    const QCommandLineOption readerOption(QStringLiteral("reader"),
                                          QStringLiteral("Run as a reader on DB (started by the tool itself)."),
                                          QStringLiteral("DB"));
    parser.addOptions({secondsOption, writerOption, readersOption, readerOption});
    parser.process(app);
    const int seconds = parser.value(secondsOption).toInt();
    if (parser.isSet(writerOption))
        return Writer(parser.value(writerOption), seconds);
    if (parser.isSet(readerOption))
        return BrevView::reliability::RunReader(parser.value(readerOption), seconds);
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    const QString db = dir.filePath(QStringLiteral("shared.db"));
    if (!BrevView::sample::GenerateWithProgram(db, 2000).isEmpty())
        return 2;
    qputenv("BREV_DATABASE", db.toLocal8Bit());
    BrevView::FlatView flat;
    BrevView::PriorityView priority;
    BrevView::ForecastView forecast;
    // The views have been used before: their stored queries exist when the writer starts.
    flat.Refresh();
    priority.Refresh();
    forecast.Refresh();
    QProcess writer;
    writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    writer.start(app.applicationFilePath(),
                 {QStringLiteral("--seconds"), QString::number(seconds), QStringLiteral("--writer"), db});
    if (!writer.waitForStarted())
        return 2;
    std::vector<std::unique_ptr<QProcess>> readers;
    for (int k = 1; k < parser.value(readersOption).toInt(); ++k) {
        readers.push_back(std::make_unique<QProcess>());
        readers.back()->start(app.applicationFilePath(),
                              {QStringLiteral("--seconds"), QString::number(seconds), QStringLiteral("--reader"), db});
    }
    BrevView::reliability::RefreshCounts counts =
        BrevView::reliability::RefreshForSeconds(flat, priority, forecast, seconds);
    bool readersOk = true;
    for (auto& reader : readers) {
        readersOk = reader->waitForFinished(seconds * 1000 + 60000) && reader->exitCode() == 0 && readersOk;
        for (const QString& line :
             QString::fromUtf8(reader->readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            if (line.startsWith(QLatin1String("reader: rounds"))) {
                const QStringList w = QString(line).remove(QLatin1Char(',')).split(QLatin1Char(' '));
                counts.rounds += w.value(2).toInt();
                counts.locked += w.value(4).toInt();
                counts.other += w.value(6).toInt();
            } else if (!BrevView::reliability::ReadReaderLine(line, counts)) {
                std::printf("%s\n", qPrintable(line));
            }
        }
    }
    const int rounds = counts.rounds, busy = counts.locked, other = counts.other;
    writer.waitForFinished(seconds * 1000 + 10000);
    // Every IBO the writer committed is there (it says how many on its last line).
    const QString said = QString::fromUtf8(writer.readAllStandardOutput());
    std::printf("%s", qPrintable(said));
    qint64 committed = -1;
    for (const QString& line : said.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (line.startsWith(QLatin1String("writer: committed ")))
            committed = line.section(QLatin1Char(' '), 2, 2).toLongLong();
    }
    sqlite3* check = nullptr;
    sqlite3_open(db.toUtf8().constData(), &check);
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(check, "PRAGMA integrity_check", -1, &s, nullptr);
    const bool intact =
        sqlite3_step(s) == SQLITE_ROW && qstrcmp(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)), "ok") == 0;
    sqlite3_finalize(s);
    qint64 present = -1;
    if (sqlite3_prepare_v2(check, "SELECT count(*) FROM IboMain WHERE IboID >= 900000", -1, &s, nullptr) == SQLITE_OK &&
        sqlite3_step(s) == SQLITE_ROW)
        present = sqlite3_column_int64(s, 0);
    sqlite3_finalize(s);
    sqlite3_close(check);
    const qint64 lost = committed < 0 || present < 0 ? -1 : std::max<qint64>(0, committed - present);
    std::printf("two processes: %d refresh rounds, %d busy errors, %d other errors, integrity %s\n", rounds, busy,
                other, intact ? "ok" : "FAILED");
    std::printf("two processes: %s, edits lost: %lld\n", qPrintable(BrevView::reliability::LoadFigures(counts)), lost);
    if (other != 0 || !intact || writer.exitCode() != 0 || lost != 0 || !readersOk) {
        std::printf("two processes: FAILED\n");
        return 1;
    }
    std::printf("two processes: ok\n");
    return 0;
}
