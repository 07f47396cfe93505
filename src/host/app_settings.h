#pragma once
// The per-user settings stores: application / section / key -> text with a default
// on read, kept in an INI file per application under the user's configuration folder
// ($XDG_CONFIG_HOME, else ~/.config): <config>/<application>/settings.ini.

#include <QString>

namespace BrevView::settings {

QString GetSetting(const QString& application, const QString& section, const QString& key,
                   const QString& defaultValue = QString());
void SaveSetting(const QString& application, const QString& section, const QString& key, const QString& value);

// The file that holds `application`'s settings (it need not exist yet).
QString SettingsFilePath(const QString& application);

}  // namespace BrevView::settings
