#pragma once
// An open database: its stored queries (kept in the database itself, in the table
// "BrevQueryDefs" (Name, SQL), created when the first query is saved), recordsets
// opened from SQL, and transactions. The engine under it (an SQLite file or a PostgreSQL
// server) is chosen by the path it is opened with.

#include <memory>

#include <QString>

#include "data/query_def.h"
#include "data/recordset.h"

namespace BrevView::data {

class Connection;

class Database {
public:
    // Error 3024 naming the file when it is missing (never a new empty database); for a
    // server, the numbered error of what refused it. `userName` and `password` reach the
    // engine and are kept nowhere here.
    static std::shared_ptr<Database> Open(const QString& path, const QString& connect,
                                          const QString& userName = QString(), const QString& password = QString());

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
    std::shared_ptr<Connection> connection() const { return conn_; }

private:
    Database() = default;
    Connection& Conn() const;
    std::shared_ptr<Connection> conn_;
    QString name_;
    QString connect_;
    bool inTransaction_ = false;
};

}  // namespace BrevView::data
