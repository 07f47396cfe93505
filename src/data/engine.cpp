#include "data/engine.h"

#include "data/change_feed.h"
#include "data/engines/postgresql/pg_change_feed.h"
#include "data/engines/postgresql/pg_connection.h"
#include "data/engines/sqlite/sqlite_change_feed.h"
#include "data/engines/sqlite/sqlite_connection.h"

namespace BrevView::data {

bool IsServerUri(const QString& path)
{
    return path.startsWith(QLatin1String("postgresql://"), Qt::CaseInsensitive) ||
           path.startsWith(QLatin1String("postgres://"), Qt::CaseInsensitive);
}

QString DisplayPath(const QString& path)
{
    // Any URI, whatever its scheme (a mistyped one names no server, but may hold a password):
    // only what names the server and the database, no user information, no options.
    const qsizetype scheme = path.indexOf(QLatin1String("://"));
    if (scheme < 0)
        return path;
    const qsizetype schemeEnd = scheme + 3;
    QString rest = path.mid(schemeEnd);
    // The user information ends at the last '@' before the options (whose values hold '='):
    // a password may hold '?', '/' or '@' itself.
    const qsizetype firstEquals = rest.indexOf(QLatin1Char('='));
    const qsizetype at = rest.lastIndexOf(QLatin1Char('@'), firstEquals < 0 ? -1 : firstEquals);
    if (at >= 0 && (firstEquals < 0 || at < firstEquals))
        rest.remove(0, at + 1);
    const qsizetype query = rest.indexOf(QLatin1Char('?'));
    if (query >= 0)
        rest.truncate(query);
    return path.left(schemeEnd) + rest;
}

std::shared_ptr<Connection> OpenConnection(const QString& path, const QString& userName, const QString& password)
{
    if (IsServerUri(path))
        return PgConnection::Open(path, userName, password);
    // SQLite has no users: the user name and password are not used.
    return SqliteConnection::Open(path);
}

std::unique_ptr<ChangeFeed> ChangeFeed::Create(const QString& path, const QString& userName, const QString& password,
                                               const QString& channel, const QStringList& tables, Callbacks callbacks)
{
    if (IsServerUri(path))
        return std::make_unique<PgChangeFeed>(path, userName, password, channel, tables, std::move(callbacks));
    return std::make_unique<SqliteChangeFeed>(path, std::move(callbacks));
}

}  // namespace BrevView::data
