#pragma once
// Tells when a database has been changed by a commit of another connection, without
// reading its tables: the engine's own signal of a change, read on a connection of its own.
//
// An SQLite file is asked for its data version (which moves whenever any other connection,
// in this process or another, commits to the file) each time Check() is called. A PostgreSQL
// server pushes a notification on a channel that triggers feed; the feed reads it when the
// session's socket has something, through the Qt event loop, never by polling.
//
// Open() reports how it went through `opened` or `lost`: a file at once, before it returns; a
// server later, from the event loop, so that a slow or absent server never blocks the caller.
// A feed that is lost stays closed until Open() is called again.

#include <functional>
#include <memory>

#include <QString>
#include <QStringList>

#include <brevview/runtime_error.h>

namespace BrevView::data {

class ChangeFeed {
public:
    struct Callbacks {
        std::function<void()> opened;                   // watching from now on
        std::function<void()> changed;                  // something was committed
        std::function<void(const RuntimeError&)> lost;  // not watching; why (no password in it)
    };

    // For `path` (an SQLite file or a server URI, see OpenConnection). On a server, `channel`
    // is the notification channel, and only notifications whose payload names the schema of
    // one of `tables` (as the session's search path finds them) count.
    static std::unique_ptr<ChangeFeed> Create(const QString& path, const QString& userName, const QString& password,
                                              const QString& channel, const QStringList& tables, Callbacks callbacks);
    virtual ~ChangeFeed() = default;

    virtual void Open() = 0;
    virtual void Close() = 0;
    // Whether the engine has to be asked (Check()) rather than telling by itself.
    virtual bool NeedsChecking() const = 0;
    // Asks now; reports a change through `changed`. Nothing on an engine that tells by itself.
    virtual void Check() = 0;
};

}  // namespace BrevView::data
