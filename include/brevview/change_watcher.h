#pragma once
/// \file change_watcher.h
/// \brief ChangeWatcher: tells a host when a colleague has changed the IBOs.

#include <memory>
#include <optional>

#include <QObject>

#include "export.h"
#include "runtime_error.h"

namespace BrevView {

class ChangeWatcherPrivate;

/// \brief Watches the database that `BrevData.Database` names and emits IbosChanged() when
/// another connection has committed a change to IboMain or IboArchive.
///
/// The controls never refresh on their own: the watcher tells the host, and the host
/// decides (typically by calling `Refresh` on the view on screen).
/// \code
/// auto* watcher = new BrevView::ChangeWatcher(this);
/// connect(watcher, &BrevView::ChangeWatcher::IbosChanged, view, [view] { view->Refresh(); });
/// watcher->start();
/// \endcode
///
/// Signals are coalesced: at most one IbosChanged() per `interval` (1000 ms unless set), the
/// first at once, the rest of a burst at the end of the interval; never a burst.
///
/// - On an SQLite file the watcher asks the file's data version on a read-only connection
///   of its own, a few times per interval. Every commit of another connection moves it, in
///   this process or another, the controls' own included; reading it reads no table. The
///   stored queries the controls create on first use live in the same file, so their
///   creation is reported once too.
/// - On a PostgreSQL server it LISTENs on the channel "brev_ibos_changed", which the
///   triggers of the schema script (`ibo_tables_pg.sql`) notify with the changed table's
///   schema whenever a statement really changed a row; it reads the session's socket when
///   the server sends something, and polls nothing. A session lost to the server is opened
///   again with a growing pause (250 ms, doubling, at most 10 s); when it is back, one
///   IbosChanged() reports what may have changed meanwhile.
///
/// The user name and password come from `BrevData.Database` alone, are read at start() and
/// are never written to a trace, a log or a message. Errors never leave as exceptions: they
/// are reported through ErrorRaised() and lastError(), and the watcher keeps trying.
class BREVVIEW_EXPORT ChangeWatcher : public QObject {
    Q_OBJECT
    /// The shortest time between two IbosChanged() signals in ms (default 1000; 0: every change). Notify signal: intervalChanged().
    Q_PROPERTY(int interval READ interval WRITE setInterval NOTIFY intervalChanged)
    /// Whether the watcher is watching now: started, and its connection open. Notify signal: activeChanged().
    Q_PROPERTY(bool active READ isActive NOTIFY activeChanged)

public:
    /// A watcher that is not watching yet: call start().
    explicit ChangeWatcher(QObject* parent = nullptr);
    /// Stops watching, without signals.
    ~ChangeWatcher() override;

    /// The shortest time between two IbosChanged() signals, in milliseconds.
    int interval() const;
    /// Sets the interval (a negative one counts as 0); takes effect with the next signal.
    void setInterval(int msec);
    /// Whether the watcher is watching now.
    bool isActive() const;
    /// The last error reported through ErrorRaised(), if any since start().
    std::optional<RuntimeError> lastError() const;

public Q_SLOTS:
    /// Reads `BrevData.Database` and starts watching. False when the settings could not be
    /// read or the database could not be opened at once (the error is reported; a file or a
    /// server that cannot be reached is tried again with the growing pause). A server is
    /// opened without blocking: `active` turns true when the watcher listens.
    bool start();
    /// Stops watching and closes the watcher's connection.
    void stop();

Q_SIGNALS:
    /// Another connection has committed a change to the IBO tables.
    void IbosChanged();
    /// The interval has changed.
    void intervalChanged(int msec);
    /// The watcher has started or stopped watching (opened, lost, reopened, stopped).
    void activeChanged(bool active);
    /// A numbered error: the database could not be opened, or the connection was lost.
    void ErrorRaised(qint32 Number, const QString& Source, const QString& Description);

private:
    std::unique_ptr<ChangeWatcherPrivate> d;
};

}  // namespace BrevView
