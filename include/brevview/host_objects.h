#pragma once
// The in-house objects the controls create by ProgID ("BrevData.Database",
// "BrevData.Setting", "BrevConf.Config", "BrevTWrp.Trace"), and how a host puts its
// own in their place. The library's defaults are described in the README.

#include <functional>
#include <memory>

#include <QString>
#include <QtGlobal>

#include "export.h"

namespace BrevView {

class BREVVIEW_EXPORT HostObject {
public:
    virtual ~HostObject();
};

// "BrevTWrp.Trace": every traced procedure reports its entry and exit; every error
// handler hands its error over (HandleError) before raising it again with LastErrorNumber.
class BREVVIEW_EXPORT ITrace : public HostObject {
public:
    virtual qint32 LastErrorNumber() = 0;
    virtual void HandleError(const QString& context) = 0;
    virtual void Reserved() {}  // the interface's third operation; the library never calls it
    virtual void EnterProc(const QString& name) = 0;
    virtual void ExitProc(const QString& name) = 0;
};

// "BrevData.Database": where the database is and who opens it.
class BREVVIEW_EXPORT IDatabaseSettings : public HostObject {
public:
    virtual QString DatabasePath() = 0;
    virtual QString AuxiliaryInfo() = 0;
    virtual QString UserName() = 0;
    virtual QString Password() = 0;
};

// "BrevData.Setting": a per-user key -> text store ("" for a missing key).
class BREVVIEW_EXPORT ISettingStore : public HostObject {
public:
    virtual QString ReadSetting(const QString& key) = 0;
    virtual void WriteSetting(const QString& key, const QString& value) = 0;
};

// "BrevConf.Config": configuration values such as "InstallPath" (with a trailing separator).
class BREVVIEW_EXPORT IConfig : public HostObject {
public:
    virtual QString GetValue(const QString& key) = 0;
};

using HostObjectCreator = std::function<std::shared_ptr<HostObject>()>;

// Replaces the creator of `progId` for the whole process; an empty creator removes it
// (creating it is then run-time error 429).
BREVVIEW_EXPORT void RegisterHostObject(const QString& progId, HostObjectCreator creator);
// Puts the library's default creators back.
BREVVIEW_EXPORT void RestoreDefaultHostObjects();

}  // namespace BrevView
