#include "sqlite_change_feed.h"

#include "sqlite_connection.h"

namespace BrevView::data {

SqliteChangeFeed::SqliteChangeFeed(QString path, Callbacks callbacks) : path_(std::move(path)), callbacks_(std::move(callbacks)) {}

SqliteChangeFeed::~SqliteChangeFeed() = default;

void SqliteChangeFeed::Open()
{
    Close();
    try {
        connection_ = SqliteConnection::Open(path_, true);
        version_ = connection_->Prepare(QStringLiteral("PRAGMA data_version"));
        last_ = ReadVersion();
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
}

qint64 SqliteChangeFeed::ReadVersion()
{
    // One step and a reset: no read transaction is left open between checks, so a writer is
    // never held up by the feed.
    qint64 version = -1;
    try {
        if (version_->Step())
            version = version_->Int(0);
    } catch (const RuntimeError&) {
        version = -1;  // busy or locked for a moment: asked again at the next check
    }
    try {
        version_->Reset();
    } catch (const RuntimeError&) {
    }
    return version;
}

void SqliteChangeFeed::Check()
{
    if (!version_)
        return;
    const qint64 version = ReadVersion();
    if (version < 0)
        return;
    if (last_ >= 0 && version != last_) {
        last_ = version;
        callbacks_.changed();
        return;
    }
    last_ = version;
}

}  // namespace BrevView::data
