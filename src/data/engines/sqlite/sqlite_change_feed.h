#pragma once
// The change feed of an SQLite file: its data version, read on a read-only connection of
// the feed's own each time it is checked.
//
// The checks run on the caller's (the GUI's) thread, so none of them ever waits for a lock:
// while another process holds the file, a check gives up at once and the next one asks again.
// A file that is removed, replaced or no longer readable ends the feed (`lost`).

#include <memory>

#include <sys/types.h>

#include "data/change_feed.h"

namespace BrevView::data {

class SqliteConnection;
class Statement;

class SqliteChangeFeed final : public ChangeFeed {
public:
    SqliteChangeFeed(QString path, Callbacks callbacks);
    ~SqliteChangeFeed() override;

    void Open() override;
    void Close() override;
    bool NeedsChecking() const override { return true; }
    void Check() override;

private:
    // Whether the statement that reads the data version is prepared (false while the file is
    // locked elsewhere). Any other failure raises.
    bool Prepared();
    // The data version now; -1 when another connection holds the file this moment. Any other
    // failure raises.
    qint64 ReadVersion();
    // Raises error 3024 when the path no longer names the file that was opened.
    void CheckStillThere() const;

    QString path_;
    Callbacks callbacks_;
    std::shared_ptr<SqliteConnection> connection_;
    std::unique_ptr<Statement> version_;
    qint64 last_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace BrevView::data
