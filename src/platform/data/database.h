#pragma once
// An open database: its stored queries (kept in the file itself, in the table
// "BrevQueryDefs" (Name, SQL), created when the first query is saved), recordsets
// opened from SQL, and transactions.

#include <memory>

#include <QString>

#include "query_def.h"
#include "recordset.h"

namespace BrevView::data {

class SqliteConnection;

class Database {
public:
    // Error 3024 naming the file when it is missing (never a new empty database).
    static std::shared_ptr<Database> Open(const QString& path, const QString& connect);

    const QString& Name() const { return name_; }
    // The connect string it was opened with. Holds credentials: never trace or log it.
    const QString& Connect() const { return connect_; }

    // The stored query `name`; error 3265 when there is none.
    std::shared_ptr<QueryDef> QueryDefs(const QString& name);
    // Saves a new stored query and returns it (error when the name is taken or the
    // database cannot be written).
    std::shared_ptr<QueryDef> CreateQueryDef(const QString& name, const QString& sql);
    std::shared_ptr<Recordset> OpenRecordset(const QString& sql, int type = dbOpenDynaset);
    void Execute(const QString& sql);

    void BeginTrans();
    void CommitTrans();
    void Rollback();
    bool InTransaction() const { return inTransaction_; }

    void Close();
    bool IsOpen() const { return conn_ != nullptr; }
    std::shared_ptr<SqliteConnection> connection() const { return conn_; }

    static const char* const kCatalogueTable;

private:
    Database() = default;
    SqliteConnection& Conn() const;
    std::shared_ptr<SqliteConnection> conn_;
    QString name_;
    QString connect_;
    bool inTransaction_ = false;
};

}  // namespace BrevView::data
