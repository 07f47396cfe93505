#include "data/database.h"

#include "automation/runtime_error.h"
#include "data/engine.h"
#include "data/sql_dialect.h"

namespace BrevView::data {
namespace {
const QString kSource = QStringLiteral("BrevView.Data");
}

std::shared_ptr<Database> Database::Open(const QString& path, const QString& connect, const QString& userName,
                                         const QString& password)
{
    std::shared_ptr<Database> db(new Database);
    db->conn_ = OpenConnection(path, userName, password);
    db->name_ = path;
    db->connect_ = connect;
    return db;
}

Connection& Database::Conn() const
{
    if (!conn_)
        automation::Raise(3420, kSource, QStringLiteral("Object invalid or no longer set."));
    return *conn_;
}

std::shared_ptr<QueryDef> Database::QueryDefs(const QString& name)
{
    QString text;
    if (!Conn().LookUpQuery(name, &text))
        automation::Raise(automation::ErrItemNotFound, kSource,
                          QStringLiteral("Item not found in this collection: query '%1'.").arg(name));
    return std::make_shared<QueryDef>(conn_, name, text, QueryDef::Proof::WhenUsed);
}

std::shared_ptr<QueryDef> Database::CreateQueryDef(const QString& name, const QString& sql)
{
    Connection& c = Conn();
    // Check the text before saving it, so that no broken query is stored.
    auto query = std::make_shared<QueryDef>(conn_, name, sql);
    c.SaveQuery(name, sql);
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
    Connection& c = Conn();
    c.Execute(TranslateJetSql(sql, c.dialect()).text);
}

void Database::BeginTrans()
{
    Conn().Begin();
    inTransaction_ = true;
}

void Database::CommitTrans()
{
    Conn().Commit();
    inTransaction_ = false;
}

void Database::Rollback()
{
    inTransaction_ = false;
    Conn().Rollback();
}

void Database::Close()
{
    if (conn_ && inTransaction_) {
        try {
            conn_->Rollback();
        } catch (const RuntimeError&) {
            // closing anyway; the engine rolls back an open transaction on close
        }
    }
    inTransaction_ = false;
    conn_.reset();
}

}  // namespace BrevView::data
