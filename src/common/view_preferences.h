#pragma once
// View preferences: the library's default preference strings, and the per-user
// preference strings read and written through a new "BrevData.Setting" object each time.

#include <QString>
#include <QStringList>
#include <vector>

namespace BrevView::detail {

// The library's string table: entries 101 to 104 (the default preference strings).
// Error 326 ("Resource not found") for any other id.
QString LoadResString(int id);

// Creates the settings object, reads `key` ("" when it has no value) and releases it.
QString GetViewPreference(const QString& key);
// Creates the settings object, writes `value` under `key` and releases it.
void SaveViewPreference(const QString& key, const QString& value);

// Joins preference fields with ";"; a result over 255 characters is refused with the
// trace's last error number and "View preference info string is too long (max is 255 chars)."
QString JoinPreferenceFields(const QStringList& fields, const QString& source);

}  // namespace BrevView::detail
