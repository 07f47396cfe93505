#include "data/engines/postgresql/pg_connection.h"

#include <libpq-fe.h>

#include <poll.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <deque>
#include <future>
#include <mutex>
#include <thread>

#include "automation/runtime_error.h"
#include "data/engines/postgresql/pg_kept_rows.h"

namespace BrevView::data {
namespace {

using automation::Raise;

const QString kSource = QStringLiteral("BrevView.Data");

// Type oids of the built-in types the IBO tables use (pg_type.h).
constexpr Oid kBool = 16, kInt8 = 20, kInt2 = 21, kInt4 = 23, kOid = 26, kFloat4 = 700, kFloat8 = 701, kDate = 1082,
              kTime = 1083, kTimestamp = 1114, kTimestampTz = 1184, kNumeric = 1700;

QString Utf8(const char* text)
{
    return QString::fromUtf8(text ? text : "").trimmed();
}

// How long a statement waits for the server to send anything before the session is given up
// (error 3043): a server stopped or a network gone silent never holds the caller longer.
std::atomic<int> g_silenceLimitMs = PgConnection::kSilenceLimitMs;
// How long letting go of a read waits for the server to take the request to stop it.
constexpr int kCancelWaitMs = 2000;

// One result, freed with its owner.
struct Result {
    PGresult* r = nullptr;
    explicit Result(PGresult* res = nullptr) : r(res) {}
    ~Result() { PQclear(r); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
};

}  // namespace

// A statement prepared on the server under its own name, run with its parameters as text
// and read back as text, one row per result (single-row mode).
//
// Its rows may be received on a reading thread (see ReadAhead) while the caller goes on
// using the session: whoever runs another statement first takes the session back through
// Keep, which waits for the row being received, then receives the rest into kept_; the
// reading thread goes on from there without touching the session again.
class PgStatement final : public Statement {
public:
    PgStatement(PgConnection& conn, QByteArray sql, QStringList parameterNames)
        : conn_(conn),
          sql_(std::move(sql)),
          names_(std::move(parameterNames))
    {
        PrepareOnServer();
    }
    ~PgStatement() override
    {
        Abandon();
        PQclear(row_);
        conn_.Forget(this, name_, generation_);
    }

    int ParameterCount() const override { return int(values_.size()); }
    QString ParameterName(int index) const override
    {
        return index - 1 < names_.size() ? names_[index - 1] : QString();
    }
    void BindNull(int index) override { Bind(index, QByteArray()); }
    void BindInt(int index, qint64 value) override { Bind(index, QByteArray::number(value)); }
    void BindReal(int index, double value) override
    {
        char buf[32];
        const auto end = std::to_chars(buf, buf + sizeof buf, value).ptr;
        Bind(index, QByteArray(buf, int(end - buf)));
    }
    void BindText(int index, const QByteArray& utf8) override { Bind(index, utf8.isNull() ? QByteArray("") : utf8); }

    bool Step() override
    {
        // Only a launched statement is stepped on a thread other than its session's caller.
        std::unique_lock<std::mutex> lock(receiving_, std::defer_lock);
        if (launched_)
            lock.lock();
        PQclear(row_);
        row_ = nullptr;
        fromKept_ = false;
        if (finished_)
            return false;
        if (!running_)
            Run();
        if (finished_)
            return false;
        if (kept_ && kept_->Next()) {
            fromKept_ = true;
            return true;
        }
        PGresult* next = Next();
        if (!next) {
            finished_ = true;
            return false;
        }
        row_ = next;
        return true;
    }

    void Launch() override
    {
        launched_ = true;
        if (!running_)
            Run();
    }

    void Interrupt() override
    {
        // Not under receiving_: the reading thread holds it while it waits for a row.
        if (reading_ && !cancelled_.exchange(true))
            conn_.Cancel();
    }

    void Reset() override
    {
        Abandon();
        PQclear(row_);
        row_ = nullptr;
        fromKept_ = false;
        running_ = false;
        finished_ = false;
    }

