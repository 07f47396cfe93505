#include "data/credential_filter.h"

#include <algorithm>

#include <QRegularExpression>
#include <QUrl>

#include "data/engine.h"

namespace BrevView::data {

CredentialFilter::CredentialFilter(const QString& path, const QString& userName, const QString& password) : path_(path)
{
    Add(users_, userName);
    Add(passwords_, password);
    const qsizetype scheme = path.indexOf(QLatin1String("://"));
    if (scheme >= 0) {
        // Any text before an '@' may be user information: a password may hold '@', '/', '?'
        // or '%' unescaped, and then no parser agrees on where it ends.
        const QString rest = path.mid(scheme + 3);
        for (qsizetype at = rest.indexOf(QLatin1Char('@')); at >= 0; at = rest.indexOf(QLatin1Char('@'), at + 1)) {
            const QString info = rest.left(at);
            const qsizetype colon = info.indexOf(QLatin1Char(':'));
            if (colon >= 0) {
                Add(passwords_, info);
                const QString password = info.mid(colon + 1);
                Add(passwords_, password);
                // libpq may take part of it for a host or a port, and echo that part alone.
                static const QRegularExpression separators(QStringLiteral("[@:/?]"));
                for (const QString& piece : password.split(separators, Qt::SkipEmptyParts)) {
                    if (piece.size() >= 3)
                        Add(passwords_, piece);
                }
            }
            Add(users_, colon >= 0 ? info.left(colon) : info);
        }
        static const QRegularExpression password(QStringLiteral("[?&]password=([^&]*)"),
                                                 QRegularExpression::CaseInsensitiveOption);
        for (auto it = password.globalMatch(rest); it.hasNext();)
            Add(passwords_, it.next().captured(1));
        static const QRegularExpression user(QStringLiteral("[?&]user=([^&]*)"),
                                             QRegularExpression::CaseInsensitiveOption);
        for (auto it = user.globalMatch(rest); it.hasNext();)
            Add(users_, it.next().captured(1));
    }
    const auto longestFirst = [](const QString& a, const QString& b) { return a.size() > b.size(); };
    std::sort(passwords_.begin(), passwords_.end(), longestFirst);
    std::sort(users_.begin(), users_.end(), longestFirst);
    // Whatever the display keeps of a URI too odd to take apart, no password stays in it.
    display_ = DisplayPath(path);
    for (const QString& secret : std::as_const(passwords_))
        display_.replace(secret, QStringLiteral("***"));
}

void CredentialFilter::Add(QStringList& list, const QString& secret)
{
    // A single character is no secret to hide (and hiding it would spoil every message).
    if (secret.size() < 2)
        return;
    if (!list.contains(secret))
        list.append(secret);
    const QString decoded = QUrl::fromPercentEncoding(secret.toUtf8());
    if (decoded.size() >= 2 && !list.contains(decoded))
        list.append(decoded);
}

QString CredentialFilter::Clean(const QString& text) const
{
    QString out = text;
    if (!path_.isEmpty() && path_ != display_)
        out.replace(path_, display_);
    // "password authentication failed for user "bob"", "role "bob" does not exist".
    static const QRegularExpression named(QStringLiteral("\\b(user|role) \"[^\"]*\""));
    out.replace(named, QStringLiteral("the \\1"));
    for (const QString& secret : passwords_)
        out.replace(secret, QStringLiteral("***"));
    // What the display shows (a database that a user name happens to match) may stay.
    for (const QString& secret : users_) {
        if (!display_.contains(secret))
            out.replace(secret, QStringLiteral("***"));
    }
    return out;
}

}  // namespace BrevView::data
