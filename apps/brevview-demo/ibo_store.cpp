#include "ibo_store.h"

#include <sqlite3.h>

#include <cmath>

namespace {

struct Db {
    sqlite3* db = nullptr;
    explicit Db(const QString& path) { sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr); }
    ~Db() { sqlite3_close(db); }
};

QString Text(sqlite3_stmt* s, int c)
{
    const unsigned char* t = sqlite3_column_text(s, c);
    return t ? QString::fromUtf8(reinterpret_cast<const char*>(t)) : QString();
}

}  // namespace

std::optional<IboRecord> IboStore::Load(qint32 id, QString* error) const
{
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
    Db d(path_);
    sqlite3_stmt* s = nullptr;
    QString number;
    if (sqlite3_prepare_v2(d.db, "SELECT IboNumber FROM IboMain WHERE IboID = ?1 UNION ALL SELECT IboNumber FROM IboArchive WHERE IboID = ?1",
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
    Db d(path_);
    sqlite3_stmt* s = nullptr;
    qint32 id = 0;
    if (sqlite3_prepare_v2(d.db, "SELECT IboID FROM IboMain WHERE IboNumber = ?1 UNION ALL SELECT IboID FROM IboArchive WHERE IboNumber = ?1",
                           -1, &s, nullptr) == SQLITE_OK) {
        const QByteArray u = number.toUtf8();
        sqlite3_bind_text(s, 1, u.constData(), int(u.size()), SQLITE_TRANSIENT);
        if (sqlite3_step(s) == SQLITE_ROW)
            id = sqlite3_column_int(s, 0);
    }
    sqlite3_finalize(s);
    return id;
}