    int ColumnCount() const override { return int(types_.size()); }
    QString ColumnName(int column) const override { return columnNames_.value(column); }
    ColumnKind Kind(int column) const override
    {
        switch (types_[size_t(column)]) {
        case kDate:
        case kTime:
        case kTimestamp:
        case kTimestampTz:
            return ColumnKind::Date;
        case kBool:
            return ColumnKind::Bool;
        default:
            return ColumnKind::Plain;
        }
    }

    CellType Type(int column) override { return Read(column).type; }
    qint64 Int(int column) override
    {
        const StoredCell cell = Read(column);
        return cell.type == CellType::Real ? qint64(cell.d) : cell.i;
    }
    double Real(int column) override
    {
        const StoredCell cell = Read(column);
        return cell.type == CellType::Int ? double(cell.i) : cell.d;
    }
    const char* Text(int column, int* length) override
    {
        if (fromKept_) {
            const StoredCell& cell = kept_->Cell(column);
            *length = int(cell.len);
            return kept_->TextOf(cell);
        }
        *length = PQgetlength(row_, 0, column);
        return PQgetvalue(row_, 0, column);
    }
    // One call a row: each cell read once (a numeric's text parsed once, not once to learn its
    // type and again for its value).
    void StoreRow(StoredCell* cells, int columns, TextBuffer& text) override
    {
        for (int c = 0; c < columns; ++c) {
            cells[c] = Read(c);
            if (cells[c].type == CellType::Text) {
                int length = 0;
                cells[c].i = text.Append(Text(c, &length), cells[c].len);
            }
        }
    }

    // Another statement needs the session: read what is left of this one's rows and keep
    // them (a bounded number in memory, see PgKeptRows). A failure is this read's own: it
    // comes due after the rows before it, and the session is free for the other statement.
    void Keep()
    {
        std::lock_guard<std::mutex> lock(receiving_);
        if (!reading_)
            return;  // the last row came meanwhile
        if (!kept_)
            kept_ = std::make_unique<PgKeptRows>(int(types_.size()));
        try {
            while (PGresult* r = Receive()) {
                if (PQresultStatus(r) != PGRES_SINGLE_TUPLE) {
                    keptFailure_ = r;
                    continue;
                }
                Result row(r);
                if (keptError_)
                    continue;  // no room for it: the read ends in keptError_, the session is freed
                try {
                    TextBuffer* text = nullptr;
                    StoredCell* cells = kept_->NewRow(&text);
                    for (int c = 0; c < int(types_.size()); ++c) {
                        cells[c] = ReadCell(row.r, c);
                        if (cells[c].type == CellType::Text)
                            cells[c].i = text->Append(PQgetvalue(row.r, 0, c), cells[c].len);
                    }
                    kept_->Added();
                } catch (...) {
                    keptError_ = std::current_exception();
                }
            }
        } catch (...) {
            if (!keptError_)
                keptError_ = std::current_exception();
        }
        reading_ = false;
        conn_.Finished(this);
    }

private:
    // The current row's cell `column` as its column's type makes it: a number in place (read
    // in the C form whatever the process locale: the server writes a point), a text's length
    // (its bytes stay in the result, or in the kept rows).
    StoredCell Read(int column) const { return fromKept_ ? kept_->Cell(column) : ReadCell(row_, column); }

    StoredCell ReadCell(const PGresult* row, int column) const
    {
        StoredCell cell;
        cell.i = 0;
        cell.len = 0;
        cell.type = CellType::Null;
        if (PQgetisnull(row, 0, column))
            return cell;
        const char* value = PQgetvalue(row, 0, column);
        const int length = PQgetlength(row, 0, column);
        switch (types_[size_t(column)]) {
        case kBool:
            cell.type = CellType::Int;
            cell.i = value[0] == 't' ? 1 : 0;
            break;
        case kInt2:
        case kInt4:
        case kInt8:
        case kOid:
            cell.type = CellType::Int;
            std::from_chars(value, value + length, cell.i);
            break;
        case kFloat4:
        case kFloat8:
            cell.type = CellType::Real;
            cell.d = 0;
            std::from_chars(value, value + length, cell.d);
            break;
        case kNumeric: {
            // As a numeric column of SQLite keeps it: a whole number is an integer.
            double d = 0;
            std::from_chars(value, value + length, d);
            if (std::isfinite(d) && d == std::trunc(d) && std::fabs(d) < 9.0e15) {
                cell.type = CellType::Int;
                cell.i = qint64(d);
            } else {
                cell.type = CellType::Real;
                cell.d = d;
            }
            break;
        }
        default:
            cell.type = CellType::Text;
            cell.len = quint32(length);
            break;
        }
        return cell;
    }

