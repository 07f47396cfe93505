#pragma once
// What opening a session with a PostgreSQL server takes and what its failure says: libpq's
// keywords for the URI and the account, and the numbered error for a session that did not
// open. Shared by the controls' sessions and the change watcher's.

#include <vector>

#include <QByteArray>
#include <QString>

#include "data/credential_filter.h"

struct pg_conn;

namespace BrevView::data {

// The keywords and values a session is opened with: the URI, the user name and password that
// take the place of the URI's own when given, and defaults (timeouts, keepalives) the URI
// may set otherwise. Holds the password only as long as it lives; it is never written anywhere.
class PgConnectParams {
public:
    PgConnectParams(const QString& uri, const QString& userName, const QString& password);
    PgConnectParams(const PgConnectParams&) = delete;
    PgConnectParams& operator=(const PgConnectParams&) = delete;
    // Null-terminated, for PQconnectdbParams and PQconnectStartParams with expand_dbname 1.
    const char* const* keys() const { return keys_.data(); }
    const char* const* values() const { return values_.data(); }

private:
    QByteArray uri_, user_, password_;
    std::vector<const char*> keys_, values_;
};

// Raises the numbered error for a session that did not open: 3029 authentication refused,
// 3024 no such database, 3033 no permission, 3151 server unreachable or refused (TLS included).
// libpq's reason is told through `filter`: it may echo the URI or name the user.
[[noreturn]] void RaisePgOpenFailure(pg_conn* conn, const CredentialFilter& filter);

}  // namespace BrevView::data
