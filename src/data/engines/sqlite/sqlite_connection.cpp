#include "data/engines/sqlite/sqlite_connection.h"

#include <sqlite3.h>

#include <QFileInfo>
#include <QStorageInfo>

#include "automation/ole_date.h"
#include "automation/runtime_error.h"
#include "host/clock.h"

namespace BrevView::data {
namespace {

using automation::Raise;

const QString kSource = QStringLiteral("BrevView.Data");
thread_local quint64 t_prepared = 0;
QByteArray g_vfs;

void ResultText(sqlite3_context* ctx, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    sqlite3_result_text(ctx, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

void FnDate(sqlite3_context* ctx, int, sqlite3_value**)
{
    try {
        // The same day's text for every row of a statement: made once per day.
        thread_local double day = -1e9;
        thread_local QByteArray text;
        const automation::Date today = host::Clock::Today();
        if (today.serial() != day) {
            text = today.ToCanonicalText().toUtf8();
            day = today.serial();
        }
        sqlite3_result_text(ctx, text.constData(), int(text.size()), SQLITE_TRANSIENT);
    } catch (const std::exception& e) {
        sqlite3_result_error(ctx, e.what(), -1);
    }
}

void FnNow(sqlite3_context* ctx, int, sqlite3_value**)
{
    try {
        ResultText(ctx, host::Clock::Now().ToCanonicalText());
    } catch (const std::exception& e) {
        sqlite3_result_error(ctx, e.what(), -1);
    }
}

// Year(), Month(), Day() of a stored date; Null for Null or for a value that is not a date.
template <int Part>
void FnDatePart(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (sqlite3_value_type(argv[0]) != SQLITE_TEXT) {
        sqlite3_result_null(ctx);
        return;
    }
    const char* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
    const int len = sqlite3_value_bytes(argv[0]);
    // The canonical form has fixed positions: read the digits directly.
    if (len >= 10 && text[4] == '-' && text[7] == '-') {
        auto num = [&](int at, int count) {
            int v = 0;
            for (int k = 0; k < count; ++k) {
                const char ch = text[at + k];
                if (ch < '0' || ch > '9')
                    return -1;
                v = v * 10 + (ch - '0');
            }
            return v;
        };
        const int v = Part == 0 ? num(0, 4) : Part == 1 ? num(5, 2) : num(8, 2);
        if (v >= 0) {
            sqlite3_result_int(ctx, v);
            return;
        }
    }
    sqlite3_result_null(ctx);
}

void RegisterFunctions(sqlite3* db)
{
    const int flags = SQLITE_UTF8;
    // Date() is the same for the whole of one statement's run: marked deterministic so that
    // SQLite computes it once per run, not once per row. Statements are prepared per
    // recordset, so a new day is seen by the next one.
    sqlite3_create_function(db, "brev_date", 0, flags | SQLITE_DETERMINISTIC, nullptr, FnDate, nullptr, nullptr);
    sqlite3_create_function(db, "brev_now", 0, flags, nullptr, FnNow, nullptr, nullptr);
    sqlite3_create_function(db, "brev_year", 1, flags | SQLITE_DETERMINISTIC, nullptr, FnDatePart<0>, nullptr, nullptr);
    sqlite3_create_function(db, "brev_month", 1, flags | SQLITE_DETERMINISTIC, nullptr, FnDatePart<1>, nullptr,
                            nullptr);
    sqlite3_create_function(db, "brev_day", 1, flags | SQLITE_DETERMINISTIC, nullptr, FnDatePart<2>, nullptr, nullptr);
}

// A prepared SQLite statement: every call goes straight to SQLite.
class SqliteStatement final : public Statement {
public:
    SqliteStatement(SqliteConnection& conn, sqlite3_stmt* stmt, std::shared_ptr<void> lease = {})
        : conn_(conn),
          stmt_(stmt),
          lease_(std::move(lease))
    {}
    ~SqliteStatement() override { sqlite3_finalize(stmt_); }

    int ParameterCount() const override { return sqlite3_bind_parameter_count(stmt_); }
    QString ParameterName(int index) const override
    {
        const char* raw = sqlite3_bind_parameter_name(stmt_, index);
        return raw ? QString::fromUtf8(raw) : QString();
    }
    void BindNull(int index) override { Check(sqlite3_bind_null(stmt_, index), index); }
    void BindInt(int index, qint64 value) override { Check(sqlite3_bind_int64(stmt_, index, value), index); }
    void BindReal(int index, double value) override { Check(sqlite3_bind_double(stmt_, index, value), index); }
    void BindText(int index, const QByteArray& utf8) override
    {
        Check(sqlite3_bind_text(stmt_, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT), index);
    }

    bool Step() override
    {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW)
            return true;
        sqlite3_reset(stmt_);
        if (rc != SQLITE_DONE)
            conn_.RaiseFor(rc, QStringLiteral("Reading \"%1\"").arg(QString::fromUtf8(sqlite3_sql(stmt_)).left(200)));
        return false;
    }
    void Reset() override { sqlite3_reset(stmt_); }

    int ColumnCount() const override { return sqlite3_column_count(stmt_); }
    QString ColumnName(int column) const override { return QString::fromUtf8(sqlite3_column_name(stmt_, column)); }
    ColumnKind Kind(int column) const override
    {
        const char* decl = sqlite3_column_decltype(stmt_, column);
        if (!decl)
            return ColumnKind::Plain;
        const QByteArray upper = QByteArray(decl).toUpper();
        if (upper.contains("DATE") || upper.contains("TIME"))
            return ColumnKind::Date;
        if (upper.contains("BOOL") || upper.contains("BIT") || upper.contains("YESNO"))
            return ColumnKind::Bool;
        return ColumnKind::Plain;
    }

    CellType Type(int column) override
    {
        switch (sqlite3_column_type(stmt_, column)) {
        case SQLITE_NULL:
            return CellType::Null;
        case SQLITE_INTEGER:
            return CellType::Int;
        case SQLITE_FLOAT:
            return CellType::Real;
        default:
            return CellType::Text;
        }
    }
    qint64 Int(int column) override { return sqlite3_column_int64(stmt_, column); }
    double Real(int column) override { return sqlite3_column_double(stmt_, column); }
    const char* Text(int column, int* length) override
    {
        const char* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, column));
        *length = sqlite3_column_bytes(stmt_, column);
        return text ? text : "";
    }
    // A column's value is found once and its type, number or text read from it, instead of
    // finding it again for each (the per-column calls each look it up and check the result).
    void StoreRow(StoredCell* cells, int columns, TextBuffer& text) override
    {
        for (int c = 0; c < columns; ++c) {
            sqlite3_value* value = sqlite3_column_value(stmt_, c);
            StoredCell& cell = cells[c];
            cell.i = 0;
            cell.len = 0;
            switch (sqlite3_value_type(value)) {
            case SQLITE_NULL:
                cell.type = CellType::Null;
                break;
            case SQLITE_INTEGER:
                cell.type = CellType::Int;
                cell.i = sqlite3_value_int64(value);
                break;
            case SQLITE_FLOAT:
                cell.type = CellType::Real;
                cell.d = sqlite3_value_double(value);
                break;
            default: {
                cell.type = CellType::Text;
                const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
                const int n = sqlite3_value_bytes(value);
                cell.len = quint32(n);
                cell.i = text.Append(bytes ? bytes : "", size_t(n));
                break;
            }
            }
        }
    }

private:
    void Check(int rc, int index)
    {
        if (rc != SQLITE_OK)
            conn_.RaiseFor(rc, QStringLiteral("Binding parameter %1").arg(index));
    }
    SqliteConnection& conn_;
    sqlite3_stmt* stmt_;
    // A statement of the reading connection keeps it (and its claim on it) until finalized.
    std::shared_ptr<void> lease_;
};

const char* const kCatalogue = "BrevQueryDefs";

}  // namespace

