#include "sqlite_connection.h"

#include <sqlite3.h>

#include <QFileInfo>
#include <QStorageInfo>

#include "../automation/ole_date.h"
#include "../automation/runtime_error.h"
#include "../host/clock.h"

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
    sqlite3_create_function(db, "brev_month", 1, flags | SQLITE_DETERMINISTIC, nullptr, FnDatePart<1>, nullptr, nullptr);
    sqlite3_create_function(db, "brev_day", 1, flags | SQLITE_DETERMINISTIC, nullptr, FnDatePart<2>, nullptr, nullptr);
}

}  // namespace

std::shared_ptr<SqliteConnection> SqliteConnection::Open(const QString& path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists() || info.isDir())
        Raise(automation::ErrFileNotFoundDb, kSource, QStringLiteral("Could not find file '%1'.").arg(path));
    std::shared_ptr<SqliteConnection> c(new SqliteConnection);
    c->path_ = path;
    // Never SQLITE_OPEN_CREATE: a missing file is an error, not a new empty database.
    // One connection per control and thread: SQLite's own per-call locking is not needed.
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &c->db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                                   g_vfs.isEmpty() ? nullptr : g_vfs.constData());
    if (rc != SQLITE_OK) {
        const QString why = c->db_ ? QString::fromUtf8(sqlite3_errmsg(c->db_)) : QStringLiteral("out of memory");
        Raise(automation::ErrCannotOpenFile, kSource,
              QStringLiteral("The database engine cannot open the file '%1' (%2).").arg(path, why));
    }
    // A writer in another process makes us wait a bounded time, then fail with a numbered error.
    sqlite3_busy_timeout(c->db_, 5000);
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
    sqlite3_exec(c->db_, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr);
    RegisterFunctions(c->db_);
    // Reading the schema proves that the file is a database.
    sqlite3_stmt* probe = nullptr;
    int prc = sqlite3_prepare_v2(c->db_, "SELECT count(*) FROM sqlite_master", -1, &probe, nullptr);
    if (prc == SQLITE_OK)
        prc = sqlite3_step(probe);
    sqlite3_finalize(probe);
    if (prc != SQLITE_ROW) {
        if (prc == SQLITE_NOTADB || prc == SQLITE_CORRUPT)
            Raise(automation::ErrNotADatabase, kSource,
                  QStringLiteral("Unrecognized database format '%1'.").arg(path));
        c->RaiseFor(prc, QStringLiteral("opening '%1'").arg(path));
    }
    return c;
}

bool SqliteConnection::MapsFilesOn(const QByteArray& fileSystemType)
{
    static const char* const kLocal[] = {"ext2", "ext3", "ext4", "xfs", "btrfs", "tmpfs", "zfs", "f2fs", "overlay",
                                         "jfs", "reiserfs", "apfs", "hfs", "ntfs", "ntfs3", "refs", "exfat", "vfat"};
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
        Raise(automation::ErrCantUpdate, kSource, QStringLiteral("Cannot update. Database or object is read-only. ") + text);
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

sqlite3_stmt* SqliteConnection::Prepare(const QString& sql)
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

void SqliteConnection::Execute(const QString& sql)
{
    sqlite3_stmt* stmt = Prepare(sql);
    int rc = SQLITE_ROW;
    while (rc == SQLITE_ROW)
        rc = sqlite3_step(stmt);
    sqlite3_finalize(stmt);
    if (rc != SQLITE_DONE)
        RaiseFor(rc, QStringLiteral("Running \"%1\"").arg(sql.left(200)));
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