    void PrepareOnServer()
    {
        generation_ = conn_.Ready(nullptr);
        name_ = conn_.NextStatementName();
        const QString preparing = QStringLiteral("Preparing \"%1\"").arg(QString::fromUtf8(sql_.left(200)));
        if (!PQsendPrepare(conn_.handle(), name_.constData(), sql_.constData(), 0, nullptr))
            conn_.RaiseFor(nullptr, preparing);
        Result prepared(conn_.Collect(preparing));
        if (PQresultStatus(prepared.r) != PGRES_COMMAND_OK) {
            name_.clear();
            conn_.RaiseFor(prepared.r, preparing);
        }
        if (!PQsendDescribePrepared(conn_.handle(), name_.constData()))
            conn_.RaiseFor(nullptr, preparing);
        Result described(conn_.Collect(preparing));
        if (PQresultStatus(described.r) != PGRES_COMMAND_OK)
            conn_.RaiseFor(described.r, QStringLiteral("Describing \"%1\"").arg(QString::fromUtf8(sql_.left(200))));
        // Prepared again on a session opened anew, the statement keeps the values bound to it:
        // an UPDATE whose key went Null would write nothing and say nothing.
        const size_t parameters = size_t(PQnparams(described.r));
        if (values_.size() != parameters)
            values_.assign(parameters, QByteArray());
        const int fields = PQnfields(described.r);
        types_.resize(size_t(fields));
        columnNames_.clear();
        for (int c = 0; c < fields; ++c) {
            types_[size_t(c)] = PQftype(described.r, c);
            columnNames_.append(QString::fromUtf8(PQfname(described.r, c)));
        }
    }

    void Bind(int index, const QByteArray& value)
    {
        if (index < 1 || index > int(values_.size()))
            Raise(automation::ErrInvalidSql, kSource,
                  QStringLiteral("Binding parameter %1: the statement has %2").arg(index).arg(values_.size()));
        values_[size_t(index - 1)] = value;
    }

    void Run()
    {
        if (types_.empty() && conn_.Deferring() && generation_ == conn_.Generation()) {
            std::vector<const char*> values(values_.size());
            for (size_t p = 0; p < values_.size(); ++p)
                values[p] = values_[p].isNull() ? nullptr : values_[p].constData();
            running_ = true;
            finished_ = true;
            conn_.SendDeferred(name_, values, What());
            return;
        }
        const quint64 generation = conn_.Ready(this);
        if (generation != generation_) {
            // The session was opened again: what it had prepared is gone.
            name_.clear();
            PrepareOnServer();
            conn_.Ready(this);
        }
        std::vector<const char*> values(values_.size());
        for (size_t p = 0; p < values_.size(); ++p)
            values[p] = values_[p].isNull() ? nullptr : values_[p].constData();
        running_ = true;
        cancelled_ = false;
        if (!PQsendQueryPrepared(conn_.handle(), name_.constData(), int(values.size()), values.data(), nullptr, nullptr,
                                 0)) {
            finished_ = true;
            conn_.Finished(this);
            conn_.RaiseFor(nullptr, What());
        }
        PQsetSingleRowMode(conn_.handle());
        reading_ = true;
    }

    QString What() const { return QStringLiteral("Reading \"%1\"").arg(QString::fromUtf8(sql_.left(200))); }

