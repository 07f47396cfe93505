#include "sample_generator.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <cmath>
#include <random>

#include <QFile>
#include <QStringList>
#include <QThread>

#include "common/ibo_schema.h"
#include "data/engine.h"
#include "host/clock.h"

namespace BrevView::sample {
namespace {

const char* const kFirst[] = {"Anna",    "Bernd", "Chloé", "Dmitri",  "Émile", "Fatma", "Günter",   "Hana",
                              "Ingrid",  "José",  "Kasia", "Łukasz",  "María", "Nils",  "Øyvind",   "Paula",
                              "Quentin", "Renée", "Søren", "Takeshi", "Uwe",   "Vera",  "Wojciech", "Xiaoming",
                              "Yasmin",  "Zoë",   "Åsa",   "Jürgen",  "Ines",  "Olga"};
const char* const kLast[] = {"Müller",    "Schmidt",  "García",       "Nowak",   "Dubois", "Rossi",     "Jensen",
                             "Kowalczyk", "O'Brien",  "Fernández",    "Yılmaz",  "Novák",  "Andersson", "Costa",
                             "Virtanen",  "Horváth",  "Smith",        "Johnson", "Brown",  "Tanaka",    "Çelik",
                             "Lefèvre",   "Ødegaard", "Papadopoulos", "Ivanova"};
const char* const kCompany[] = {"Acme Industrial",    "Borealis Logistics", "Crédit Rhône",       "Delta Söhne GmbH",
                                "Equinox Foods",      "Fjord Marine AS",    "Granite Health",     "Helios Energy",
                                "Iberia Textil S.L.", "Juniper Retail",     "Kestrel Aviation",   "Lumen Optics",
                                "Meridian Bank",      "Nordwind AG",        "Orchid Pharma",      "Polaris Software",
                                "Quartz Mining",      "Riviera Hotels",     "Sakura Electronics", "Tundra Outfitters"};
const char* const kProducts[] = {"Analytics Suite~Training~Support",
                                 "Fleet Tracker",
                                 "Payroll Cloud~Migration",
                                 "Warehouse Scanner~Handhelds~Installation",
                                 "CRM Professional",
                                 "Data Center Rack~Cabling",
                                 "Consulting Days",
                                 "Security Audit~Pen Test",
                                 "E-Commerce Platform~Payment Gateway~Hosting",
                                 "Field Service App"};
const char* const kNotes[] = {"Waiting for budget approval.",
                              "Champion moved to another department.",
                              "Demo went well; second call booked.",
                              "Competitor is cheaper by 10 %.",
                              "Needs a reference customer in the same industry.",
                              "Legal is reviewing the contract.",
                              "Pilot with two sites first.",
                              "",
                              "Decision expected after the board meeting.",
                              "Asked for a discount on the maintenance fee."};

template <class T, size_t N>
const T& Pick(std::mt19937& rng, const T (&items)[N])
{
    return items[std::uniform_int_distribution<size_t>(0, N - 1)(rng)];
}

QString Canonical(const QDate& d, int seconds = 0)
{
    return d.toString(QStringLiteral("yyyy-MM-dd ")) +
           QTime(0, 0).addSecs(seconds).toString(QStringLiteral("HH:mm:ss"));
}

// One IBO as the writers store it: texts in the canonical forms, Null as a null text.
struct Row {
    qint64 id = 0;
    QString number, dateWwih, first, last, company;
    int uwwgi = 0, uwih = 0, priority = 0, status = 0;
    QString product;
    qint64 valueNumeric = 0;
    int valueDecimal = 0;
    QString dateQualified, dateWonLostCancel, note;
    bool archive = false, deleted = false;
};

// Makes the IBOs of both tables in one fixed order, so that a seed gives the same rows in
// either engine.
template <class Write>
void MakeRows(const Options& options, Write&& write)
{
    const QDate today = options.today.isValid() ? options.today : host::Clock::Today().ToQDate();
    std::mt19937 rng(options.seed);
    auto chance = [&](int percent) { return std::uniform_int_distribution<int>(0, 99)(rng) < percent; };
    auto days = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const int archived = options.count * options.archivePercent / 100;
    int id = 1000;
    for (const auto& [archive, rows] : {std::pair{false, options.count}, std::pair{true, archived}}) {
        for (int i = 0; i < rows; ++i) {
            ++id;
            Row r;
            // Statuses: mostly open, then won, lost and cancelled; a few rows flagged deleted.
            const int roll = days(0, 99);
            r.status = roll < 62 ? 1 : roll < 82 ? 2 : roll < 92 ? 3 : 4;
            const QDate wwih = today.addDays(days(-548, 365));
            const QDate qualified = wwih.addDays(-days(14, 300));
            // Values from hundreds to millions, more small ones than large ones.
            const double magnitude = std::pow(10.0, std::uniform_real_distribution<double>(2.0, 6.7)(rng));
            r.id = id;
            r.number = QStringLiteral("%1-%2").arg(wwih.year()).arg(id, 6, 10, QLatin1Char('0'));
            r.dateWwih = Canonical(wwih, chance(20) ? days(8, 18) * 3600 : 0);
            r.first = QString::fromUtf8(Pick(rng, kFirst));
            r.last = QString::fromUtf8(Pick(rng, kLast));
            r.company = QString::fromUtf8(Pick(rng, kCompany));
            r.uwwgi = days(0, 2);
            r.uwih = days(0, 2);
            r.priority = days(1, 5);
            r.product = QString::fromUtf8(Pick(rng, kProducts));
            r.valueNumeric = qint64(magnitude);
            r.valueDecimal = days(0, 99);
            QDate qualifiedOn = qualified;
            if (r.status != 1) {
                const QDate closed = std::min(today, wwih.addDays(-days(0, 30)));
                r.dateWonLostCancel = Canonical(closed);
                // An IBO is qualified before it closes: a cycle that would start after the
                // close starts as long before it.
                if (qualifiedOn > closed)
                    qualifiedOn = closed.addDays(-qualified.daysTo(wwih));
            }
            r.dateQualified = Canonical(qualifiedOn);
            r.note = QString::fromUtf8(Pick(rng, kNotes));
            r.archive = archive;
            r.deleted = !archive && chance(2);
            if (!write(r))
                return;
        }
    }
}

bool Exec(sqlite3* db, const char* sql, QString* error)
{
    char* err = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &err) != SQLITE_OK) {
        *error = QString::fromUtf8(err ? err : "unknown error");
        sqlite3_free(err);
        return false;
    }
    return true;
}

