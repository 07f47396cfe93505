// Measures every view's refresh against the raw database scan (the floor: a plain
// sqlite3 prepare/step loop reading every selected column of the same query as text)
// and against filling a QStandardItemModel, in one process, on sample databases of
// 10,000, 100,000 and 1,000,000 IBOs. Prints medians and ratios and exits 1 when a
// goal is missed.
// With --engine postgresql the same on a PostgreSQL server that the benchmark starts for
// itself (scripts/pg-test-server), against a plain libpq loop reading the same statements as
// text; the SQLite floor of the flat list is printed beside the server's.
// Usage: views_bench [--short] [--runs K] [--sizes 10000,100000,1000000] [--dir DIR]
//                    [--engine sqlite|postgresql]

#include <libpq-fe.h>
#include <malloc.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include <brevview/brevview.h>

#include "sample_generator.h"
#include "views/forecast/forecast_view_private.h"
#include "views/priority/priority_view_private.h"

using Clock = std::chrono::steady_clock;

namespace {

double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double Seconds(const std::function<void()>& f)
{
    const auto t0 = Clock::now();
    f();
    return std::chrono::duration<double>(Clock::now() - t0).count();
}

double MedianOf(int runs, const std::function<void()>& f)
{
    f();  // warm-up
    std::vector<double> t;
    t.reserve(size_t(runs));
    for (int i = 0; i < runs; ++i)
        t.push_back(Seconds(f));
    return Median(t);
}

// A floor and a view measured in turns, run for run: a machine whose speed drifts while the
// benchmark runs slows both alike, and the ratio of the two medians holds still.
std::pair<double, double> MediansInTurns(int runs, const std::function<void()>& floor,
                                         const std::function<void()>& view)
{
    floor();  // warm-ups
    view();
    std::vector<double> a, b;
    for (int i = 0; i < runs; ++i) {
        a.push_back(Seconds(floor));
        b.push_back(Seconds(view));
    }
    return {Median(a), Median(b)};
}

constexpr int kPaintRuns = 31;

// Whether `--views` (empty: every measure) names `view`.
bool Wanted(const QStringList& views, const char* view)
{
    return views.isEmpty() || views.contains(QLatin1String(view));
}

// A view's refresh on two databases of different sizes, measured in turns: the large one's
// refresh, then the small one's, run for run. The sizes' own blocks of the benchmark are
// minutes apart, and a drift of this machine's speed between them would land whole in a
// ratio of the two. A small refresh takes a hundredth of the large one's time, so each turn's
// small time is the median of five.
struct InTurns {
    double small = 0, large = 0;
};

template <class View>
InTurns RefreshesInTurns(int runs, const QString& small, const QString& large)
{
    auto on = [](const QString& path) { qputenv("BREV_DATABASE", path.toLocal8Bit()); };
    on(small);
    View a;
    a.resize(1200, 800);
    a.Refresh();  // warm-ups (and the forecast's won dates, already in place, checked)
    on(large);
    View b;
    b.resize(1200, 800);
    b.Refresh();
    std::vector<double> ta, tb;
    for (int i = 0; i < runs; ++i) {
        tb.push_back(Seconds([&] {
            on(large);
            b.Refresh();
        }));
        std::vector<double> few;
        few.reserve(5);
        for (int k = 0; k < 5; ++k) {
            few.push_back(Seconds([&] {
                on(small);
                a.Refresh();
            }));
        }
        ta.push_back(Median(few));
    }
    return {Median(ta), Median(tb)};
}

size_t HeapInUse()
{
    malloc_trim(0);
    const struct mallinfo2 mi = mallinfo2();
    return mi.uordblks + mi.hblkhd;
}

// The Jet texts as SQLite runs them (the same statements the views run).
// The flat view's stored query with its status filter, as the view composes them.
const char* kFlatFloor =
    "SELECT * FROM (SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
    "Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, Note FROM IboMain WHERE ((RecStatusArchive = 0) And "
    "(RecStatusDelete = 0)) ORDER BY DateWWIH) WHERE ((DescriptorStatus=1) OR (DescriptorStatus=2) OR (DescriptorStatus=3) OR "
    "(DescriptorStatus=4))";

// The floor reads with the engine set up as the views' connections are (the file mapped
// for reading), so that a ratio measures the views' own work and not a setting.
sqlite3* OpenForFloor(const QString& path)
{
    sqlite3* db = nullptr;
    sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_exec(db, "PRAGMA mmap_size=1073741824", nullptr, nullptr, nullptr);
    return db;
}

long long Scan(sqlite3* db, const char* sql, const std::vector<std::pair<const char*, int>>& params = {})
{
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &s, nullptr) != SQLITE_OK) {
        std::fprintf(stderr, "floor query: %s\n", sqlite3_errmsg(db));
        return 0;
    }
    for (const auto& [name, value] : params)
        sqlite3_bind_int(s, sqlite3_bind_parameter_index(s, name), value);
    long long bytes = 0;
    const int cols = sqlite3_column_count(s);
    while (sqlite3_step(s) == SQLITE_ROW) {
        for (int c = 0; c < cols; ++c) {
            sqlite3_column_text(s, c);
            bytes += sqlite3_column_bytes(s, c);
        }
    }
    sqlite3_finalize(s);
    return bytes;
}