    // The next row's result, or null after the last; a failure raises.
    PGresult* Next()
    {
        if (keptFailure_) {
            PGresult* r = keptFailure_;
            keptFailure_ = nullptr;
            return Check(r);
        }
        if (keptError_) {
            std::exception_ptr error = keptError_;
            keptError_ = nullptr;
            finished_ = true;
            std::rethrow_exception(error);
        }
        if (!reading_)
            return nullptr;
        PGresult* r = Receive();
        if (!r) {
            reading_ = false;
            conn_.Finished(this);
        }
        return Check(r);
    }

    // Reads the session's next result for this statement; null at the end.
    PGresult* Receive()
    {
        for (;;) {
            conn_.Await(What());
            PGresult* r = PQgetResult(conn_.handle());
            if (!r)
                return nullptr;
            const ExecStatusType status = PQresultStatus(r);
            if (status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK) {
                // The end of the rows (an empty result) or a statement without rows.
                if (status == PGRES_COMMAND_OK) {
                    const char* changed = PQcmdTuples(r);
                    conn_.SetChanges(changed && *changed ? QByteArray(changed).toLongLong() : 0);
                }
                PQclear(r);
                continue;
            }
            return r;
        }
    }

    PGresult* Check(PGresult* r)
    {
        if (!r || PQresultStatus(r) == PGRES_SINGLE_TUPLE)
            return r;
        Result failed(r);
        finished_ = true;
        try {
            // Named while the session is still this statement's: reading to the end below
            // hands it back.
            conn_.RaiseFor(failed.r, What());
        } catch (...) {
            Abandon(false);  // the server ended it: nothing to stop
            throw;
        }
    }

    // Drops whatever this statement still has coming: a read let go before its end asks the
    // server to stop sending, instead of receiving every remaining row.
    void Abandon(bool cancel = true)
    {
        if (reading_) {
            reading_ = false;
            // Asked once per run: a read the read-ahead interrupted is not cancelled again.
            if (cancel && !cancelled_.exchange(true))
                conn_.Cancel();
            try {
                for (;;) {
                    conn_.Await(What());
                    PGresult* r = PQgetResult(conn_.handle());
                    if (!r)
                        break;
                    PQclear(r);
                }
            } catch (const std::exception&) {
                // The server stopped answering: the session is given up, and opened again
                // at the next statement.
            }
            conn_.Finished(this);
        }
        kept_.reset();
        PQclear(keptFailure_);
        keptFailure_ = nullptr;
        keptError_ = nullptr;
    }

