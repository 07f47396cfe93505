#include "host/app_settings.h"

#include <QDir>
#include <QSettings>

#include "automation/runtime_error.h"

namespace BrevView::settings {
namespace {

QString ConfigRoot()
{
    // Read the environment on every call, so that a test can point it elsewhere.
    const QByteArray xdg = qgetenv("XDG_CONFIG_HOME");
    if (!xdg.isEmpty())
        return QString::fromLocal8Bit(xdg);
    return QDir::homePath() + QStringLiteral("/.config");
}

}  // namespace

QString SettingsFilePath(const QString& application)
{
    return ConfigRoot() + QLatin1Char('/') + application + QStringLiteral("/settings.ini");
}

QString GetSetting(const QString& application, const QString& section, const QString& key, const QString& defaultValue)
{
    QSettings s(SettingsFilePath(application), QSettings::IniFormat);
    s.beginGroup(section);
    const QVariant v = s.value(key);
    if (!v.isValid())
        return defaultValue;
    return v.toString();
}

void SaveSetting(const QString& application, const QString& section, const QString& key, const QString& value)
{
    QSettings s(SettingsFilePath(application), QSettings::IniFormat);
    s.beginGroup(section);
    s.setValue(key, value);
    s.endGroup();
    s.sync();
    if (s.status() != QSettings::NoError)
        automation::Raise(
            automation::ErrPathFileAccess, QStringLiteral("BrevView.Settings"),
            QStringLiteral("Could not write the setting \"%1\" to %2").arg(key, SettingsFilePath(application)));
}

}  // namespace BrevView::settings