std::shared_ptr<SqliteConnection> SqliteConnection::Open(const QString& path, bool readOnly, int busyWaitMs)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists() || info.isDir())
        Raise(automation::ErrFileNotFoundDb, kSource,
              QStringLiteral("Could not find file '%1'.").arg(DisplayPath(path)));
    std::shared_ptr<SqliteConnection> c(new SqliteConnection);
    c->path_ = path;
    // Never SQLITE_OPEN_CREATE: a missing file is an error, not a new empty database.
    // One connection per control and thread: SQLite's own per-call locking is not needed.
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &c->db_,
                                   (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) | SQLITE_OPEN_NOMUTEX,
                                   g_vfs.isEmpty() ? nullptr : g_vfs.constData());
    if (rc != SQLITE_OK) {
        const QString why = c->db_ ? QString::fromUtf8(sqlite3_errmsg(c->db_)) : QStringLiteral("out of memory");
        Raise(automation::ErrCannotOpenFile, kSource,
              QStringLiteral("The database engine cannot open the file '%1' (%2).").arg(DisplayPath(path), why));
    }
    // A writer in another process makes us wait a bounded time, then fail with a numbered error.
    sqlite3_busy_timeout(c->db_, busyWaitMs);
    sqlite3_extended_result_codes(c->db_, 0);
    // Reads go through a memory map of the file on a local disk: a refresh walks an index and
    // fetches its rows from all over the table, and one system call per row costs more than
    // the row. Writes still go through the journal; a VFS without a map (the test VFS) and a
    // file on a network share read as before.
    if (MapsFilesOn(QStorageInfo(path).fileSystemType()))
        sqlite3_exec(c->db_, "PRAGMA mmap_size=1073741824", nullptr, nullptr, nullptr);
    // Room for the pages a refresh's writes change (the forecast's won dates touch the
    // table and both indexes that hold the date), so that they are not spilled to the file
    // before the commit. On a local disk read pages come from the map and take none of it.
    // A connection that only reads keeps SQLite's own cache: the size of a sort's runs in
    // memory follows the cache, and runs of 64 MiB sorted the forecast's sets a third to a
    // half slower than runs of a few MiB merged.
    if (!readOnly)
        sqlite3_exec(c->db_, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr);
    // A read going ahead sorts before its first row reaches the control, while the control's
    // thread waits for it: SQLite may sort the runs of a large sort on that core meanwhile.
    else
        sqlite3_exec(c->db_, "PRAGMA threads=2", nullptr, nullptr, nullptr);
    RegisterFunctions(c->db_);
    // Reading the schema proves that the file is a database.
    sqlite3_stmt* probe = nullptr;
    int prc = sqlite3_prepare_v2(c->db_, "SELECT count(*) FROM sqlite_master", -1, &probe, nullptr);
    if (prc == SQLITE_OK)
        prc = sqlite3_step(probe);
    sqlite3_finalize(probe);
    if (prc == SQLITE_BUSY && busyWaitMs == 0)
        return c;  // locked now: a caller that does not wait asks again later
    if (prc != SQLITE_ROW) {
        if (prc == SQLITE_NOTADB || prc == SQLITE_CORRUPT)
            Raise(automation::ErrNotADatabase, kSource,
                  QStringLiteral("Unrecognized database format '%1'.").arg(DisplayPath(path)));
        c->RaiseFor(prc, QStringLiteral("opening '%1'").arg(DisplayPath(path)));
    }
    return c;
}