// The floor of each view: the statements it runs, read whole as text. It stays open for a
// whole measure, so that its runs can take turns with the view's.
std::function<void()> SqliteFloor(const QString& path, const char* view)
{
    std::shared_ptr<sqlite3> db(OpenForFloor(path), sqlite3_close);
    const QByteArray today = QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd 00:00:00")).toUtf8();
    const QString prioritySelect = QStringLiteral(
        "SELECT DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, IboValueNumeric, IboValueDecimal, "
        "Product, DateQualified, IboID, DescriptorPriority, IboNumber, Note FROM IboMain WHERE DescriptorStatus = 1 AND "
        "RecStatusArchive = 0 AND RecStatusDelete = 0 ");
    const QByteArray overdue =
        (prioritySelect +
         QStringLiteral("AND DateWWIH < '%1' ORDER BY DescriptorPriority, DateWWIH, IboValueNumeric, IboNumber")
             .arg(QString::fromUtf8(today)))
            .toUtf8();
    const QByteArray byPriority =
        (prioritySelect +
         QStringLiteral(
             "AND DateWWIH >= '%1' AND DescriptorPriority = @p ORDER BY DateWWIH, IboValueNumeric, IboNumber")
             .arg(QString::fromUtf8(today)))
            .toUtf8();
    const char* forecast =
        "SELECT IboID,IboNumber,DateWWIH,ConFirstName,ConLastName,ConCompany, DescriptorUwwgi, DescriptorUwih, Product,IboValueNumeric, "
        "IboValueDecimal,DescriptorStatus,DateWonLostCancel, Note FROM IboMain WHERE ((DescriptorStatus=1) OR (DescriptorStatus=2)) AND "
        "((RecStatusArchive=0) AND (RecStatusDelete=0)) ORDER BY substr(DateWWIH,1,7), (DescriptorUwwgi*DescriptorUwih + ((DescriptorStatus-1)*20)) DESC, "
        "DescriptorUwih DESC, DescriptorUwwgi DESC, IboValueNumeric DESC";
    if (qstrcmp(view, "flat") == 0)
        return [db] { Scan(db.get(), kFlatFloor); };
    if (qstrcmp(view, "priority") == 0) {
        return [db, overdue, byPriority] {
            Scan(db.get(), overdue.constData());
            for (int p = 1; p <= 5; ++p)
                Scan(db.get(), byPriority.constData(), {{"@p", p}});
        };
    }
    return [db, forecast] { Scan(db.get(), forecast); };
}

int CountRows(const QString& path)
{
    sqlite3* db = OpenForFloor(path);
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db, kFlatFloor, -1, &s, nullptr);
    int n = 0;
    while (sqlite3_step(s) == SQLITE_ROW)
        ++n;
    sqlite3_finalize(s);
    sqlite3_close(db);
    return n;
}

// The same floors on a server: the statements as the views send them to PostgreSQL, each
// result read whole with PQexec and every column taken as text.
bool IsServer(const QString& path)
{
    return path.startsWith(QLatin1String("postgresql://"));
}

long long PgScan(PGconn* c, const QByteArray& sql, const char* parameter = nullptr)
{
    PGresult* r = parameter ? PQexecParams(c, sql.constData(), 1, nullptr, &parameter, nullptr, nullptr, 0)
                            : PQexec(c, sql.constData());
    if (PQresultStatus(r) != PGRES_TUPLES_OK)
        std::fprintf(stderr, "floor query: %s\n", PQresultErrorMessage(r));
    long long bytes = 0;
    const int rows = PQntuples(r), cols = PQnfields(r);
    for (int i = 0; i < rows; ++i) {
        for (int col = 0; col < cols; ++col) {
            PQgetvalue(r, i, col);
            bytes += PQgetlength(r, i, col);
        }
    }
    PQclear(r);
    return bytes;
}

