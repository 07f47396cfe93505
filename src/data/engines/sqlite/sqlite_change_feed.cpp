#include "data/engines/sqlite/sqlite_change_feed.h"

#include <sys/stat.h>

#include "automation/runtime_error.h"
#include "data/engines/sqlite/sqlite_connection.h"

namespace BrevView::data {
namespace {
const QString kSource = QStringLiteral("BrevView.Data");
}

SqliteChangeFeed::SqliteChangeFeed(QString path, Callbacks callbacks)
    : path_(std::move(path)),
      callbacks_(std::move(callbacks))
{}

SqliteChangeFeed::~SqliteChangeFeed() = default;

void SqliteChangeFeed::Open()
{
    Close();
    try {
        // No busy wait: a check must never hold up the thread that runs it.
        connection_ = SqliteConnection::Open(path_, true, 0);
        struct stat st {};
        if (::stat(path_.toLocal8Bit().constData(), &st) == 0) {
            device_ = st.st_dev;
            inode_ = st.st_ino;
        }
        last_ = Prepared() ? ReadVersion() : -1;
    } catch (const RuntimeError& e) {
        Close();
        callbacks_.lost(e);
        return;
    }
    callbacks_.opened();
}

void SqliteChangeFeed::Close()
{
    version_.reset();
    connection_.reset();
    last_ = -1;
    device_ = 0;
    inode_ = 0;
}

void SqliteChangeFeed::CheckStillThere() const
{
    // An open file that is unlinked or replaced goes on reading its old pages without an
    // error: only its name tells that the database the host uses is another one now.
    struct stat st {};
    if (::stat(path_.toLocal8Bit().constData(), &st) != 0 || st.st_dev != device_ || st.st_ino != inode_)
        automation::Raise(automation::ErrFileNotFoundDb, kSource,
                          QStringLiteral("Could not find file '%1'.").arg(DisplayPath(path_)));
}

bool SqliteChangeFeed::Prepared()
{
    if (version_)
        return true;
    try {
        // Preparing reads the schema, which a lock held elsewhere keeps from it for now.
        version_ = connection_->Prepare(QStringLiteral("PRAGMA data_version"));
    } catch (const RuntimeError& e) {
        if (e.number() == automation::ErrLocked)
            return false;
        throw;
    }
    return true;
}

qint64 SqliteChangeFeed::ReadVersion()
{
    // One step and a reset: no read transaction is left open between checks, so a writer is
    // never held up by the feed.
    qint64 version = -1;
    try {
        if (version_->Step())
            version = version_->Int(0);
    } catch (const RuntimeError& e) {
        try {
            version_->Reset();
        } catch (const RuntimeError&) {}
        if (e.number() == automation::ErrLocked)
            return -1;  // held by another connection this moment: asked again at the next check
        throw;
    }
    try {
        version_->Reset();
    } catch (const RuntimeError&) {}
    return version;
}

void SqliteChangeFeed::Check()
{
    if (!connection_)
        return;
    qint64 version = -1;
    try {
        CheckStillThere();
        if (Prepared())
            version = ReadVersion();
    } catch (const RuntimeError& e) {
        Close();
        callbacks_.lost(e);  // last: the watcher's host may end everything from here
        return;
    }
    if (version < 0)
        return;
    if (version != last_) {
        // A feed opened while the file was locked learns its first version only now: what
        // was committed under that lock may be anything, so it counts as a change.
        last_ = version;
        callbacks_.changed();
        return;
    }
}

}  // namespace BrevView::data
