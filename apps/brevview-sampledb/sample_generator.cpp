#include "sample_generator.h"

#include <sqlite3.h>

#include <cmath>
#include <random>

#include <QFile>
#include <QStringList>

#include "common/ibo_schema.h"
#include "platform/host/clock.h"

namespace BrevView::sample {
namespace {

const char* const kFirst[] = {"Anna", "Bernd", "Chloé", "Dmitri", "Émile", "Fatma", "Günter", "Hana", "Ingrid", "José",
                              "Kasia", "Łukasz", "María", "Nils", "Øyvind", "Paula", "Quentin", "Renée", "Søren", "Takeshi",
                              "Uwe", "Vera", "Wojciech", "Xiaoming", "Yasmin", "Zoë", "Åsa", "Jürgen", "Ines", "Olga"};
const char* const kLast[] = {"Müller", "Schmidt", "García", "Nowak", "Dubois", "Rossi", "Jensen", "Kowalczyk", "O'Brien",
                             "Fernández", "Yılmaz", "Novák", "Andersson", "Costa", "Virtanen", "Horváth", "Smith",
                             "Johnson", "Brown", "Tanaka", "Çelik", "Lefèvre", "Ødegaard", "Papadopoulos", "Ivanova"};
const char* const kCompany[] = {"Acme Industrial", "Borealis Logistics", "Crédit Rhône", "Delta Söhne GmbH", "Equinox Foods",
                                "Fjord Marine AS", "Granite Health", "Helios Energy", "Iberia Textil S.L.", "Juniper Retail",
                                "Kestrel Aviation", "Lumen Optics", "Meridian Bank", "Nordwind AG", "Orchid Pharma",
                                "Polaris Software", "Quartz Mining", "Riviera Hotels", "Sakura Electronics", "Tundra Outfitters"};
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
const char* const kNotes[] = {"Waiting for budget approval.", "Champion moved to another department.", "Demo went well; second call booked.",
                              "Competitor is cheaper by 10 %.", "Needs a reference customer in the same industry.",
                              "Legal is reviewing the contract.", "Pilot with two sites first.", "", "Decision expected after the board meeting.",
                              "Asked for a discount on the maintenance fee."};

template <class T, size_t N>
const T& Pick(std::mt19937& rng, const T (&items)[N])
{
    return items[std::uniform_int_distribution<size_t>(0, N - 1)(rng)];
}

QString Canonical(const QDate& d, int seconds = 0)
{
    return d.toString(QStringLiteral("yyyy-MM-dd ")) + QTime(0, 0).addSecs(seconds).toString(QStringLiteral("HH:mm:ss"));
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
    const QByteArray u = t.toUtf8();
    sqlite3_bind_text(s, i, u.constData(), int(u.size()), SQLITE_TRANSIENT);
}

}  // namespace

QString Generate(const QString& path, const Options& options)
{
    QFile::remove(path);
    sqlite3* db = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK)
        return QStringLiteral("cannot create %1").arg(path);
    QString error;
    const QByteArray schema = detail::IboSchemaSql().toUtf8();
    // A large page cache while filling: every row goes into three indexes in random places.
    if (!Exec(db, "PRAGMA cache_size=-262144", &error) || !Exec(db, schema.constData(), &error) || !Exec(db, "BEGIN", &error)) {
        sqlite3_close(db);
        return error;
    }
    const QDate today = options.today.isValid() ? options.today : host::Clock::Today().ToQDate();
    std::mt19937 rng(options.seed);
    auto chance = [&](int percent) { return std::uniform_int_distribution<int>(0, 99)(rng) < percent; };
    auto days = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };

    const char* insert =
        "INSERT INTO %1 (IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, "
        "DescriptorPriority, DescriptorStatus, Product, IboValueNumeric, IboValueDecimal, DateQualified, DateWonLostCancel, Note, "
        "RecStatusArchive, RecStatusDelete) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18)";
    const int archived = options.count * options.archivePercent / 100;
    int id = 1000;
    for (const auto& [table, rows] : {std::pair{QStringLiteral("IboMain"), options.count}, std::pair{QStringLiteral("IboArchive"), archived}}) {
        sqlite3_stmt* s = nullptr;
        if (sqlite3_prepare_v2(db, QString::fromLatin1(insert).arg(table).toUtf8().constData(), -1, &s, nullptr) != SQLITE_OK) {
            error = QString::fromUtf8(sqlite3_errmsg(db));
            sqlite3_close(db);
            return error;
        }
        const bool archive = table == QLatin1String("IboArchive");
        for (int i = 0; i < rows; ++i) {
            ++id;
            // Statuses: mostly open, then won, lost and cancelled; a few rows flagged deleted.
            const int roll = days(0, 99);
            const int status = roll < 62 ? 1 : roll < 82 ? 2 : roll < 92 ? 3 : 4;
            const QDate wwih = today.addDays(days(-548, 365));
            const QDate qualified = wwih.addDays(-days(14, 300));
            // Values from hundreds to millions, more small ones than large ones.
            const double magnitude = std::pow(10.0, std::uniform_real_distribution<double>(2.0, 6.7)(rng));
            sqlite3_reset(s);
            sqlite3_bind_int(s, 1, id);
            BindText(s, 2, QStringLiteral("%1-%2").arg(wwih.year()).arg(id, 6, 10, QLatin1Char('0')));
            BindText(s, 3, Canonical(wwih, chance(20) ? days(8, 18) * 3600 : 0));
            BindText(s, 4, QString::fromUtf8(Pick(rng, kFirst)));
            BindText(s, 5, QString::fromUtf8(Pick(rng, kLast)));
            BindText(s, 6, QString::fromUtf8(Pick(rng, kCompany)));
            sqlite3_bind_int(s, 7, days(0, 2));
            sqlite3_bind_int(s, 8, days(0, 2));
            sqlite3_bind_int(s, 9, days(1, 5));
            sqlite3_bind_int(s, 10, status);
            BindText(s, 11, QString::fromUtf8(Pick(rng, kProducts)));
            sqlite3_bind_int64(s, 12, qint64(magnitude));
            sqlite3_bind_int(s, 13, days(0, 99));
            BindText(s, 14, Canonical(qualified));
            if (status == 1)
                sqlite3_bind_null(s, 15);
            else
                BindText(s, 15, Canonical(std::min(today, wwih.addDays(-days(0, 30)))));
            BindText(s, 16, QString::fromUtf8(Pick(rng, kNotes)));
            sqlite3_bind_int(s, 17, archive ? 1 : 0);
            sqlite3_bind_int(s, 18, (!archive && chance(2)) ? 1 : 0);
            if (sqlite3_step(s) != SQLITE_DONE) {
                error = QString::fromUtf8(sqlite3_errmsg(db));
                sqlite3_finalize(s);
                sqlite3_close(db);
                return error;
            }
        }
        sqlite3_finalize(s);
    }
    // Statistics for SQLite's planner, as a maintained database has them: with them it reads
    // the list through the date index instead of sorting it.
    if (!Exec(db, "COMMIT", &error) || !Exec(db, "ANALYZE", &error)) {
        sqlite3_close(db);
        return error;
    }
    sqlite3_close(db);
    return QString();
}

}  // namespace BrevView::sample