const char* kPgFlatFloor =
    "SELECT * FROM (SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
    "Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, Note FROM IboMain WHERE ((RecStatusArchive = false) And "
    "(RecStatusDelete = false)) ORDER BY DateWWIH NULLS FIRST) AS brev_q WHERE ((DescriptorStatus=1) OR (DescriptorStatus=2) OR "
    "(DescriptorStatus=3) OR (DescriptorStatus=4))";

std::function<void()> PgFloor(const QString& uri, const char* view)
{
    std::shared_ptr<PGconn> c(PQconnectdb(uri.toUtf8().constData()), PQfinish);
    const QString today = QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd 00:00:00"));
    const QString select = QStringLiteral(
        "SELECT DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, IboValueNumeric, IboValueDecimal, "
        "Product, DateQualified, IboID, DescriptorPriority, IboNumber, Note FROM IboMain WHERE ((DescriptorStatus = 1) And "
        "(RecStatusArchive = false) And (RecStatusDelete = false) ");
    const QByteArray overdue =
        (select + QStringLiteral("And (DateWWIH < TIMESTAMP '%1')) ORDER BY DescriptorPriority NULLS FIRST, "
                                 "DateWWIH NULLS FIRST, IboValueNumeric NULLS FIRST, IboNumber NULLS FIRST")
                      .arg(today))
            .toUtf8();
    const QByteArray byPriority =
        (select + QStringLiteral("And (DateWWIH >= TIMESTAMP '%1') And (DescriptorPriority = $1)) ORDER BY "
                                 "DateWWIH NULLS FIRST, IboValueNumeric NULLS FIRST, IboNumber NULLS FIRST")
                      .arg(today))
            .toUtf8();
    const QByteArray forecast =
        "SELECT IboID,IboNumber,DateWWIH,ConFirstName,ConLastName,ConCompany, DescriptorUwwgi, DescriptorUwih, Product,IboValueNumeric, "
        "IboValueDecimal,DescriptorStatus,DateWonLostCancel, Note FROM IboMain WHERE ((DescriptorStatus=1) OR (DescriptorStatus=2)) AND "
        "((RecStatusArchive=false) AND (RecStatusDelete=false)) ORDER BY ((extract(year from DateWWIH)*12)+extract(month from DateWWIH)) "
        "NULLS FIRST, (DescriptorUwwgi*DescriptorUwih + ((DescriptorStatus-1)*20)) DESC NULLS LAST, DescriptorUwih DESC NULLS LAST, "
        "DescriptorUwwgi DESC NULLS LAST, IboValueNumeric DESC NULLS LAST";
    if (qstrcmp(view, "flat") == 0)
        return [c] { PgScan(c.get(), kPgFlatFloor); };
    if (qstrcmp(view, "priority") == 0) {
        return [c, overdue, byPriority] {
            PgScan(c.get(), overdue);
            for (const char* p : {"1", "2", "3", "4", "5"})
                PgScan(c.get(), byPriority, p);
        };
    }
    return [c, forecast] { PgScan(c.get(), forecast); };
}

struct Result {
    double floorFlat = 0, floorPriority = 0, floorForecast = 0;
    double flat = 0, priority = 0, forecast = 0, modeSwitch = 0, expandCollapse = 0, gotoLast = 0, paint = 0;
    double model = 0;
    double sqliteFloorFlat = 0;  // on a server run: the same list's floor from an SQLite file
    size_t flatBytes = 0, modelBytes = 0, priorityBytes = 0, forecastBytes = 0;
    int rows = 0;
};