bool SqliteConnection::MapsFilesOn(const QByteArray& fileSystemType)
{
    static const char* const kLocal[] = {"ext2", "ext3", "ext4",    "xfs",  "btrfs",    "tmpfs",
                                         "zfs",  "f2fs", "overlay", "jfs",  "reiserfs", "apfs",
                                         "hfs",  "ntfs", "ntfs3",   "refs", "exfat",    "vfat"};
    const QByteArray type = fileSystemType.toLower();  // Windows names them in capitals
    for (const char* local : kLocal) {
        if (type == local)
            return true;
    }
    return false;
}

SqliteConnection::~SqliteConnection()
{
    if (db_)
        sqlite3_close_v2(db_);
}

void SqliteConnection::RaiseFor(int rc, const QString& what) const
{
    const QString why = db_ ? QString::fromUtf8(sqlite3_errmsg(db_)) : QString::fromUtf8(sqlite3_errstr(rc));
    const QString text = QStringLiteral("%1 failed: %2").arg(what, why);
    switch (rc & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        Raise(automation::ErrLocked, kSource, QStringLiteral("Couldn't update; currently locked. ") + text);
    case SQLITE_READONLY:
        Raise(automation::ErrCantUpdate, kSource,
              QStringLiteral("Cannot update. Database or object is read-only. ") + text);
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        Raise(automation::ErrNotADatabase, kSource, QStringLiteral("Unrecognized database format. ") + text);
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
        Raise(automation::ErrDiskIo, kSource, QStringLiteral("Disk or network error. ") + text);
    case SQLITE_NOMEM:
        Raise(automation::ErrOutOfMemory, kSource, text);
    default:
        Raise(automation::ErrInvalidSql, kSource, text);
    }
}

sqlite3_stmt* SqliteConnection::PrepareRaw(const QString& sql)
{
    sqlite3_stmt* stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    const int rc = sqlite3_prepare_v2(db_, utf8.constData(), int(utf8.size()), &stmt, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(stmt);
        RaiseFor(rc, QStringLiteral("Preparing \"%1\"").arg(sql.left(200)));
    }
    ++t_prepared;
    return stmt;
}

