#pragma once
/// \file host_objects.h
/// \brief The in-house objects the controls create by ProgID ("BrevData.Database",
/// "BrevData.Setting", "BrevConf.Config", "BrevTWrp.Trace"), and how a host puts its own in
/// their place. The library's defaults are described in the README.

#include <functional>
#include <memory>

#include <QString>
#include <QtGlobal>

#include "export.h"

namespace BrevView {

/// The base of every in-house object.
class BREVVIEW_EXPORT HostObject {
public:
    virtual ~HostObject();
};

/// \brief "BrevTWrp.Trace": every traced procedure reports its entry and exit; every error
/// handler hands its error over (HandleError) before raising it again with LastErrorNumber.
class BREVVIEW_EXPORT ITrace : public HostObject {
public:
    /// The number of the error being handled; the error is raised again with it.
    virtual qint32 LastErrorNumber() = 0;
    /// Called first by every error handler, with "".
    virtual void HandleError(const QString& context) = 0;
    /// The interface's third operation; the library never calls it.
    virtual void Reserved() {}
    /// A traced procedure named `name` starts.
    virtual void EnterProc(const QString& name) = 0;
    /// A traced procedure named `name` ends on its normal path.
    virtual void ExitProc(const QString& name) = 0;
};

/// \brief "BrevData.Database": where the database is and who opens it.
class BREVVIEW_EXPORT IDatabaseSettings : public HostObject {
public:
    /// The database file.
    virtual QString DatabasePath() = 0;
    /// Read and not used.
    virtual QString AuxiliaryInfo() = 0;
    /// The user name handed to the database engine.
    virtual QString UserName() = 0;
    /// The password handed to the database engine; never written anywhere by the library.
    virtual QString Password() = 0;
};

/// \brief "BrevData.Setting": a per-user key -> text store ("" for a missing key).
class BREVVIEW_EXPORT ISettingStore : public HostObject {
public:
    /// The text stored under `key`, or "".
    virtual QString ReadSetting(const QString& key) = 0;
    /// Stores `value` under `key`.
    virtual void WriteSetting(const QString& key, const QString& value) = 0;
};

/// \brief "BrevConf.Config": configuration values such as "InstallPath" (with a trailing separator).
class BREVVIEW_EXPORT IConfig : public HostObject {
public:
    /// The value of `key`.
    virtual QString GetValue(const QString& key) = 0;
};

/// Makes an in-house object.
using HostObjectCreator = std::function<std::shared_ptr<HostObject>()>;

/// Replaces the creator of `progId` for the whole process; an empty creator removes it
/// (creating it is then run-time error 429).
BREVVIEW_EXPORT void RegisterHostObject(const QString& progId, HostObjectCreator creator);
/// Puts the library's default creators back.
BREVVIEW_EXPORT void RestoreDefaultHostObjects();

}  // namespace BrevView