Result Measure(const QString& path, int runs, bool withModel, const QStringList& views)
{
    auto wanted = [&](const char* view) { return Wanted(views, view); };
    Result r;
    const bool server = IsServer(path);
    if (server) {
        PGconn* c = PQconnectdb(path.toUtf8().constData());
        PGresult* count = PQexec(c, (QByteArray("SELECT count(*) FROM (") + kPgFlatFloor + ") AS n").constData());
        r.rows = QByteArray(PQgetvalue(count, 0, 0)).toInt();
        PQclear(count);
        PQfinish(c);
    } else {
        r.rows = CountRows(path);
    }
    auto floor = [&](const char* view) { return server ? PgFloor(path, view) : SqliteFloor(path, view); };
    qputenv("BREV_DATABASE", path.toLocal8Bit());
    {
        // The won dates are written once; later refreshes find them in place. Every floor and
        // every view is measured on the database as that first refresh leaves it.
        BrevView::ForecastView warm;
        warm.Refresh();
    }
    if (server) {
        // On a server those writes (a fifth of the IBOs) also clear the marks that let an index
        // alone answer the priority view's statements. Left to autovacuum, whether the marks are
        // back when a view is measured is a matter of timing; they are set again here, as
        // autovacuum would soon after, so that every run measures the same settled table.
        PGconn* c = PQconnectdb(path.toUtf8().constData());
        QString error;
        if (!BrevView::sample::VacuumIboMain(c, &error))
            std::fprintf(stderr, "views_bench: vacuum after the first refresh: %s\n", qPrintable(error));
        PQfinish(c);
    }
    if (wanted("flat")) {
        const std::function<void()> flatFloor = floor("flat");
        const size_t before = HeapInUse();
        BrevView::FlatView flat;
        flat.resize(1200, 800);
        std::tie(r.floorFlat, r.flat) = MediansInTurns(runs, flatFloor, [&] { flat.Refresh(); });
        r.flatBytes = HeapInUse() - before;
        QImage image(1200, 800, QImage::Format_ARGB32_Premultiplied);
        flat.GotoIBO(0);
        // A paint takes about 10 ms and this machine slows for stretches of a few of them:
        // the median of many is the paint's own time.
        r.paint = MedianOf(std::max(runs, kPaintRuns), [&] { flat.render(&image); });
    }
    if (wanted("priority")) {
        const std::function<void()> priorityFloor = floor("priority");
        const size_t before = HeapInUse();
        BrevView::PriorityView priority;
        priority.resize(1200, 800);
        std::tie(r.floorPriority, r.priority) = MediansInTurns(runs, priorityFloor, [&] { priority.Refresh(); });
        r.priorityBytes = HeapInUse() - before;
    }
    if (wanted("forecast")) {
        const std::function<void()> forecastFloor = floor("forecast");
        const size_t before = HeapInUse();
        BrevView::ForecastView forecast;
        forecast.resize(1200, 800);
        std::tie(r.floorForecast, r.forecast) = MediansInTurns(runs, forecastFloor, [&] { forecast.Refresh(); });
        r.forecastBytes = HeapInUse() - before;
        int mode = 0;
        r.modeSwitch = MedianOf(runs, [&] { forecast.setForecastMode(mode ^= 1); });
        r.expandCollapse = MedianOf(runs, [&] {
            forecast.ExpandAllNodes();
            forecast.CollapseAllNodes();
        });
        QWidget* grid = forecast.findChild<QWidget*>(QStringLiteral("flexGrid"));
        const int rows = grid->property("Rows").toInt();
        QVariant last;
        QMetaObject::invokeMethod(grid, "RowData", Q_RETURN_ARG(QVariant, last), Q_ARG(int, rows - 1));
        r.gotoLast = MedianOf(runs, [&] { forecast.GotoIBO(last.toInt()); });
    }
    if (withModel && wanted("model")) {
        // The usual Qt way: one item per cell, two coloured columns, the same texts.
        sqlite3* db = OpenForFloor(path);
        std::vector<double> times;
        for (int i = 0; i < std::max(1, std::min(runs, 3)); ++i) {
            const size_t before = HeapInUse();
            QStandardItemModel model;
            times.push_back(Seconds([&] {
                sqlite3_stmt* s = nullptr;
                sqlite3_prepare_v2(db, kFlatFloor, -1, &s, nullptr);
                model.setColumnCount(12);
                const QBrush blue(QColor(0, 0, 255));
                int row = 0;
                while (sqlite3_step(s) == SQLITE_ROW) {
                    model.setRowCount(row + 1);
                    for (int c = 0; c < 12; ++c) {
                        auto* item = new QStandardItem(QString::fromUtf8(
                            reinterpret_cast<const char*>(sqlite3_column_text(s, c)), sqlite3_column_bytes(s, c)));
                        if (c == 6 || c == 7)
                            item->setForeground(blue);
                        model.setItem(row, c, item);
                    }
                    ++row;
                }
                sqlite3_finalize(s);
            }));
            r.modelBytes = HeapInUse() - before;
        }
        r.model = Median(times);
        sqlite3_close(db);
    }
    return r;
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir tmp;
    qputenv("XDG_CONFIG_HOME", tmp.filePath(QStringLiteral("config")).toLocal8Bit());
    QApplication::setApplicationName(QStringLiteral("views_bench"));
    QApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Measures each view's Refresh against the floor of its own queries at several sizes; exits 1 when a goal is missed."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption shortOption(QStringLiteral("short"),
                                         QStringLiteral("Only 10,000 IBOs (the goals are not checked)."));
    const QCommandLineOption runsOption(QStringLiteral("runs"), QStringLiteral("Runs of each measure (default 5)."),
                                        QStringLiteral("K"), QStringLiteral("5"));
    const QCommandLineOption dirOption(
        QStringLiteral("dir"), QStringLiteral("Keep the sample databases in DIR between runs."), QStringLiteral("DIR"));
    const QCommandLineOption sizesOption(QStringLiteral("sizes"),
                                         QStringLiteral("Comma-separated sizes (default 10000,100000,1000000)."),
                                         QStringLiteral("LIST"));
    const QCommandLineOption engineOption(QStringLiteral("engine"), QStringLiteral("sqlite (default) or postgresql."),
                                          QStringLiteral("ENGINE"), QStringLiteral("sqlite"));
    const QCommandLineOption profileOption(
        QStringLiteral("profile"),
        QStringLiteral("Only VIEW's refreshes (a warm-up, then runs - 1 timed), for a profiler."),
        QStringLiteral("VIEW"));
    const QCommandLineOption databaseOption(
        QStringLiteral("database"),
        QStringLiteral("With --profile: this database (a file or a postgresql:// URI) instead of DIR's."),
        QStringLiteral("PATH"));
    const QCommandLineOption viewsOption(
        QStringLiteral("views"),
        QStringLiteral("Only these measures: flat, priority, forecast, model (comma-separated; "
                       "the goals of the others are then not checked)."),
        QStringLiteral("LIST"));
    parser.addOptions(
        {shortOption, runsOption, dirOption, sizesOption, profileOption, engineOption, databaseOption, viewsOption});
    parser.process(app);
    const bool onServer = parser.value(engineOption) == QLatin1String("postgresql");
    // A server of the benchmark's own, stopped at the end.
    const QString serverInfo = tmp.filePath(QStringLiteral("pg-server.info"));
    const QString script = QStringLiteral(BREVVIEW_SOURCE_DIR "/scripts/pg-test-server");
    QString serverUri;
    if (onServer) {
        if (QProcess::execute(QStringLiteral("bash"), {script, QStringLiteral("start"), serverInfo}) != 0)
            return 2;
        QFile info(serverInfo);
        info.open(QIODevice::ReadOnly);
        for (const QByteArray& line : info.readAll().split('\n')) {
            if (line.startsWith("PG_TEST_URI="))
                serverUri = QString::fromUtf8(line.mid(12));
            else if (line.startsWith("PG_TEST_PASSFILE="))
                qputenv("PGPASSFILE", line.mid(17));
            else if (line.startsWith("PG_TEST_USER="))
                qputenv("PGUSER", line.mid(13));
        }
    }
    struct StopServer {
        bool on;
        QString script, info;
        ~StopServer()
        {
            if (on)
                QProcess::execute(QStringLiteral("bash"), {script, QStringLiteral("stop"), info});
        }
    } stopServer{onServer, script, serverInfo};
    std::vector<int> sizes{10000, 100000, 1000000};
    if (parser.isSet(shortOption))
        sizes = {10000};
    if (parser.isSet(sizesOption)) {
        sizes.clear();
        for (const QString& s : parser.value(sizesOption).split(QLatin1Char(',')))
            sizes.push_back(s.toInt());
    }
    const int runs = parser.value(runsOption).toInt();
    const QStringList views =
        parser.isSet(viewsOption) ? parser.value(viewsOption).split(QLatin1Char(',')) : QStringList();
    const QString dir = parser.isSet(dirOption) ? parser.value(dirOption) : tmp.path();
    if (parser.isSet(profileOption)) {
        const QString path = parser.isSet(databaseOption)
                                 ? parser.value(databaseOption)
                                 : QDir(dir).filePath(QStringLiteral("bench-%1.db").arg(sizes.front()));
        qputenv("BREV_DATABASE", path.toLocal8Bit());
        const QString which = parser.value(profileOption);
        std::unique_ptr<QWidget> view(BrevView::CreateControl(QStringLiteral("BrevView.") + which));
        view->resize(1200, 800);
        const double t = MedianOf(std::max(1, runs - 1), [&] { QMetaObject::invokeMethod(view.get(), "Refresh"); });
        std::printf("%s.Refresh at %d: %.4f s (median of %d after a warm-up)\n", qPrintable(which), sizes.front(), t,
                    std::max(1, runs - 1));
        return 0;
    }
    std::map<int, Result> results;
    std::map<int, QString> paths;
    for (int n : sizes) {
        const QString file = QDir(dir).filePath(QStringLiteral("bench-%1.db").arg(n));
        QString path = file;
        if (onServer) {
            // A schema per size in the server's database, filled with the same sample.
            PGconn* c = PQconnectdb(serverUri.toUtf8().constData());
            PQclear(PQexec(c, QStringLiteral("CREATE SCHEMA IF NOT EXISTS bench_%1").arg(n).toUtf8().constData()));
            PQfinish(c);
            path = serverUri + QStringLiteral("?options=-csearch_path%3Dbench_") + QString::number(n);
            BrevView::sample::Options options;
            options.count = n;
            options.archivePercent = 0;
            const QString error = BrevView::sample::Generate(path, options);
            if (!error.isEmpty()) {
                std::fprintf(stderr, "views_bench: %s\n", qPrintable(error));
                return 2;
            }
        }
        if (!QFile::exists(file)) {
            BrevView::sample::Options options;
            options.count = n;
            options.archivePercent = 0;
            const QString error = BrevView::sample::Generate(file, options);
            if (!error.isEmpty()) {
                std::fprintf(stderr, "views_bench: %s\n", qPrintable(error));
                return 2;
            }
        }
        results[n] = Measure(path, runs, !onServer && n <= 100000, views);
        paths[n] = path;
        if (onServer)
            results[n].sqliteFloorFlat = MedianOf(runs, SqliteFloor(file, "flat"));
        const Result& r = results[n];
        std::printf("\n%d IBOs (%d in the flat list), median of %d runs\n", n, r.rows, runs);
        std::printf("  %-34s %10.4f s\n", "floor, flat query", r.floorFlat);
        std::printf("  %-34s %10.4f s\n", "floor, priority queries", r.floorPriority);
        std::printf("  %-34s %10.4f s\n", "floor, forecast query", r.floorForecast);
        std::printf("  %-34s %10.4f s  %8.1f MiB\n", "FlatView.Refresh", r.flat, r.flatBytes / 1048576.0);
        std::printf("  %-34s %10.4f s  %8.1f MiB\n", "PriorityView.Refresh", r.priority, r.priorityBytes / 1048576.0);
        std::printf("  %-34s %10.4f s  %8.1f MiB\n", "ForecastView.Refresh (won checked)", r.forecast,
                    r.forecastBytes / 1048576.0);
        std::printf("  %-34s %10.4f s\n", "ForecastMode switch", r.modeSwitch);
        std::printf("  %-34s %10.4f s\n", "ExpandAllNodes + CollapseAllNodes", r.expandCollapse);
        std::printf("  %-34s %10.4f s\n", "GotoIBO of the last IBO", r.gotoLast);
        std::printf("  %-34s %10.5f s  (median of %d)\n", "paint 1200x800 (flat view)", r.paint,
                    std::max(runs, kPaintRuns));
        if (r.model > 0)
            std::printf("  %-34s %10.4f s  %8.1f MiB\n", "QStandardItemModel fill", r.model, r.modelBytes / 1048576.0);
        if (r.sqliteFloorFlat > 0)
            std::printf("  %-34s %10.4f s  (server floor / SQLite floor %.2fx)\n", "SQLite floor, flat query",
                        r.sqliteFloorFlat, r.floorFlat / r.sqliteFloorFlat);
    }
    // Time per IBO: each view on the smallest and the largest database, in turns.
    std::map<QString, InTurns> perIbo;
    if (results.count(10000) && results.count(1000000)) {
        const QString& small = paths[10000];
        const QString& large = paths[1000000];
        const auto wanted = [&](const char* view) { return Wanted(views, view); };
        std::printf("\nEach view on 10000 and on 1000000 IBOs in turns, median of %d turns\n", runs);
        auto show = [&](const char* name, const InTurns& t) {
            perIbo[QLatin1String(name)] = t;
            std::printf("  %-34s %10.4f s  %10.4f s\n", name, t.small, t.large);
        };
        if (wanted("flat"))
            show("FlatView.Refresh", RefreshesInTurns<BrevView::FlatView>(runs, small, large));
        if (wanted("priority"))
            show("PriorityView.Refresh", RefreshesInTurns<BrevView::PriorityView>(runs, small, large));
        if (wanted("forecast"))
            show("ForecastView.Refresh", RefreshesInTurns<BrevView::ForecastView>(runs, small, large));
    }
    bool ok = true;
    auto check = [&](const QString& what, double value, double goal, bool atMost, bool checked) {
        if (!std::isfinite(value) || value == 0)
            return;  // a measure left out with --views
        const bool pass = atMost ? value <= goal : value >= goal;
        if (checked)
            ok = ok && pass;
        std::printf("%-60s %8.3f  goal %s %6.3f  %s\n", qPrintable(what), value, atMost ? "<=" : ">=", goal,
                    !checked ? "(not checked)"
                    : pass   ? "ok"
                             : "MISSED");
    };
    // The ratios to the floors are goals at 100,000 and at 1,000,000 IBOs, each engine against
    // its own floor; a run with neither size (--short) prints its first size's ratios
    // without checking them (at 10,000 the views' fixed costs weigh more).
    std::vector<int> goalSizes;
    for (int n : {100000, 1000000}) {
        if (results.count(n))
            goalSizes.push_back(n);
    }
    const bool atGoalSize = !goalSizes.empty();
    if (!atGoalSize)
        goalSizes.push_back(sizes.front());
    std::printf("\nGoals (the ratios are checked at 100000 and 1000000 IBOs, on runs that include those sizes)\n");
    for (int n : goalSizes) {
        const Result& m = results[n];
        check(QStringLiteral("FlatView.Refresh / floor at %1").arg(n), m.flat / m.floorFlat, 1.3, true, atGoalSize);
        check(QStringLiteral("PriorityView.Refresh / floor at %1").arg(n), m.priority / m.floorPriority, 1.6, true,
              atGoalSize);
        check(QStringLiteral("ForecastView.Refresh / floor at %1").arg(n), m.forecast / m.floorForecast, 2.0, true,
              atGoalSize);
        check(QStringLiteral("ForecastMode switch / ForecastView.Refresh at %1").arg(n), m.modeSwitch / m.forecast,
              0.25, true, atGoalSize);
    }
    // Beside the usual Qt way (only on SQLite, up to 100,000 IBOs).
    for (const auto& [n, m] : results) {
        if (m.model > 0 && (n == 100000 || !atGoalSize)) {
            check(QStringLiteral("QStandardItemModel fill / FlatView.Refresh at %1").arg(n), m.model / m.flat, 3.0,
                  false, atGoalSize);
            check(QStringLiteral("FlatView memory / QStandardItemModel memory at %1").arg(n),
                  double(m.flatBytes) / double(m.modelBytes), 1.0 / 3.0, true, atGoalSize);
        }
    }
    if (results.count(1000000)) {
        const Result& l = results[1000000];
        check(QStringLiteral("ForecastView memory at 1000000, MiB"), l.forecastBytes / 1048576.0, 400, true, true);
        // Reading and filling on two cores takes the list below its single-threaded floor.
        check(QStringLiteral("FlatView.Refresh / floor at 1000000 (both cores)"), l.flat / l.floorFlat, 1.0, true,
              true);
    }
    if (results.count(10000) && results.count(1000000)) {
        const Result& s = results[10000];
        const Result& l = results[1000000];
        const double scale = double(s.rows) / double(l.rows);
        for (const char* view : {"FlatView", "PriorityView", "ForecastView"}) {
            const InTurns t = perIbo[QLatin1String(view) + QLatin1String(".Refresh")];
            check(QStringLiteral("%1 time per IBO, 1M / 10k (in turns)").arg(QLatin1String(view)),
                  t.large / t.small * scale, 1.3, true, true);
        }
        check(QStringLiteral("viewport paint, 1M / 10k rows"), l.paint / s.paint, 1.5, true, true);
    }
    return ok ? 0 : 1;
}