std::unique_ptr<Statement> SqliteConnection::Prepare(const QString& sql, const QStringList&)
{
    return std::make_unique<SqliteStatement>(*this, PrepareRaw(sql));
}

std::unique_ptr<Statement> SqliteConnection::PrepareToReadAhead(const QString& sql, const QStringList&)
{
    if (*readerBusy_)
        return nullptr;
    if (sqlite3_get_autocommit(db_))
        begun_ = false;
    else if (!begun_ || sqlite3_total_changes64(db_) != changesAtBegin_)
        return nullptr;
    try {
        if (!reader_)
            reader_ = Open(path_, true);
    } catch (const std::exception&) {
        return nullptr;  // this connection reads the rows itself, as it always could
    }
    sqlite3_stmt* stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v2(reader_->db_, utf8.constData(), int(utf8.size()), &stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt);
        return nullptr;
    }
    *readerBusy_ = true;
    std::shared_ptr<void> lease(nullptr, [busy = readerBusy_, keep = reader_](void*) { *busy = false; });
    return std::make_unique<SqliteStatement>(*reader_, stmt, std::move(lease));
}

void SqliteConnection::Begin()
{
    Execute(QStringLiteral("BEGIN IMMEDIATE"));
    begun_ = true;
    changesAtBegin_ = sqlite3_total_changes64(db_);
}

void SqliteConnection::Commit()
{
    Execute(QStringLiteral("COMMIT"));
    begun_ = false;
}

void SqliteConnection::Rollback()
{
    begun_ = false;
    Execute(QStringLiteral("ROLLBACK"));
}

void SqliteConnection::Execute(const QString& sql)
{
    sqlite3_stmt* stmt = PrepareRaw(sql);
    int rc = SQLITE_ROW;
    while (rc == SQLITE_ROW)
        rc = sqlite3_step(stmt);
    sqlite3_finalize(stmt);
    if (rc != SQLITE_DONE)
        RaiseFor(rc, QStringLiteral("Running \"%1\"").arg(sql.left(200)));
}

qint64 SqliteConnection::Changes() const
{
    return sqlite3_changes64(db_);
}

bool SqliteConnection::LookUpQuery(const QString& name, QString* sql)
{
    sqlite3_stmt* stmt = nullptr;
    const QByteArray text =
        QStringLiteral("SELECT SQL FROM %1 WHERE Name = ?1 COLLATE NOCASE").arg(QLatin1String(kCatalogue)).toUtf8();
    int rc = sqlite3_prepare_v2(db_, text.constData(), int(text.size()), &stmt, nullptr);
    if (rc != SQLITE_OK) {
        // No catalogue yet: no stored query at all.
        sqlite3_finalize(stmt);
        return false;
    }
    const QByteArray n = name.toUtf8();
    sqlite3_bind_text(stmt, 1, n.constData(), int(n.size()), SQLITE_TRANSIENT);
    rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW)
        *sql = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)),
                                 sqlite3_column_bytes(stmt, 0));
    sqlite3_finalize(stmt);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
        RaiseFor(rc, QStringLiteral("Looking up query '%1'").arg(name));
    return rc == SQLITE_ROW;
}

void SqliteConnection::SaveQuery(const QString& name, const QString& sql)
{
    Execute(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (Name TEXT PRIMARY KEY COLLATE NOCASE, SQL TEXT NOT NULL)")
                .arg(QLatin1String(kCatalogue)));
    sqlite3_stmt* stmt =
        PrepareRaw(QStringLiteral("INSERT INTO %1 (Name, SQL) VALUES (?1, ?2)").arg(QLatin1String(kCatalogue)));
    const QByteArray n = name.toUtf8();
    const QByteArray s = sql.toUtf8();
    sqlite3_bind_text(stmt, 1, n.constData(), int(n.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 2, s.constData(), int(s.size()), SQLITE_TRANSIENT);
    const int rc = sqlite3_step(stmt);
    sqlite3_finalize(stmt);
    if (rc == SQLITE_CONSTRAINT)
        Raise(automation::ErrObjectExists, kSource, QStringLiteral("Object '%1' already exists.").arg(name));
    if (rc != SQLITE_DONE)
        RaiseFor(rc, QStringLiteral("Saving query '%1'").arg(name));
}

void SqliteConnection::SetVfs(const QByteArray& name)
{
    g_vfs = name;
}

quint64 SqliteConnection::StatementsPrepared()
{
    return t_prepared;
}

}  // namespace BrevView::data
