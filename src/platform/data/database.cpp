#include "database.h"

#include <sqlite3.h>

#include "../automation/runtime_error.h"
#include "sql_dialect.h"
#include "sqlite_connection.h"

namespace BrevView::data {
namespace {
const QString kSource = QStringLiteral("BrevView.Data");
}

const char* const Database::kCatalogueTable = "BrevQueryDefs";

std::shared_ptr<Database> Database::Open(const QString& path, const QString& connect)
{
    std::shared_ptr<Database> db(new Database);
    db->conn_ = SqliteConnection::Open(path);
    db->name_ = path;
    db->connect_ = connect;
    return db;
}

SqliteConnection& Database::Conn() const
{
    if (!conn_)
        automation::Raise(3420, kSource, QStringLiteral("Object invalid or no longer set."));
    return *conn_;
}

std::shared_ptr<QueryDef> Database::QueryDefs(const QString& name)
{
    SqliteConnection& c = Conn();
    sqlite3_stmt* stmt = nullptr;
    const QString sql = QStringLiteral("SELECT SQL FROM %1 WHERE Name = ?1 COLLATE NOCASE").arg(QLatin1String(kCatalogueTable));
    const QByteArray utf8 = sql.toUtf8();
    int rc = sqlite3_prepare_v2(c.handle(), utf8.constData(), int(utf8.size()), &stmt, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(stmt);
        // No catalogue yet: no stored query at all.
        automation::Raise(automation::ErrItemNotFound, kSource,
                          QStringLiteral("Item not found in this collection: query '%1'.").arg(name));
    }
    const QByteArray n = name.toUtf8();
    sqlite3_bind_text(stmt, 1, n.constData(), int(n.size()), SQLITE_TRANSIENT);
    rc = sqlite3_step(stmt);
    QString text;
    if (rc == SQLITE_ROW)
        text = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)), sqlite3_column_bytes(stmt, 0));
    sqlite3_finalize(stmt);
    if (rc == SQLITE_DONE)
        automation::Raise(automation::ErrItemNotFound, kSource,
                          QStringLiteral("Item not found in this collection: query '%1'.").arg(name));
    if (rc != SQLITE_ROW)
        c.RaiseFor(rc, QStringLiteral("Looking up query '%1'").arg(name));
    return std::make_shared<QueryDef>(conn_, name, text);
}

std::shared_ptr<QueryDef> Database::CreateQueryDef(const QString& name, const QString& sql)
{
    SqliteConnection& c = Conn();
    // Check the text before saving it, so that no broken query is stored.
    auto query = std::make_shared<QueryDef>(conn_, name, sql);
    c.Execute(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (Name TEXT PRIMARY KEY COLLATE NOCASE, SQL TEXT NOT NULL)")
                  .arg(QLatin1String(kCatalogueTable)));
    sqlite3_stmt* stmt = c.Prepare(QStringLiteral("INSERT INTO %1 (Name, SQL) VALUES (?1, ?2)").arg(QLatin1String(kCatalogueTable)));
    const QByteArray n = name.toUtf8();
    const QByteArray s = sql.toUtf8();
    sqlite3_bind_text(stmt, 1, n.constData(), int(n.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 2, s.constData(), int(s.size()), SQLITE_TRANSIENT);
    const int rc = sqlite3_step(stmt);
    sqlite3_finalize(stmt);
    if (rc == SQLITE_CONSTRAINT)
        automation::Raise(3012, kSource, QStringLiteral("Object '%1' already exists.").arg(name));
    if (rc != SQLITE_DONE)
        c.RaiseFor(rc, QStringLiteral("Saving query '%1'").arg(name));
    return query;
}

std::shared_ptr<Recordset> Database::OpenRecordset(const QString& sql, int type)
{
    Conn();
    QueryDef temp(conn_, QString(), sql);
    return temp.OpenRecordset(type);
}

void Database::Execute(const QString& sql)
{
    Conn().Execute(TranslateJetSql(sql));
}

void Database::BeginTrans()
{
    Conn().Execute(QStringLiteral("BEGIN IMMEDIATE"));
    inTransaction_ = true;
}

void Database::CommitTrans()
{
    Conn().Execute(QStringLiteral("COMMIT"));
    inTransaction_ = false;
}

void Database::Rollback()
{
    inTransaction_ = false;
    Conn().Execute(QStringLiteral("ROLLBACK"));
}

void Database::Close()
{
    if (conn_ && inTransaction_) {
        try {
            conn_->Execute(QStringLiteral("ROLLBACK"));
        } catch (const RuntimeError&) {
            // closing anyway; the engine rolls back an open transaction on close
        }
    }
    inTransaction_ = false;
    conn_.reset();
}

}  // namespace BrevView::data