void BindText(sqlite3_stmt* s, int i, const QString& t)
{
    if (t.isNull()) {
        sqlite3_bind_null(s, i);
        return;
    }
    const QByteArray u = t.toUtf8();
    sqlite3_bind_text(s, i, u.constData(), int(u.size()), SQLITE_TRANSIENT);
}

QString GenerateSqlite(const QString& path, const Options& options)
{
    QFile::remove(path);
    sqlite3* db = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK)
        return QStringLiteral("cannot create %1").arg(path);
    QString error;
    const QByteArray schema = detail::IboSchemaSql().toUtf8();
    // A large page cache while filling: every row goes into three indexes in random places.
    if (!Exec(db, "PRAGMA cache_size=-262144", &error) || !Exec(db, schema.constData(), &error) ||
        !Exec(db, "BEGIN", &error)) {
        sqlite3_close(db);
        return error;
    }
    const char* insert =
        "INSERT INTO %1 (IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
        "DescriptorPriority, DescriptorStatus, Product, IboValueNumeric, IboValueDecimal, DateQualified, DateWonLostCancel, Note, "
        "RecStatusArchive, RecStatusDelete) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18)";
    sqlite3_stmt* statements[2] = {nullptr, nullptr};
    for (int t = 0; t < 2; ++t) {
        const QString table = t ? QStringLiteral("IboArchive") : QStringLiteral("IboMain");
        if (sqlite3_prepare_v2(db, QString::fromLatin1(insert).arg(table).toUtf8().constData(), -1, &statements[t],
                               nullptr) != SQLITE_OK)
            error = QString::fromUtf8(sqlite3_errmsg(db));
    }
    if (error.isEmpty()) {
        MakeRows(options, [&](const Row& r) {
            sqlite3_stmt* s = statements[r.archive ? 1 : 0];
            sqlite3_reset(s);
            sqlite3_bind_int64(s, 1, r.id);
            BindText(s, 2, r.number);
            BindText(s, 3, r.dateWwih);
            BindText(s, 4, r.first);
            BindText(s, 5, r.last);
            BindText(s, 6, r.company);
            sqlite3_bind_int(s, 7, r.uwwgi);
            sqlite3_bind_int(s, 8, r.uwih);
            sqlite3_bind_int(s, 9, r.priority);
            sqlite3_bind_int(s, 10, r.status);
            BindText(s, 11, r.product);
            sqlite3_bind_int64(s, 12, r.valueNumeric);
            sqlite3_bind_int(s, 13, r.valueDecimal);
            BindText(s, 14, r.dateQualified);
            BindText(s, 15, r.dateWonLostCancel);
            BindText(s, 16, r.note);
            sqlite3_bind_int(s, 17, r.archive ? 1 : 0);
            sqlite3_bind_int(s, 18, r.deleted ? 1 : 0);
            if (sqlite3_step(s) != SQLITE_DONE) {
                error = QString::fromUtf8(sqlite3_errmsg(db));
                return false;
            }
            return true;
        });
    }
    for (sqlite3_stmt* s : statements)
        sqlite3_finalize(s);
    // Statistics for SQLite's planner, as a maintained database has them: with them it reads
    // the list through the date index instead of sorting it.
    if (error.isEmpty() && Exec(db, "COMMIT", &error))
        Exec(db, "ANALYZE", &error);
    sqlite3_close(db);
    return error;
}

