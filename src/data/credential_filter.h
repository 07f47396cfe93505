#pragma once
// Keeps credentials out of what the data layer says: an engine's message may echo the
// connection URI, or name the user, and every such text passes through here before it
// reaches an error's description (and so a trace, a log or a host's signal).

#include <QString>
#include <QStringList>

namespace BrevView::data {

class CredentialFilter {
public:
    CredentialFilter() = default;
    // The secrets are the user information of `path` (and of any "user=" or "password="
    // among its options), `userName` and `password`, as written and as their percent escapes
    // decode. They are kept in memory only, as long as the filter lives.
    CredentialFilter(const QString& path, const QString& userName, const QString& password);

    // `text` with `path` shown as DisplayPath shows it, every secret replaced by "***", and
    // the user or role an engine's message names in quotes left out.
    QString Clean(const QString& text) const;
    // The path as messages show it: DisplayPath's, with no password left in it.
    const QString& Display() const { return display_; }

private:
    static void Add(QStringList& list, const QString& secret);

    QString path_;
    QString display_;
    QStringList passwords_;  // hidden everywhere, the longest first
    QStringList users_;      // hidden where the display does not show the same text
};

}  // namespace BrevView::data
