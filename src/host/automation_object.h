#pragma once
// The in-house automation objects that the controls create by ProgID: their
// interfaces, as the controls call them.

#include <QString>
#include <QtGlobal>

#include <brevview/host_objects.h>

namespace BrevView::host {

// The interfaces are public: a host implements them to put its own objects in place.
using AutomationObject = ::BrevView::HostObject;
using ITrace = ::BrevView::ITrace;
using IDatabaseSettings = ::BrevView::IDatabaseSettings;
using ISettingStore = ::BrevView::ISettingStore;
using IConfig = ::BrevView::IConfig;

inline constexpr const char* kProgIdTrace = "BrevTWrp.Trace";
inline constexpr const char* kProgIdDatabase = "BrevData.Database";
inline constexpr const char* kProgIdSetting = "BrevData.Setting";
inline constexpr const char* kProgIdConfig = "BrevConf.Config";

}  // namespace BrevView::host
