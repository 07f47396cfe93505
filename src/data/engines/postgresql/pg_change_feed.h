#pragma once
// The change feed of a PostgreSQL server: a session of the feed's own that LISTENs on the
// channel the tables' triggers notify, opened without blocking (PQconnectStartParams) and
// read when its socket has something (QSocketNotifier).

#include <memory>

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include "data/change_feed.h"
#include "data/credential_filter.h"

struct pg_conn;
class QSocketNotifier;
class QTimer;

namespace BrevView::data {

class PgChangeFeed final : public ChangeFeed {
public:
    PgChangeFeed(QString uri, QString userName, QString password, QString channel, QStringList tables,
                 Callbacks callbacks);
    ~PgChangeFeed() override;
    PgChangeFeed(const PgChangeFeed&) = delete;
    PgChangeFeed& operator=(const PgChangeFeed&) = delete;

    void Open() override;
    void Close() override;
    bool NeedsChecking() const override { return false; }
    void Check() override {}

private:
    enum class State { Closed, Connecting, Subscribing, Listening };

    void Advance();    // the next step of opening the session
    void Subscribe();  // LISTEN, and where the tables are
    void Readable();
    void Writable();
    // Watches the session's socket for reading and/or writing.
    void Arm(bool read, bool write);
    void Disarm(bool now);
    // Ends the session and reports why, from the event loop.
    void Fail(const RuntimeError& error);
    void FailOpening();
    void FailLost();
    // Runs `f` from the event loop, unless the feed is closed or gone by then.
    void Later(std::function<void()> f);

    QString uri_, user_, password_;
    CredentialFilter filter_;  // what libpq says passes through it
    QString display_, channel_;
    QStringList tables_;
    Callbacks callbacks_;
    pg_conn* conn_ = nullptr;
    State state_ = State::Closed;
    int socket_ = -1;
    int pollWant_ = 0;  // what PQconnectPoll waits for
    QSet<QString> schemas_;
    std::unique_ptr<QObject> context_;  // the receiver of deferred calls: gone with the session
    QSocketNotifier* read_ = nullptr;
    QSocketNotifier* write_ = nullptr;
    QTimer* timeout_ = nullptr;
};

}  // namespace BrevView::data
