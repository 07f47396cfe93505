#pragma once
// The in-house automation objects that the controls create by ProgID: their
// interfaces, as the controls call them.

#include <QString>
#include <QtGlobal>

namespace BrevView::host {

class AutomationObject {
public:
    virtual ~AutomationObject() = default;
};

// "BrevTWrp.Trace": every traced procedure reports its entry and exit here, and
// every error handler hands its error over before raising it again.
class ITrace : public AutomationObject {
public:
    virtual qint32 LastErrorNumber() = 0;
    virtual void HandleError(const QString& context) = 0;
    virtual void Reserved() {}  // the interface's third operation; the library never calls it
    virtual void EnterProc(const QString& name) = 0;
    virtual void ExitProc(const QString& name) = 0;
};

// "BrevData.Database": where the database is and who opens it.
class IDatabaseSettings : public AutomationObject {
public:
    virtual QString DatabasePath() = 0;
    virtual QString AuxiliaryInfo() = 0;
    virtual QString UserName() = 0;
    virtual QString Password() = 0;
};

// "BrevData.Setting": a per-user key -> text store ("" for a missing key).
class ISettingStore : public AutomationObject {
public:
    virtual QString ReadSetting(const QString& key) = 0;
    virtual void WriteSetting(const QString& key, const QString& value) = 0;
};

// "BrevConf.Config": product configuration values such as "InstallPath".
class IConfig : public AutomationObject {
public:
    virtual QString GetValue(const QString& key) = 0;
};

inline constexpr const char* kProgIdTrace = "BrevTWrp.Trace";
inline constexpr const char* kProgIdDatabase = "BrevData.Database";
inline constexpr const char* kProgIdSetting = "BrevData.Setting";
inline constexpr const char* kProgIdConfig = "BrevConf.Config";

}  // namespace BrevView::host
