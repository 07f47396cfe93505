#pragma once
// The seam between the data objects (Database, QueryDef, Recordset) and the database
// engine under them. Each engine (sqlite/, postgresql/) implements one Connection and its
// Statement; nothing above this folder knows which one it talks to.
//
// A statement is prepared from SQL already in the engine's dialect (see sql_dialect.h),
// bound by position, stepped row by row, and read one column at a time without making an
// object per cell. Every engine failure is raised as a numbered run-time error in the
// data-access family (3024, 3027, 3029, 3033, 3043, 3051, 3129, 3151, 3260, ...).

#include <cstring>
#include <memory>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace BrevView::data {

// Which SQL a statement must be written in.
enum class Dialect { SQLite, PostgreSQL };

enum class CellType : quint8 { Null, Int, Real, Text };

// A cell kept after its statement has moved on: a number in place, a text as where its
// bytes are in a buffer of the keeper's (in `i`) and how many there are.
struct StoredCell {
    union {
        qint64 i;
        double d;
    };
    quint32 len;
    CellType type;
};

// Bytes appended end to end, for a reader that copies each row's texts out of a statement
// before it steps on: short texts (most of them) are copied inline, without a call.
class TextBuffer {
public:
    const char* data() const { return bytes_.get(); }
    size_t size() const { return size_; }
    void clear() { size_ = 0; }
    // Appends `n` bytes; returns where they start.
    qint64 Append(const char* text, size_t n)
    {
        const size_t at = size_;
        if (capacity_ - at < n)
            Grow(at + n);
        char* to = bytes_.get() + at;
        if (n <= 16) {
            if (n >= 8) {
                std::memcpy(to, text, 8);
                std::memcpy(to + n - 8, text + n - 8, 8);
            } else {
                for (size_t i = 0; i < n; ++i)
                    to[i] = text[i];
            }
        } else {
            std::memcpy(to, text, n);
        }
        size_ = at + n;
        return qint64(at);
    }

private:
    void Grow(size_t needed)
    {
        size_t capacity = capacity_ == 0 ? 65536 : capacity_ * 2;
        while (capacity < needed)
            capacity *= 2;
        std::unique_ptr<char[]> bytes(new char[capacity]);
        if (size_ > 0)
            std::memcpy(bytes.get(), bytes_.get(), size_);
        bytes_ = std::move(bytes);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> bytes_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

// What a column holds as its table declares it: the engines return dates as text and
// booleans as integers, and the data objects make them dates and booleans again.
enum class ColumnKind : quint8 { Plain, Date, Bool };

class Statement {
public:
    virtual ~Statement() = default;

    // Parameters are numbered from 1; their names as the statement declares them ("@Priority").
    virtual int ParameterCount() const = 0;
    virtual QString ParameterName(int index) const = 0;
    virtual void BindNull(int index) = 0;
    virtual void BindInt(int index, qint64 value) = 0;
    virtual void BindReal(int index, double value) = 0;
    virtual void BindText(int index, const QByteArray& utf8) = 0;

    // Runs the statement on the first call and moves to the next row on each later one;
    // false after the last row. A failure raises.
    virtual bool Step() = 0;
    // Back to before the first row, the bindings kept: the next Step runs it again.
    virtual void Reset() = 0;
    // Called on the caller's thread, bound, before a reading thread takes over the Steps
    // (see ReadAhead): an engine whose session the caller goes on using sends the statement
    // now, so that the reading thread only ever receives rows. A failure raises.
    virtual void Launch() {}
    // Asks the engine, from any thread, to stop a running statement's rows: a read let go
    // before its end. The statement's next Step then ends it (an error or no more rows).
    virtual void Interrupt() {}

    virtual int ColumnCount() const = 0;
    virtual QString ColumnName(int column) const = 0;
    virtual ColumnKind Kind(int column) const = 0;

    // The current row's cells.
    virtual CellType Type(int column) = 0;
    virtual qint64 Int(int column) = 0;
    virtual double Real(int column) = 0;
    // UTF-8 bytes, valid until the next Step or Reset; never null.
    virtual const char* Text(int column, int* length) = 0;

    // The current row's first `columns` cells into `cells`, each as Type, Int, Real and Text
    // give it, their texts appended to `text` (a text cell's `i` is where its bytes start
    // there). One call per row, for a reader that keeps every cell of every row: each engine
    // reads a row whole faster than cell by cell.
    virtual void StoreRow(StoredCell* cells, int columns, TextBuffer& text) = 0;
};

class Connection {
public:
    virtual ~Connection() = default;

    virtual Dialect dialect() const = 0;
    // What the connection is to, for messages: a file path, or the server and database
    // (never a password).
    virtual QString DisplayName() const = 0;

    // `sql` in this engine's dialect; `parameterNames` are the names of $1, $2, ... for an
    // engine whose statements number their parameters (ignored by one that names them).
    // Error 3129 with the engine's reason when the text does not prepare.
    virtual std::unique_ptr<Statement> Prepare(const QString& sql, const QStringList& parameterNames = {}) = 0;
    // Runs statements without rows.
    virtual void Execute(const QString& sql) = 0;
    // How a statement's rows may be read on a thread of their own while this connection stays
    // with its caller (see ReadAhead). `forwardOnly`: the caller reads the rows once, in
    // order, and never goes back.
    enum class ReadAheadWay {
        NotAhead,           // read on the caller's thread (the default)
        CallersStatement,   // the caller's own statement, on this same session
        StatementOfItsOwn,  // a statement from PrepareToReadAhead, when it gives one
    };
    virtual ReadAheadWay WayToReadAhead(bool forwardOnly) const
    {
        Q_UNUSED(forwardOnly);
        return ReadAheadWay::NotAhead;
    }
    // For StatementOfItsOwn: the same statement prepared for reading on a thread of its own,
    // or null when the engine cannot do that now. The caller binds it as it binds the
    // statement from Prepare.
    virtual std::unique_ptr<Statement> PrepareToReadAhead(const QString& sql, const QStringList& parameterNames)
    {
        Q_UNUSED(sql);
        Q_UNUSED(parameterNames);
        return nullptr;
    }

    virtual void Begin() = 0;
    virtual void Commit() = 0;
    virtual void Rollback() = 0;
    // Rows changed by the last statement that changed rows.
    virtual qint64 Changes() const = 0;

    // The column that names one row of `table` for an update ("rowid" where the engine
    // keeps one); empty when the table has none, so that its rows cannot be updated.
    virtual QString RowKeyColumn(const QString& table) = 0;

    // The stored-query catalogue: the text saved under `name` (any case), or false.
    virtual bool LookUpQuery(const QString& name, QString* sql) = 0;
    // Saves a query; error 3012 when the name is taken.
    virtual void SaveQuery(const QString& name, const QString& sql) = 0;
};

// Opens `path` with the engine it names: a "postgresql://" or "postgres://" URI is a
// PostgreSQL server, anything else an SQLite file. The user name and password go to the
// engine that uses them (an empty one leaves the engine's own sources to apply) and are
// kept nowhere else.
std::shared_ptr<Connection> OpenConnection(const QString& path, const QString& userName, const QString& password);

// Whether `path` names a PostgreSQL server.
bool IsServerUri(const QString& path);

// `path` as messages may show it: a URI without its password.
QString DisplayPath(const QString& path);

}  // namespace BrevView::data
