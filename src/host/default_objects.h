#pragma once
// The in-house automation objects that ship with the library, used when the host
// registers none of its own.

#include <QFile>
#include <QStringList>

#include "host/automation_object.h"

namespace BrevView::host {

// Appends one UTF-8 line per call to the file named by $BREV_TRACE ("ENTER <name>",
// "EXIT <name>", "ERROR <number> <source>: <description>"), flushed at once;
// records nothing when the variable is unset. The source of an error is the
// procedure that handles it.
class DefaultTrace : public ITrace {
public:
    DefaultTrace();
    qint32 LastErrorNumber() override;
    void HandleError(const QString& context) override;
    void EnterProc(const QString& name) override;
    void ExitProc(const QString& name) override;

private:
    void Write(const QString& line);
    QFile file_;
    QStringList stack_;
    qint32 lastError_ = 0;
};

// Values from $BREV_DATABASE, $BREV_USER and $BREV_PASSWORD when set, else from the
// per-user settings (application "Brev", section "Database", keys "DatabasePath",
// "AuxiliaryInfo", "UserName", "Password").
class DefaultDatabaseSettings : public IDatabaseSettings {
public:
    QString DatabasePath() override;
    QString AuxiliaryInfo() override;
    QString UserName() override;
    QString Password() override;
};

// Per-user key -> text store: application "Brev", section "Preferences".
class DefaultSettingStore : public ISettingStore {
public:
    QString ReadSetting(const QString& key) override;
    void WriteSetting(const QString& key, const QString& value) override;
};

// "InstallPath": $BREV_INSTALL_PATH, else the user's application data folder for
// Brev; always with a trailing separator.
class DefaultConfig : public IConfig {
public:
    QString GetValue(const QString& key) override;
};

}  // namespace BrevView::host