// A value in COPY's text format.
void AppendCopyText(QByteArray& line, const QString& t)
{
    if (t.isNull()) {
        line += "\\N";
        return;
    }
    for (char c : t.toUtf8()) {
        switch (c) {
        case '\\':
            line += "\\\\";
            break;
        case '\t':
            line += "\\t";
            break;
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        default:
            line += c;
        }
    }
}

QString PgError(PGconn* conn)
{
    return QString::fromUtf8(PQerrorMessage(conn)).trimmed();
}

bool PgExec(PGconn* conn, const char* sql, QString* error)
{
    PGresult* r = PQexec(conn, sql);
    const bool ok = PQresultStatus(r) == PGRES_COMMAND_OK || PQresultStatus(r) == PGRES_TUPLES_OK;
    if (!ok)
        *error = QString::fromUtf8(PQresultErrorMessage(r)).trimmed();
    PQclear(r);
    return ok;
}

// Into a PostgreSQL database: the schema (when the tables are not there yet), then the rows
// bulk-loaded with COPY in one transaction, then ANALYZE. A database whose IboMain already
// holds IBOs is left alone unless `replace` says to empty both tables first.
QString GeneratePostgreSql(const QString& uri, const Options& options)
{
    PGconn* conn = PQconnectdb(uri.toUtf8().constData());
    if (PQstatus(conn) != CONNECTION_OK) {
        QString error = QStringLiteral("cannot connect to %1: %2").arg(data::DisplayPath(uri), PgError(conn));
        PQfinish(conn);
        return error;
    }
    PQsetNoticeProcessor(
        conn, [](void*, const char*) {}, nullptr);
    QString error;
    const QByteArray schema = detail::IboSchemaSql(data::Dialect::PostgreSQL).toUtf8();
    bool ok = PgExec(conn, "BEGIN", &error) && PgExec(conn, schema.constData(), &error);
    if (ok) {
        PGresult* r = PQexec(conn, "SELECT EXISTS (SELECT 1 FROM IboMain) OR EXISTS (SELECT 1 FROM IboArchive)");
        const bool holdsIbos = PQresultStatus(r) == PGRES_TUPLES_OK && PQgetvalue(r, 0, 0)[0] == 't';
        PQclear(r);
        if (holdsIbos && !options.replace) {
            error = QStringLiteral("%1 already holds IBOs; --replace empties IboMain and IboArchive first")
                        .arg(data::DisplayPath(uri));
            ok = false;
        } else if (holdsIbos) {
            ok = PgExec(conn, "TRUNCATE IboMain, IboArchive", &error);
        }
    }
    for (int t = 0; ok && t < 2; ++t) {
        const char* copy = t ? "COPY IboArchive FROM STDIN" : "COPY IboMain FROM STDIN";
        PGresult* r = PQexec(conn, copy);
        ok = PQresultStatus(r) == PGRES_COPY_IN;
        if (!ok)
            error = QString::fromUtf8(PQresultErrorMessage(r)).trimmed();
        PQclear(r);
        if (!ok)
            break;
        QByteArray buffer;
        auto flush = [&] {
            if (!buffer.isEmpty() && PQputCopyData(conn, buffer.constData(), int(buffer.size())) != 1) {
                error = PgError(conn);
                return false;
            }
            buffer.clear();
            return true;
        };
        MakeRows(options, [&](const Row& r) {
            if (r.archive != (t == 1))
                return true;
            buffer += QByteArray::number(r.id) + '\t';
            for (const QString* text : {&r.number, &r.dateWwih, &r.first, &r.last, &r.company}) {
                AppendCopyText(buffer, *text);
                buffer += '\t';
            }
            buffer += QByteArray::number(r.uwwgi) + '\t' + QByteArray::number(r.uwih) + '\t' +
                      QByteArray::number(r.priority) + '\t' + QByteArray::number(r.status) + '\t';
            AppendCopyText(buffer, r.product);
            buffer += '\t' + QByteArray::number(r.valueNumeric) + '\t' + QByteArray::number(r.valueDecimal) + '\t';
            for (const QString* text : {&r.dateQualified, &r.dateWonLostCancel, &r.note}) {
                AppendCopyText(buffer, *text);
                buffer += '\t';
            }
            buffer += (r.archive ? "t\t" : "f\t");
            buffer += (r.deleted ? "t\n" : "f\n");
            return buffer.size() < (1 << 20) || flush();
        });
        ok = error.isEmpty() && flush();
        if (PQputCopyEnd(conn, ok ? nullptr : "the sample was not complete") != 1 && ok) {
            error = PgError(conn);
            ok = false;
        }
        while (PGresult* done = PQgetResult(conn)) {
            if (PQresultStatus(done) != PGRES_COMMAND_OK && ok) {
                error = QString::fromUtf8(PQresultErrorMessage(done)).trimmed();
                ok = false;
            }
            PQclear(done);
        }
    }
    // Statistics for the server's planner, so that it reads the views' orders by their indexes,
    // and the tables' visibility maps, so that it can answer from an index alone (an index-only
    // scan) instead of visiting each row's page: what autovacuum would do later, done now.
    ok = ok && PgExec(conn, "COMMIT", &error) && PgExec(conn, "VACUUM (ANALYZE) IboArchive", &error);
    ok = ok && VacuumIboMain(conn, &error);
    if (!ok)
        PQexec(conn, "ROLLBACK");
    PQfinish(conn);
    return error;
}

}  // namespace

bool VacuumIboMain(PGconn* conn, QString* error)
{
    // A vacuum run at once after a load or a batch of writes may not yet count the new row
    // versions as visible to every session (the server tells them so a moment later): run it
    // again until the pages are marked.
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (!PgExec(conn, "VACUUM (ANALYZE) IboMain", error))
            return false;
        PGresult* r = PQexec(conn, "SELECT relallvisible >= relpages FROM pg_class WHERE oid = 'IboMain'::regclass");
        const bool marked = PQresultStatus(r) == PGRES_TUPLES_OK && PQntuples(r) == 1 && PQgetvalue(r, 0, 0)[0] == 't';
        PQclear(r);
        if (marked)
            return true;
        QThread::msleep(250);
    }
    return true;
}

QString Generate(const QString& path, const Options& options)
{
    return data::IsServerUri(path) ? GeneratePostgreSql(path, options) : GenerateSqlite(path, options);
}

}  // namespace BrevView::sample