    PgConnection& conn_;
    QByteArray sql_;
    QStringList names_;
    QByteArray name_;
    quint64 generation_ = 0;
    std::vector<QByteArray> values_;
    std::vector<Oid> types_;
    QStringList columnNames_;
    PGresult* row_ = nullptr;
    bool fromKept_ = false;                // the current row is kept_'s, not row_
    std::unique_ptr<PgKeptRows> kept_;     // rows received to free the session, not yet read
    PGresult* keptFailure_ = nullptr;      // the server's failure after the kept rows
    std::exception_ptr keptError_;         // or ours (the session lost, no room to keep them)
    std::mutex receiving_;                 // held while a row is received, or the rest kept
    bool launched_ = false;                // stepped by a reading thread (set before it starts)
    bool running_ = false;                 // sent since the last Reset
    std::atomic<bool> reading_ = false;    // rows still to come from the session
    std::atomic<bool> cancelled_ = false;  // the server was asked to stop this run's rows
    bool finished_ = false;
};

std::shared_ptr<PgConnection> PgConnection::Open(const QString& uri, const QString& userName, const QString& password)
{
    std::shared_ptr<PgConnection> c(new PgConnection);
    c->filter_ = CredentialFilter(uri, userName, password);
    c->display_ = c->filter_.Display();
    const PgConnectParams params(uri, userName, password);
    c->conn_ = PQconnectdbParams(params.keys(), params.values(), 1);
    if (!c->conn_)
        Raise(automation::ErrOutOfMemory, kSource, QStringLiteral("Out of memory connecting to %1").arg(c->display_));
    if (PQstatus(c->conn_) != CONNECTION_OK)
        c->RaiseOpenFailure();
    c->Configure();
    return c;
}

PgConnection::~PgConnection()
{
    if (conn_)
        PQfinish(conn_);
}

void PgConnection::SetSilenceLimitForTesting(int ms)
{
    g_silenceLimitMs = ms > 0 ? ms : kSilenceLimitMs;
}

void PgConnection::Await(const QString& what)
{
    using Clock = std::chrono::steady_clock;
    if (silent_)
        RaiseFor(nullptr, what);
    const auto limit = std::chrono::milliseconds(g_silenceLimitMs.load());
    auto deadline = Clock::now() + limit;
    while (PQisBusy(conn_)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            // Nothing can be sent on this session any more (the server may still be halfway
            // through a message): it is given up, and opened anew at the next statement.
            silent_ = true;
            Raise(automation::ErrDiskIo, kSource,
                  QStringLiteral("Disk or network error: the server sent nothing for %1 seconds. %2 failed on %3.")
                      .arg(limit.count() / 1000.0)
                      .arg(what, display_));
        }
        pollfd p{PQsocket(conn_), POLLIN, 0};
        const int ready = ::poll(&p, 1, int(std::min<qint64>(left, 1000)));
        if (ready < 0 && errno != EINTR)
            return;  // PQgetResult reports what is wrong with the socket
        if (ready > 0) {
            if (!PQconsumeInput(conn_))
                return;
            deadline = Clock::now() + limit;
        }
    }
}

pg_result* PgConnection::Collect(const QString& what)
{
    // As PQexec: the last result, or the first failure.
    Result last;
    for (;;) {
        Await(what);
        PGresult* r = PQgetResult(conn_);
        if (!r)
            break;
        if (last.r && PQresultStatus(last.r) == PGRES_FATAL_ERROR) {
            PQclear(r);
            continue;
        }
        PQclear(last.r);
        last.r = r;
    }
    PGresult* r = last.r;
    last.r = nullptr;
    return r;
}

void PgConnection::Cancel()
{
    if (silent_ || PQstatus(conn_) != CONNECTION_OK)
        return;
    // On a thread of its own, waited for a bounded time: a server that accepts the
    // connection and then says nothing would hold the caller as long as it likes.
    PGcancel* cancel = PQgetCancel(conn_);
    if (!cancel)
        return;
    auto sent = std::make_shared<std::promise<void>>();
    std::future<void> done = sent->get_future();
    std::thread([cancel, sent] {
        char why[256];
        PQcancel(cancel, why, int(sizeof why));
        PQfreeCancel(cancel);
        sent->set_value();
    }).detach();
    done.wait_for(std::chrono::milliseconds(kCancelWaitMs));
}

void PgConnection::Configure()
{
    // The server's notices (a dropped object's cascade, a deprecation) are not the host's
    // business: libpq would print them on standard error.
    PQsetNoticeProcessor(
        conn_, [](void*, const char*) {}, nullptr);
    // What the data objects read and write relies on: dates as 'yyyy-mm-dd hh:mm:ss', and a
    // bounded wait for a row another session holds (error 3260 after it, never a hang).
    // The Jet string literals are translated for standard strings (a backslash is a character),
    // whatever the server's default. A statement that runs past a minute is ended by the
    // server (error 3043): a refresh of a million IBOs takes a few seconds.
    Result r(Run("SET DateStyle = 'ISO, MDY'; SET lock_timeout = '5s'; SET extra_float_digits = 1; "
                 "SET standard_conforming_strings = on; SET statement_timeout = '60s'",
                 QStringLiteral("Configuring the session")));
}

void PgConnection::RaiseOpenFailure() const
{
    RaisePgOpenFailure(conn_, filter_);
}

void PgConnection::RaiseFor(const pg_result* result, const QString& what) const
{
    const QByteArray state = result ? QByteArray(PQresultErrorField(result, PG_DIAG_SQLSTATE)) : QByteArray();
    QString why = result ? Utf8(PQresultErrorMessage(result)) : QString();
    if (why.isEmpty())
        why = Utf8(PQerrorMessage(conn_));
    const QString text = QStringLiteral("%1 failed on %2: %3").arg(what, display_, filter_.Clean(why));
    if (PQstatus(conn_) == CONNECTION_BAD || silent_ || state.startsWith("08") || state.startsWith("57P") ||
        state == "57014")
        Raise(automation::ErrDiskIo, kSource,
              QStringLiteral("Disk or network error: the connection to the server was lost. ") + text);
    if (state == "55P03" || state == "40P01" || state == "40001")
        Raise(automation::ErrLocked, kSource, QStringLiteral("Couldn't update; currently locked. ") + text);
    if (state == "42501")
        Raise(automation::ErrNoPermission, kSource,
              QStringLiteral("You do not have the necessary permissions. ") + text);
    if (state == "25006")
        Raise(automation::ErrCantUpdate, kSource,
              QStringLiteral("Cannot update. Database or object is read-only. ") + text);
    if (state == "53200")
        Raise(automation::ErrOutOfMemory, kSource, text);
    if (state.startsWith("53") || state.startsWith("58"))
        Raise(automation::ErrDiskIo, kSource, QStringLiteral("Disk or network error. ") + text);
    Raise(automation::ErrInvalidSql, kSource, text);
}

void PgConnection::TakeBack(PgStatement* next)
{
    PgStatement* streaming = active_.exchange(nullptr);
    if (streaming && streaming != next)
        streaming->Keep();
}

void PgConnection::SendDeferred(const QByteArray& name, const std::vector<const char*>& values, const QString& what)
{
    TakeBack(nullptr);
    if (PQpipelineStatus(conn_) == PQ_PIPELINE_OFF && !PQenterPipelineMode(conn_))
        RaiseFor(nullptr, what);
    if (!PQsendQueryPrepared(conn_, name.constData(), int(values.size()), values.data(), nullptr, nullptr, 0)) {
        Drain(false);
        RaiseFor(nullptr, what);
    }
    // Bounded, so that neither side's buffers fill while the other waits.
    if (++deferred_ >= 1000)
        Drain(true);
}

void PgConnection::Drain(bool raise)
{
    if (PQpipelineStatus(conn_) == PQ_PIPELINE_OFF)
        return;
    deferred_ = 0;
    if (silent_) {
        if (raise)
            RaiseFor(nullptr, QStringLiteral("Writing the changes"));
        return;
    }
    PQpipelineSync(conn_);
    PGresult* failed = nullptr;
    for (;;) {
        try {
            Await(QStringLiteral("Writing the changes"));
        } catch (const RuntimeError&) {
            PQclear(failed);
            throw;
        }
        PGresult* r = PQgetResult(conn_);
        if (!r) {
            // A null ends each statement's answers; on a lost session nothing more comes.
            if (PQstatus(conn_) == CONNECTION_BAD)
                break;
            continue;
        }
        const ExecStatusType status = PQresultStatus(r);
        if (status == PGRES_PIPELINE_SYNC) {
            PQclear(r);
            break;
        }
        if (status == PGRES_FATAL_ERROR && !failed)
            failed = r;
        else
            PQclear(r);
    }
    PQexitPipelineMode(conn_);
    Result first(failed);
    if (raise && (failed || PQstatus(conn_) == CONNECTION_BAD))
        RaiseFor(failed, QStringLiteral("Writing the changes"));
}

quint64 PgConnection::Ready(PgStatement* next)
{
    TakeBack(next);
    Drain(true);
    // A server restarted since the last statement has closed this session: reading what the
    // socket holds finds that out now, before a statement is lost to it.
    if (!inTransaction_ && PQstatus(conn_) == CONNECTION_OK && PQtransactionStatus(conn_) == PQTRANS_IDLE) {
        for (int i = 0; i < 2 && PQconsumeInput(conn_); ++i) {}
    }
    if (PQstatus(conn_) == CONNECTION_BAD || silent_) {
        if (inTransaction_)
            RaiseFor(nullptr, QStringLiteral("Continuing the transaction"));
        // Outside a transaction nothing is lost: open the session again.
        silent_ = false;
        PQreset(conn_);
        if (PQstatus(conn_) != CONNECTION_OK)
            RaiseOpenFailure();
        ++generation_;
        stale_.clear();
        keys_.clear();
        catalogueKnown_ = false;
        Configure();
    }
    if (!stale_.empty() && PQtransactionStatus(conn_) != PQTRANS_INERROR) {
        QByteArray sql;
        for (const QByteArray& name : stale_)
            sql += "DEALLOCATE " + name + ";";
        stale_.clear();
        if (PQsendQuery(conn_, sql.constData()))
            PQclear(Collect(QStringLiteral("Releasing statements")));
    }
    if (next)
        active_ = next;
    return generation_;
}

void PgConnection::Finished(PgStatement* statement)
{
    active_.compare_exchange_strong(statement, nullptr);
}

void PgConnection::Forget(PgStatement* statement, const QByteArray& name, quint64 generation)
{
    Finished(statement);
    if (!name.isEmpty() && generation == generation_)
        stale_.push_back(name);
}

QByteArray PgConnection::NextStatementName()
{
    return "brev_" + QByteArray::number(++nextName_);
}

int PgConnection::BackendPid() const
{
    return PQbackendPID(conn_);
}

pg_result* PgConnection::Run(const QByteArray& sql, const QString& what)
{
    TakeBack(nullptr);
    Drain(true);
    if (silent_)
        RaiseFor(nullptr, what);
    if (!PQsendQuery(conn_, sql.constData()))
        RaiseFor(nullptr, what);
    PGresult* r = Collect(what);
    const ExecStatusType status = PQresultStatus(r);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        Result failed(r);
        RaiseFor(failed.r, what);
    }
    const char* changed = PQcmdTuples(r);
    if (status == PGRES_COMMAND_OK && changed && *changed)
        changes_ = QByteArray(changed).toLongLong();
    return r;
}

