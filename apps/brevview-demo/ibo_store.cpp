#include "ibo_store.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <cmath>
#include <vector>

#include <QList>

namespace {

struct Db {
    sqlite3* db = nullptr;
    explicit Db(const QString& path)
    {
        sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
    }
    ~Db() { sqlite3_close(db); }
};

QString Text(sqlite3_stmt* s, int c)
{
    const unsigned char* t = sqlite3_column_text(s, c);
    return t ? QString::fromUtf8(reinterpret_cast<const char*>(t)) : QString();
}

// A session on the server for one call, as the SQLite side opens the file for one call.
struct ServerDb {
    PGconn* conn = nullptr;
    explicit ServerDb(const QString& uri) : conn(PQconnectdb(uri.toUtf8().constData()))
    {
        PQsetNoticeProcessor(
            conn, [](void*, const char*) {}, nullptr);
    }
    ~ServerDb() { PQfinish(conn); }
    QString Error() const { return QString::fromUtf8(PQerrorMessage(conn)).trimmed(); }
};

QString Cell(PGresult* r, int c)
{
    return PQgetisnull(r, 0, c) ? QString() : QString::fromUtf8(PQgetvalue(r, 0, c));
}

}  // namespace

std::optional<IboRecord> IboStore::LoadFromServer(qint32 id, QString* error) const
{
    ServerDb d(path_);
    const char* sql =
        "SELECT IboID, IboNumber, ConFirstName, ConLastName, ConCompany, Product, Note, to_char(DateWWIH, 'YYYY-MM-DD'), "
        "DescriptorStatus, DescriptorPriority, DescriptorUwih, DescriptorUwwgi, IboValueNumeric, IboValueDecimal "
        "FROM IboMain WHERE IboID = $1 UNION ALL SELECT IboID, IboNumber, ConFirstName, ConLastName, ConCompany, Product, Note, "
        "to_char(DateWWIH, 'YYYY-MM-DD'), DescriptorStatus, DescriptorPriority, DescriptorUwih, DescriptorUwwgi, IboValueNumeric, "
        "IboValueDecimal FROM IboArchive WHERE IboID = $1";
    const QByteArray idText = QByteArray::number(id);
    const char* values[] = {idText.constData()};
    PGresult* r = PQexecParams(d.conn, sql, 1, nullptr, values, nullptr, nullptr, 0);
    std::optional<IboRecord> out;
    if (PQresultStatus(r) != PGRES_TUPLES_OK) {
        *error = PQstatus(d.conn) == CONNECTION_OK ? QString::fromUtf8(PQresultErrorMessage(r)).trimmed() : d.Error();
    } else if (PQntuples(r) == 0) {
        *error = QStringLiteral("IBO %1 is not in the database").arg(id);
    } else {
        IboRecord rec;
        rec.id = Cell(r, 0).toInt();
        rec.number = Cell(r, 1);
        rec.firstName = Cell(r, 2);
        rec.lastName = Cell(r, 3);
        rec.company = Cell(r, 4);
        rec.product = Cell(r, 5);
        rec.note = Cell(r, 6);
        rec.dateWWIH = Cell(r, 7);
        rec.status = Cell(r, 8).toInt();
        rec.priority = Cell(r, 9).toInt();
        rec.uwih = Cell(r, 10).toInt();
        rec.uwwgi = Cell(r, 11).toInt();
        rec.value = Cell(r, 12).toDouble() + Cell(r, 13).toDouble() / 100.0;
        out = rec;
    }
    PQclear(r);
    return out;
}

