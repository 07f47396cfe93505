#include "data/engines/postgresql/pg_change_feed.h"

#include <libpq-fe.h>

#include <QSocketNotifier>
#include <QTimer>

#include "automation/runtime_error.h"
#include "data/engine.h"
#include "data/engines/postgresql/pg_connection.h"

namespace BrevView::data {
namespace {

const QString kSource = QStringLiteral("BrevView.Data");

// PQconnectPoll does not keep connect_timeout: the feed keeps its own.
constexpr int kOpenTimeoutMs = 10000;

QByteArray Quoted(pg_conn* conn, const QString& text, bool identifier)
{
    const QByteArray utf8 = text.toUtf8();
    char* q = identifier ? PQescapeIdentifier(conn, utf8.constData(), size_t(utf8.size()))
                         : PQescapeLiteral(conn, utf8.constData(), size_t(utf8.size()));
    QByteArray out(q ? q : "");
    PQfreemem(q);
    return out;
}

}  // namespace

PgChangeFeed::PgChangeFeed(QString uri, QString userName, QString password, QString channel, QStringList tables,
                           Callbacks callbacks)
    : uri_(std::move(uri)),
      user_(std::move(userName)),
      password_(std::move(password)),
      filter_(uri_, user_, password_),
      display_(filter_.Display()),
      channel_(std::move(channel)),
      tables_(std::move(tables)),
      callbacks_(std::move(callbacks))
{}

PgChangeFeed::~PgChangeFeed()
{
    Disarm(true);
    if (conn_)
        PQfinish(conn_);
}

void PgChangeFeed::Open()
{
    Close();
    context_ = std::make_unique<QObject>();
    // A watcher's session is quiet for hours: the session's keepalives find a vanished server
    // or network within about a minute instead of the system's two hours.
    const PgConnectParams params(uri_, user_, password_);
    conn_ = PQconnectStartParams(params.keys(), params.values(), 1);
    if (!conn_) {
        Fail(RuntimeError(automation::ErrOutOfMemory, kSource,
                          QStringLiteral("Out of memory connecting to %1").arg(display_)));
        return;
    }
    PQsetNoticeProcessor(
        conn_, [](void*, const char*) {}, nullptr);
    if (PQstatus(conn_) == CONNECTION_BAD) {
        FailOpening();
        return;
    }
    state_ = State::Connecting;
    timeout_ = new QTimer(context_.get());
    timeout_->setSingleShot(true);
    QObject::connect(timeout_, &QTimer::timeout, context_.get(), [this] {
        if (state_ == State::Connecting || state_ == State::Subscribing)
            Fail(RuntimeError(automation::ErrConnectionFailed, kSource,
                              QStringLiteral("ODBC--connection failed. Connecting to %1 timed out.").arg(display_)));
    });
    timeout_->start(kOpenTimeoutMs);
    // Right after PQconnectStartParams, libpq waits to write (its documented first step).
    pollWant_ = PGRES_POLLING_WRITING;
    Arm(false, true);
}

void PgChangeFeed::Close()
{
    Disarm(false);
    context_.reset();  // drops deferred calls and the timeout
    timeout_ = nullptr;
    if (conn_)
        PQfinish(conn_);
    conn_ = nullptr;
    state_ = State::Closed;
    schemas_.clear();
}

void PgChangeFeed::Later(std::function<void()> f)
{
    if (!context_)
        context_ = std::make_unique<QObject>();
    QTimer::singleShot(0, context_.get(), std::move(f));
}

void PgChangeFeed::Arm(bool read, bool write)
{
    const int fd = PQsocket(conn_);
    if (fd != socket_ || !read_) {
        Disarm(false);
        socket_ = fd;
        if (fd < 0)
            return;
        read_ = new QSocketNotifier(qintptr(fd), QSocketNotifier::Read);
        write_ = new QSocketNotifier(qintptr(fd), QSocketNotifier::Write);
        QObject::connect(read_, &QSocketNotifier::activated, read_, [this] { Readable(); });
        QObject::connect(write_, &QSocketNotifier::activated, write_, [this] { Writable(); });
    }
    read_->setEnabled(read);
    write_->setEnabled(write);
}

void PgChangeFeed::Disarm(bool now)
{
    // A notifier may be the one whose signal is running: it goes once that has returned.
    for (QSocketNotifier** n : {&read_, &write_}) {
        if (!*n)
            continue;
        (*n)->setEnabled(false);
        if (now)
            delete *n;
        else
            (*n)->deleteLater();
        *n = nullptr;
    }
    socket_ = -1;
}

void PgChangeFeed::Readable()
{
    if (state_ == State::Connecting) {
        if (pollWant_ == PGRES_POLLING_READING)
            Advance();
        return;
    }
    if (!conn_)
        return;
    if (!PQconsumeInput(conn_)) {
        FailLost();
        return;
    }
    while (!PQisBusy(conn_)) {
        PGresult* r = PQgetResult(conn_);
        if (!r) {
            if (state_ != State::Subscribing)
                break;
            // Both statements answered: listening from here on.
            state_ = State::Listening;
            if (timeout_)
                timeout_->stop();
            Later(callbacks_.opened);
            continue;  // notifications may have come with the answer
        }
        const ExecStatusType status = PQresultStatus(r);
        if (status == PGRES_TUPLES_OK) {
            for (int row = 0; row < PQntuples(r); ++row)
                schemas_.insert(QString::fromUtf8(PQgetvalue(r, row, 0)));
        } else if (status == PGRES_FATAL_ERROR) {
            const QString why = QString::fromUtf8(PQresultErrorMessage(r)).trimmed();
            PQclear(r);
            // While listening, an error is the server ending the session (shut down, the
            // session terminated): the connection is lost.
            if (state_ != State::Subscribing) {
                FailLost();
                return;
            }
            Fail(RuntimeError(automation::ErrConnectionFailed, kSource,
                              QStringLiteral("Listening on %1 failed: %2").arg(display_, why)));
            return;
        }
        PQclear(r);
    }
    bool changed = false;
    while (PGnotify* n = PQnotifies(conn_)) {
        // A notification for another schema's tables is another team's pipeline.
        if (schemas_.isEmpty() || schemas_.contains(QString::fromUtf8(n->extra)))
            changed = true;
        PQfreemem(n);
    }
    if (PQstatus(conn_) == CONNECTION_BAD) {
        FailLost();
        return;
    }
    if (changed && state_ == State::Listening)
        Later(callbacks_.changed);
}

void PgChangeFeed::Writable()
{
    if (state_ == State::Connecting) {
        if (pollWant_ == PGRES_POLLING_WRITING)
            Advance();
        return;
    }
    if (!conn_)
        return;
    const int flushed = PQflush(conn_);
    if (flushed < 0)
        FailLost();
    else
        Arm(true, flushed == 1);
}

void PgChangeFeed::Advance()
{
    const PostgresPollingStatusType step = PQconnectPoll(conn_);
    switch (step) {
    case PGRES_POLLING_READING:
        pollWant_ = step;
        Arm(true, false);
        return;
    case PGRES_POLLING_WRITING:
        pollWant_ = step;
        Arm(false, true);
        return;
    case PGRES_POLLING_OK:
        Subscribe();
        return;
    default:
        FailOpening();
        return;
    }
}

void PgChangeFeed::Subscribe()
{
    state_ = State::Subscribing;
    PQsetnonblocking(conn_, 1);
    QByteArray sql = "LISTEN " + Quoted(conn_, channel_, true) + ";";
    // The schemas of the watched tables, as this session's search path finds them: a
    // notification names the schema of the table that changed.
    QByteArrayList regs;
    for (const QString& table : tables_)
        regs << "pg_catalog.to_regclass(" + Quoted(conn_, table, false) + ")";
    if (!regs.isEmpty())
        sql +=
            "SELECT DISTINCT n.nspname FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
            "WHERE c.oid IN (" +
            regs.join(',') + ")";
    if (!PQsendQuery(conn_, sql.constData())) {
        FailLost();
        return;
    }
    const int flushed = PQflush(conn_);
    if (flushed < 0) {
        FailLost();
        return;
    }
    Arm(true, flushed == 1);
}

void PgChangeFeed::FailOpening()
{
    try {
        RaisePgOpenFailure(conn_, filter_);
    } catch (const RuntimeError& e) {
        Fail(e);
    }
}

void PgChangeFeed::FailLost()
{
    const QString why = filter_.Clean(QString::fromUtf8(PQerrorMessage(conn_)).trimmed());
    Fail(RuntimeError(automation::ErrDiskIo, kSource,
                      QStringLiteral("Disk or network error: the connection to %1 was lost. %2").arg(display_, why)));
}

void PgChangeFeed::Fail(const RuntimeError& error)
{
    // The session ends now; the notifier whose signal may be running goes later, and so does
    // the report, so that the watcher never re-enters the feed from inside its own reading.
    Disarm(false);
    if (timeout_)
        timeout_->stop();
    if (conn_)
        PQfinish(conn_);
    conn_ = nullptr;
    state_ = State::Closed;
    Later([lost = callbacks_.lost, error] { lost(error); });
}

}  // namespace BrevView::data