pg_result* PgConnection::RunParams(const QByteArray& sql, const std::vector<QByteArray>& values, const QString& what)
{
    Ready(nullptr);
    std::vector<const char*> raw;
    raw.reserve(values.size());
    for (const QByteArray& v : values)
        raw.push_back(v.constData());
    if (!PQsendQueryParams(conn_, sql.constData(), int(raw.size()), nullptr, raw.data(), nullptr, nullptr, 0))
        RaiseFor(nullptr, what);
    PGresult* r = Collect(what);
    const ExecStatusType status = PQresultStatus(r);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        Result failed(r);
        RaiseFor(failed.r, what);
    }
    return r;
}

std::unique_ptr<Statement> PgConnection::Prepare(const QString& sql, const QStringList& parameterNames)
{
    return std::make_unique<PgStatement>(*this, sql.toUtf8(), parameterNames);
}

Connection::ReadAheadWay PgConnection::WayToReadAhead(bool forwardOnly) const
{
    // Measured with the server on the same two cores: receiving on a second thread made the
    // outline of forward-only reads, whose caller does the most per row, about a fifth
    // faster, and made the list (a snapshot, little done per row while the server's sort
    // takes the other core) slower by as much. Snapshots and dynasets are read on the
    // caller's thread.
    // On this same session, through the statement the caller prepared: the rows are what
    // this session sees, its transaction and its settings included, a shared server gets no
    // session more per user, and nothing is prepared twice.
    return forwardOnly ? ReadAheadWay::CallersStatement : ReadAheadWay::NotAhead;
}

