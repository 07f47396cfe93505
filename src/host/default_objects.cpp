#include "host/default_objects.h"

#include <QDir>
#include <QStandardPaths>

#include "automation/runtime_error.h"
#include "host/app_settings.h"

namespace BrevView::host {
namespace {

const QString kApp = QStringLiteral("Brev");

QString EnvOrSetting(const char* env, const QString& key)
{
    if (qEnvironmentVariableIsSet(env))
        return qEnvironmentVariable(env);
    return settings::GetSetting(kApp, QStringLiteral("Database"), key);
}

}  // namespace

DefaultTrace::DefaultTrace()
{
    const QString path = qEnvironmentVariable("BREV_TRACE");
    if (!path.isEmpty()) {
        file_.setFileName(path);
        // A trace that cannot be opened records nothing rather than stopping the host.
        (void)file_.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text);
    }
}

void DefaultTrace::Write(const QString& line)
{
    if (!file_.isOpen())
        return;
    file_.write(line.toUtf8());
    file_.write("\n");
    file_.flush();
}

qint32 DefaultTrace::LastErrorNumber()
{
    return lastError_;
}

void DefaultTrace::HandleError(const QString&)
{
    const automation::ErrObject& err = automation::Err();
    lastError_ = err.number;
    const QString source = stack_.isEmpty() ? err.source : stack_.takeLast();
    Write(QStringLiteral("ERROR %1 %2: %3").arg(err.number).arg(source, err.description));
}

void DefaultTrace::EnterProc(const QString& name)
{
    stack_.append(name);
    // Procedures are entered once per row in a refresh: no line is made for no file.
    if (file_.isOpen())
        Write(QStringLiteral("ENTER ") + name);
}

void DefaultTrace::ExitProc(const QString& name)
{
    const qsizetype i = stack_.lastIndexOf(name);
    if (i >= 0)
        stack_.remove(i, stack_.size() - i);
    if (file_.isOpen())
        Write(QStringLiteral("EXIT ") + name);
}

QString DefaultDatabaseSettings::DatabasePath()
{
    return EnvOrSetting("BREV_DATABASE", QStringLiteral("DatabasePath"));
}
QString DefaultDatabaseSettings::AuxiliaryInfo()
{
    return settings::GetSetting(kApp, QStringLiteral("Database"), QStringLiteral("AuxiliaryInfo"));
}
QString DefaultDatabaseSettings::UserName()
{
    return EnvOrSetting("BREV_USER", QStringLiteral("UserName"));
}
QString DefaultDatabaseSettings::Password()
{
    return EnvOrSetting("BREV_PASSWORD", QStringLiteral("Password"));
}

QString DefaultSettingStore::ReadSetting(const QString& key)
{
    return settings::GetSetting(kApp, QStringLiteral("Preferences"), key);
}

void DefaultSettingStore::WriteSetting(const QString& key, const QString& value)
{
    settings::SaveSetting(kApp, QStringLiteral("Preferences"), key, value);
}

QString DefaultConfig::GetValue(const QString& key)
{
    if (key.compare(QStringLiteral("InstallPath"), Qt::CaseInsensitive) != 0)
        return QString();
    QString path = qEnvironmentVariable("BREV_INSTALL_PATH");
    if (path.isEmpty()) {
        path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Brev");
        QDir().mkpath(path);
    }
    if (!path.endsWith(QLatin1Char('/')) && !path.endsWith(QDir::separator()))
        path += QLatin1Char('/');
    return path;
}

}  // namespace BrevView::host
