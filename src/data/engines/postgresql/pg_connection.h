#pragma once
// One session with a PostgreSQL server, through libpq, shared by the database object and
// every recordset read from it.
//
// Rows stream: a statement runs in libpq's single-row mode, so that a forward-only read
// never holds the whole result in this process. One session runs one statement at a time;
// when another is run while a read is still streaming, the streaming one first keeps its
// remaining rows (the only time rows are held), and the new one runs. A long read is
// received on a thread of its own (WayToReadAhead) from the same session, which the
// caller may use meanwhile on those terms.
//
// A session lost to the server (restarted, the network gone) is opened again at the next
// statement outside a transaction, with the same parameters; inside a transaction the
// statement fails with error 3043 and the transaction is lost.

#include <atomic>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <QByteArray>
#include <QString>

#include "data/credential_filter.h"
#include "data/engine.h"
#include "data/engines/postgresql/pg_connect_params.h"

struct pg_conn;
struct pg_result;

namespace BrevView::data {

class PgStatement;

class PgConnection final : public Connection {
public:
    // `uri` is a libpq connection URI; a non-empty `userName` or `password` takes the place
    // of the URI's own. Errors: 3029 authentication refused, 3024 no such database, 3151
    // server unreachable or refused (TLS included).
    static std::shared_ptr<PgConnection> Open(const QString& uri, const QString& userName, const QString& password);
    ~PgConnection() override;
    PgConnection(const PgConnection&) = delete;
    PgConnection& operator=(const PgConnection&) = delete;

    Dialect dialect() const override { return Dialect::PostgreSQL; }
    QString DisplayName() const override { return display_; }
    std::unique_ptr<Statement> Prepare(const QString& sql, const QStringList& parameterNames = {}) override;
    // Forward-only reads, through the caller's own statement (see the definition for why).
    ReadAheadWay WayToReadAhead(bool forwardOnly) const override;
    void Execute(const QString& sql) override;
    void Begin() override;
    void Commit() override;
    void Rollback() override;
    qint64 Changes() const override { return changes_; }
    QString RowKeyColumn(const QString& table) override;
    bool LookUpQuery(const QString& name, QString* sql) override;
    void SaveQuery(const QString& name, const QString& sql) override;

    // The server's process id for this session (tests end it from another session).
    int BackendPid() const;

    // How long a statement waits for the server to send anything before the session is given
    // up with error 3043; the next statement outside a transaction opens it anew.
    static constexpr int kSilenceLimitMs = 30000;
    // A shorter limit for the tests that stop a server (0: the usual one again).
    static void SetSilenceLimitForTesting(int ms);

    // Called by the statements.
    pg_conn* handle() const { return conn_; }
    // Makes the session ready for a new statement: opens it again when it was lost (outside
    // a transaction), lets a statement still streaming keep its remaining rows, and drops
    // statements no longer used. Returns the session's generation (it grows at each reopen).
    quint64 Ready(PgStatement* next);
    void Finished(PgStatement* statement);
    void Forget(PgStatement* statement, const QByteArray& name, quint64 generation);
    QByteArray NextStatementName();
    quint64 Generation() const { return generation_; }
    void SetChanges(qint64 changes) { changes_ = changes; }
    // Waits, at most the silence limit, until the session's next result can be read without
    // blocking; error 3043 past it (the session is then given up).
    void Await(const QString& what);
    // The results of what was just sent, as PQexec gives them: the last, or the first failure.
    pg_result* Collect(const QString& what);
    // Asks the server to stop the statement running on the session (from any thread); waits
    // a bounded time for the request to be taken.
    void Cancel();
    // Inside a transaction a statement without rows (the won-date UPDATEs) is sent without
    // waiting for its answer: the answers are read in one go before the next other statement
    // or the commit, and the first failure is raised then (the transaction is lost with it, as
    // it would have been). A round trip per written row is what made a refresh slow. Changes()
    // does not count such statements.
    bool Deferring() const { return inTransaction_; }
    void SendDeferred(const QByteArray& name, const std::vector<const char*>& values, const QString& what);
    // Raises the numbered error for a failed result (or, when `result` is null, for the
    // session's last error), naming `what`.
    [[noreturn]] void RaiseFor(const pg_result* result, const QString& what) const;

private:
    PgConnection() = default;
    void Configure();
    pg_result* Run(const QByteArray& sql, const QString& what);
    pg_result* RunParams(const QByteArray& sql, const std::vector<QByteArray>& values, const QString& what);
    [[noreturn]] void RaiseOpenFailure() const;
    // Lets a statement still streaming (other than `next`) keep its remaining rows: from here
    // on the session is the caller's.
    void TakeBack(PgStatement* next);
    // Reads the answers of the deferred statements; raises the first failure when `raise`.
    void Drain(bool raise);

    pg_conn* conn_ = nullptr;
    CredentialFilter filter_;
    QString display_;
    // The statement whose rows are streaming; its reading thread, if any, clears it at the end.
    std::atomic<PgStatement*> active_ = nullptr;
    std::vector<QByteArray> stale_;  // prepared statements to deallocate
    quint64 generation_ = 0;
    quint64 nextName_ = 0;
    qint64 changes_ = 0;
    bool inTransaction_ = false;
    // Given up after the server sent nothing for the silence limit (read by Cancel from any thread).
    std::atomic<bool> silent_ = false;
    int deferred_ = 0;  // statements sent and not yet answered
    bool catalogueKnown_ = false;
    std::map<QString, QString> keys_;
};

}  // namespace BrevView::data
