#pragma once
// The change feed of an SQLite file: its data version, read on a read-only connection of
// the feed's own each time it is checked.

#include <memory>

#include "../change_feed.h"

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
    // The data version now; -1 when it could not be read this time (the file busy).
    qint64 ReadVersion();

    QString path_;
    Callbacks callbacks_;
    std::shared_ptr<SqliteConnection> connection_;
    std::unique_ptr<Statement> version_;
    qint64 last_ = -1;
};

}  // namespace BrevView::data