void PgConnection::Execute(const QString& sql)
{
    Ready(nullptr);
    Result r(Run(sql.toUtf8(), QStringLiteral("Running \"%1\"").arg(sql.left(200))));
}

void PgConnection::Begin()
{
    Ready(nullptr);
    Result r(Run("BEGIN", QStringLiteral("Starting a transaction")));
    inTransaction_ = true;
}

void PgConnection::Commit()
{
    // A transaction that failed on the server ends in a rollback, whatever COMMIT says.
    Result r(Run("COMMIT", QStringLiteral("Committing")));
    inTransaction_ = false;
}

void PgConnection::Rollback()
{
    inTransaction_ = false;
    if (silent_)
        return;  // given up: the server rolls it back when the session ends
    Drain(false);
    if (PQstatus(conn_) == CONNECTION_BAD || silent_)
        return;  // the server rolled it back when the session ended
    Result r(Run("ROLLBACK", QStringLiteral("Rolling back")));
}

QString PgConnection::RowKeyColumn(const QString& table)
{
    const auto known = keys_.find(table.toLower());
    if (known != keys_.end())
        return known->second;
    // The one column of the table's primary key, else of a unique index without a condition.
    Result r(RunParams(
        "SELECT a.attname FROM pg_index i JOIN pg_attribute a ON a.attrelid = i.indrelid AND a.attnum = i.indkey[0] "
        "WHERE i.indrelid = to_regclass($1) AND (i.indisprimary OR i.indisunique) AND i.indnkeyatts = 1 "
        "AND i.indpred IS NULL AND i.indexprs IS NULL ORDER BY i.indisprimary DESC LIMIT 1",
        {table.toUtf8()}, QStringLiteral("Looking up the key of %1").arg(table)));
    QString key = PQntuples(r.r) > 0 ? QString::fromUtf8(PQgetvalue(r.r, 0, 0)) : QString();
    keys_[table.toLower()] = key;
    return key;
}

