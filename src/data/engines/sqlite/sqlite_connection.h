#pragma once
// One open SQLite database file, shared by the database object and every recordset read
// from it, so that a recordset outlives a closed database safely.

#include <memory>

#include <QString>

#include "data/engine.h"

struct sqlite3;
struct sqlite3_stmt;

namespace BrevView::data {

class SqliteConnection final : public Connection {
public:
    // Error 3024 for a missing file, 3343 for a file that is not a database, 3051 when
    // the file cannot be opened. A `readOnly` connection never writes the file (a watcher's).
    // How long a statement waits for a lock another connection holds before error 3260 is
    // `busyWaitMs`; with none (a watcher on the GUI thread), a file locked at the moment of
    // opening is opened all the same, and its statements fail at once while the lock lasts.
    static std::shared_ptr<SqliteConnection> Open(const QString& path, bool readOnly = false,
                                                  int busyWaitMs = kBusyWaitMs);
    static constexpr int kBusyWaitMs = 5000;
    ~SqliteConnection() override;
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    // Whether files on a file system of this type (as QStorageInfo names it) are read through
    // a memory map: only on local file systems. On a network share a read error through the
    // map would stop the process instead of failing one call with error 3043.
    static bool MapsFilesOn(const QByteArray& fileSystemType);

    sqlite3* handle() const { return db_; }
    const QString& path() const { return path_; }

    Dialect dialect() const override { return Dialect::SQLite; }
    // A path that looks like a URI (a mistyped scheme) is shown without its user information.
    QString DisplayName() const override { return DisplayPath(path_); }
    std::unique_ptr<Statement> Prepare(const QString& sql, const QStringList& parameterNames = {}) override;
    void Execute(const QString& sql) override;
    // On a second, read-only connection to the same file, while that connection is not
    // reading for another recordset, and while this one has no uncommitted writes (they
    // must be read through it): outside a transaction, or in one begun by Begin() that has
    // written nothing yet, whose lock keeps every other writer out until it ends. While such a
    // read is under way its read lock keeps a commit of this connection waiting (in a file
    // with a rollback journal), up to the busy timeout and error 3260: a caller reads to the
    // end or closes the recordset before it writes, as the views do.
    ReadAheadWay WayToReadAhead(bool) const override { return ReadAheadWay::StatementOfItsOwn; }
    std::unique_ptr<Statement> PrepareToReadAhead(const QString& sql, const QStringList& parameterNames) override;
    // A write transaction from its start (BEGIN IMMEDIATE): a second writer waits for the
    // lock here, not halfway through the writes.
    void Begin() override;
    void Commit() override;
    void Rollback() override;
    qint64 Changes() const override;
    QString RowKeyColumn(const QString&) override { return QStringLiteral("rowid"); }
    bool LookUpQuery(const QString& name, QString* sql) override;
    void SaveQuery(const QString& name, const QString& sql) override;

    // Prepares `sql` (already in SQLite's dialect); error 3129 and the engine's reason on failure.
    sqlite3_stmt* PrepareRaw(const QString& sql);
    // Raises the numbered error that matches SQLite result `rc` for `what`.
    [[noreturn]] void RaiseFor(int rc, const QString& what) const;

    // The SQLite VFS new connections open their files through (empty: the default one).
    // Fault-injection tests put a failing one in place.
    static void SetVfs(const QByteArray& name);

    // Statements prepared on this thread since it started (for tests that prove a
    // change was made without reading the database).
    static quint64 StatementsPrepared();

private:
    SqliteConnection() = default;
    sqlite3* db_ = nullptr;
    QString path_;
    // The connection that reads ahead, opened when first asked for; `readerBusy_` while one
    // of its statements is alive.
    std::shared_ptr<SqliteConnection> reader_;
    std::shared_ptr<bool> readerBusy_ = std::make_shared<bool>(false);
    bool begun_ = false;         // inside a transaction that Begin() started
    qint64 changesAtBegin_ = 0;  // the rows changed on this connection before it
};

}  // namespace BrevView::data
