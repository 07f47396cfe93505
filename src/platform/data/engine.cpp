#include "engine.h"

#include "change_feed.h"
#include "postgresql/pg_change_feed.h"
#include "postgresql/pg_connection.h"
#include "sqlite/sqlite_change_feed.h"
#include "sqlite/sqlite_connection.h"

namespace BrevView::data {

bool IsServerUri(const QString& path)
{
    return path.startsWith(QLatin1String("postgresql://"), Qt::CaseInsensitive) ||
           path.startsWith(QLatin1String("postgres://"), Qt::CaseInsensitive);
}

QString DisplayPath(const QString& path)
{
    if (!IsServerUri(path))
        return path;
    // Only what names the server and the database: no user information, no options (a
    // "password=" may stand among them).
    const qsizetype schemeEnd = path.indexOf(QLatin1String("://")) + 3;
    QString rest = path.mid(schemeEnd);
    const qsizetype query = rest.indexOf(QLatin1Char('?'));
    if (query >= 0)
        rest.truncate(query);
    const qsizetype at = rest.lastIndexOf(QLatin1Char('@'));
    if (at >= 0)
        rest.remove(0, at + 1);
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