bool PgConnection::LookUpQuery(const QString& name, QString* sql)
{
    if (!catalogueKnown_) {
        // No catalogue yet: no stored query at all (and no failed statement to spoil a transaction).
        Result exists(RunParams("SELECT to_regclass('brevquerydefs') IS NOT NULL", {},
                                QStringLiteral("Looking up the stored queries")));
        if (QByteArray(PQgetvalue(exists.r, 0, 0)) != "t")
            return false;
        catalogueKnown_ = true;
    }
    Result r(RunParams("SELECT sql FROM brevquerydefs WHERE lower(name) = lower($1)", {name.toUtf8()},
                       QStringLiteral("Looking up query '%1'").arg(name)));
    if (PQntuples(r.r) == 0)
        return false;
    *sql = QString::fromUtf8(PQgetvalue(r.r, 0, 0), PQgetlength(r.r, 0, 0));
    return true;
}

void PgConnection::SaveQuery(const QString& name, const QString& sql)
{
    if (!catalogueKnown_) {
        Result exists(RunParams("SELECT to_regclass('brevquerydefs') IS NOT NULL", {},
                                QStringLiteral("Looking up the stored queries")));
        if (QByteArray(PQgetvalue(exists.r, 0, 0)) != "t") {
            // One name once, whatever its case, as the file's catalogue keeps it.
            Result made(Run("CREATE TABLE IF NOT EXISTS brevquerydefs (name text NOT NULL, sql text NOT NULL); "
                            "CREATE UNIQUE INDEX IF NOT EXISTS brevquerydefs_name ON brevquerydefs (lower(name))",
                            QStringLiteral("Creating the stored-query catalogue")));
        }
        catalogueKnown_ = true;
    }
    Ready(nullptr);
    const QByteArray n = name.toUtf8();
    const QByteArray s = sql.toUtf8();
    const char* values[] = {n.constData(), s.constData()};
    const QString saving = QStringLiteral("Saving query '%1'").arg(name);
    if (!PQsendQueryParams(conn_, "INSERT INTO brevquerydefs (name, sql) VALUES ($1, $2)", 2, nullptr, values, nullptr,
                           nullptr, 0))
        RaiseFor(nullptr, saving);
    Result r(Collect(saving));
    if (PQresultStatus(r.r) == PGRES_COMMAND_OK)
        return;
    if (QByteArray(PQresultErrorField(r.r, PG_DIAG_SQLSTATE)) == "23505")
        Raise(automation::ErrObjectExists, kSource, QStringLiteral("Object '%1' already exists.").arg(name));
    RaiseFor(r.r, saving);
}

}  // namespace BrevView::data