bool IboStore::SaveOnServer(const IboRecord& rec, QString* error) const
{
    ServerDb d(path_);
    const char* sql =
        "UPDATE IboMain SET IboNumber = $2, ConFirstName = $3, ConLastName = $4, ConCompany = $5, Product = $6, Note = $7, "
        "DateWWIH = $8::date + coalesce(DateWWIH::time, time '00:00'), DescriptorStatus = $9, DescriptorPriority = $10, "
        "DescriptorUwih = $11, DescriptorUwwgi = $12, IboValueNumeric = $13, IboValueDecimal = $14 WHERE IboID = $1";
    const double whole = std::floor(rec.value);
    const QList<QByteArray> texts = {QByteArray::number(rec.id),
                                     rec.number.toUtf8(),
                                     rec.firstName.toUtf8(),
                                     rec.lastName.toUtf8(),
                                     rec.company.toUtf8(),
                                     rec.product.toUtf8(),
                                     rec.note.toUtf8(),
                                     rec.dateWWIH.toUtf8(),
                                     QByteArray::number(rec.status),
                                     QByteArray::number(rec.priority),
                                     QByteArray::number(rec.uwih),
                                     QByteArray::number(rec.uwwgi),
                                     QByteArray::number(qint64(whole)),
                                     QByteArray::number(int(std::lround((rec.value - whole) * 100)) % 100)};
    std::vector<const char*> values;
    for (const QByteArray& t : texts)
        values.push_back(t.constData());
    PGresult* r = PQexecParams(d.conn, sql, int(values.size()), nullptr, values.data(), nullptr, nullptr, 0);
    const bool ok = PQresultStatus(r) == PGRES_COMMAND_OK;
    if (!ok)
        *error = PQstatus(d.conn) == CONNECTION_OK ? QString::fromUtf8(PQresultErrorMessage(r)).trimmed() : d.Error();
    PQclear(r);
    return ok;
}

QString IboStore::ServerText(const char* sql, const QByteArray& parameter) const
{
    ServerDb d(path_);
    const char* values[] = {parameter.constData()};
    PGresult* r = PQexecParams(d.conn, sql, 1, nullptr, values, nullptr, nullptr, 0);
    QString out = PQresultStatus(r) == PGRES_TUPLES_OK && PQntuples(r) > 0 ? Cell(r, 0) : QString();
    PQclear(r);
    return out;
}

std::optional<IboRecord> IboStore::Load(qint32 id, QString* error) const
{
    if (IsServerUri(path_))
        return LoadFromServer(id, error);
    Db d(path_);
    sqlite3_stmt* s = nullptr;
    const char* sql =
        "SELECT IboID, IboNumber, ConFirstName, ConLastName, ConCompany, Product, Note, substr(DateWWIH, 1, 10), "
        "DescriptorStatus, DescriptorPriority, DescriptorUwih, DescriptorUwwgi, IboValueNumeric, IboValueDecimal "
        "FROM IboMain WHERE IboID = ?1 UNION ALL SELECT IboID, IboNumber, ConFirstName, ConLastName, ConCompany, Product, Note, "
        "substr(DateWWIH, 1, 10), DescriptorStatus, DescriptorPriority, DescriptorUwih, DescriptorUwwgi, IboValueNumeric, "
        "IboValueDecimal FROM IboArchive WHERE IboID = ?1";
    if (sqlite3_prepare_v2(d.db, sql, -1, &s, nullptr) != SQLITE_OK) {
        *error = QString::fromUtf8(sqlite3_errmsg(d.db));
        return std::nullopt;
    }
    sqlite3_bind_int(s, 1, id);
    std::optional<IboRecord> out;
    if (sqlite3_step(s) == SQLITE_ROW) {
        IboRecord r;
        r.id = sqlite3_column_int(s, 0);
        r.number = Text(s, 1);
        r.firstName = Text(s, 2);
        r.lastName = Text(s, 3);
        r.company = Text(s, 4);
        r.product = Text(s, 5);
        r.note = Text(s, 6);
        r.dateWWIH = Text(s, 7);
        r.status = sqlite3_column_int(s, 8);
        r.priority = sqlite3_column_int(s, 9);
        r.uwih = sqlite3_column_int(s, 10);
        r.uwwgi = sqlite3_column_int(s, 11);
        r.value = sqlite3_column_double(s, 12) + sqlite3_column_double(s, 13) / 100.0;
        out = r;
    } else {
        *error = QStringLiteral("IBO %1 is not in the database").arg(id);
    }
    sqlite3_finalize(s);
    return out;
}

