#include "data/engines/postgresql/pg_connect_params.h"

#include <libpq-fe.h>

#include "automation/runtime_error.h"

namespace BrevView::data {
namespace {

using automation::Raise;

const QString kSource = QStringLiteral("BrevView.Data");

}  // namespace

PgConnectParams::PgConnectParams(const QString& uri, const QString& userName, const QString& password)
    : uri_(uri.toUtf8()),
      user_(userName.toUtf8()),
      password_(password.toUtf8())
{
    // Keywords before "dbname" are defaults that the URI may set otherwise; those after it
    // take the URI's place. Keepalives and a bound on unacknowledged data: a network that goes
    // away without a word closes the session within about a minute instead of never.
    keys_ = {"connect_timeout",     "application_name", "keepalives",      "keepalives_idle",
             "keepalives_interval", "keepalives_count", "tcp_user_timeout"};
    values_ = {"10", "BrevView", "1", "30", "10", "3", "60000"};
    keys_.insert(keys_.end(), {"dbname", "client_encoding"});
    values_.insert(values_.end(), {uri_.constData(), "UTF8"});
    if (!user_.isEmpty()) {
        keys_.push_back("user");
        values_.push_back(user_.constData());
    }
    if (!password_.isEmpty()) {
        keys_.push_back("password");
        values_.push_back(password_.constData());
    }
    keys_.push_back(nullptr);
    values_.push_back(nullptr);
}

void RaisePgOpenFailure(pg_conn* conn, const CredentialFilter& filter)
{
    // A failed session has no SQLSTATE: libpq's message tells what refused it.
    const QString why = QString::fromUtf8(PQerrorMessage(conn)).trimmed();
    const QString what = QStringLiteral("Connecting to %1 failed: %2").arg(filter.Display(), filter.Clean(why));
    if (why.contains(QLatin1String("authentication failed")) || why.contains(QLatin1String("no password supplied")) ||
        why.contains(QLatin1String("password")) ||
        (why.contains(QLatin1String("role \"")) && why.contains(QLatin1String("does not exist"))))
        Raise(automation::ErrBadAccount, kSource, QStringLiteral("Not a valid account name or password. ") + what);
    if (why.contains(QLatin1String("database \"")) && why.contains(QLatin1String("does not exist")))
        Raise(automation::ErrFileNotFoundDb, kSource, QStringLiteral("Could not find the database. ") + what);
    if (why.contains(QLatin1String("permission denied")))
        Raise(automation::ErrNoPermission, kSource,
              QStringLiteral("You do not have the necessary permissions. ") + what);
    Raise(automation::ErrConnectionFailed, kSource, QStringLiteral("ODBC--connection failed. ") + what);
}

}  // namespace BrevView::data