bool IboStore::Save(const IboRecord& r, QString* error) const
{
    if (IsServerUri(path_))
        return SaveOnServer(r, error);
    Db d(path_);
    sqlite3_stmt* s = nullptr;
    const char* sql =
        "UPDATE IboMain SET IboNumber = ?2, ConFirstName = ?3, ConLastName = ?4, ConCompany = ?5, Product = ?6, Note = ?7, "
        "DateWWIH = ?8 || substr(DateWWIH, 11), DescriptorStatus = ?9, DescriptorPriority = ?10, DescriptorUwih = ?11, "
        "DescriptorUwwgi = ?12, IboValueNumeric = ?13, IboValueDecimal = ?14 WHERE IboID = ?1";
    if (sqlite3_prepare_v2(d.db, sql, -1, &s, nullptr) != SQLITE_OK) {
        *error = QString::fromUtf8(sqlite3_errmsg(d.db));
        return false;
    }
    auto text = [&](int i, const QString& t) {
        const QByteArray u = t.toUtf8();
        sqlite3_bind_text(s, i, u.constData(), int(u.size()), SQLITE_TRANSIENT);
    };
    sqlite3_bind_int(s, 1, r.id);
    text(2, r.number);
    text(3, r.firstName);
    text(4, r.lastName);
    text(5, r.company);
    text(6, r.product);
    text(7, r.note);
    text(8, r.dateWWIH);
    sqlite3_bind_int(s, 9, r.status);
    sqlite3_bind_int(s, 10, r.priority);
    sqlite3_bind_int(s, 11, r.uwih);
    sqlite3_bind_int(s, 12, r.uwwgi);
    const double whole = std::floor(r.value);
    sqlite3_bind_int64(s, 13, qint64(whole));
    sqlite3_bind_int(s, 14, int(std::lround((r.value - whole) * 100)) % 100);
    const bool ok = sqlite3_step(s) == SQLITE_DONE;
    if (!ok)
        *error = QString::fromUtf8(sqlite3_errmsg(d.db));
    sqlite3_finalize(s);
    return ok;
}

QString IboStore::NumberOfId(qint32 id) const
{
    if (IsServerUri(path_))
        return ServerText(
            "SELECT IboNumber FROM IboMain WHERE IboID = $1 UNION ALL SELECT IboNumber FROM IboArchive WHERE IboID = $1",
            QByteArray::number(id));
    Db d(path_);
    sqlite3_stmt* s = nullptr;
    QString number;
    if (sqlite3_prepare_v2(
            d.db,
            "SELECT IboNumber FROM IboMain WHERE IboID = ?1 UNION ALL SELECT IboNumber FROM IboArchive WHERE IboID = ?1",
            -1, &s, nullptr) == SQLITE_OK) {
        sqlite3_bind_int(s, 1, id);
        if (sqlite3_step(s) == SQLITE_ROW)
            number = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)));
    }
    sqlite3_finalize(s);
    return number;
}

qint32 IboStore::IdOfNumber(const QString& number) const
{
    if (IsServerUri(path_))
        return ServerText(
                   "SELECT IboID FROM IboMain WHERE IboNumber = $1 UNION ALL SELECT IboID FROM IboArchive WHERE IboNumber = $1",
                   number.toUtf8())
            .toInt();
    Db d(path_);
    sqlite3_stmt* s = nullptr;
    qint32 id = 0;
    if (sqlite3_prepare_v2(
            d.db,
            "SELECT IboID FROM IboMain WHERE IboNumber = ?1 UNION ALL SELECT IboID FROM IboArchive WHERE IboNumber = ?1",
            -1, &s, nullptr) == SQLITE_OK) {
        const QByteArray u = number.toUtf8();
        sqlite3_bind_text(s, 1, u.constData(), int(u.size()), SQLITE_TRANSIENT);
        if (sqlite3_step(s) == SQLITE_ROW)
            id = sqlite3_column_int(s, 0);
    }
    sqlite3_finalize(s);
    return id;
}
