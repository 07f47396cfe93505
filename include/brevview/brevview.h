#pragma once
/// \file brevview.h
/// \brief The BrevView controls, PriorityView, ForecastView and FlatView, and the factory
/// that creates them by ProgID: the one header a host includes.

#include <QString>
#include <QWidget>

#include "change_watcher.h"
#include "enums.h"
#include "export.h"
#include "flat_view.h"
#include "forecast_view.h"
#include "host_objects.h"
#include "priority_view.h"
#include "runtime_error.h"
#include <brevview/version.h>

namespace BrevView {

/// Creates "BrevView.PriorityView", "BrevView.ForecastView" or "BrevView.FlatView";
/// run-time error 429 for any other ProgID.
BREVVIEW_EXPORT QWidget* CreateControl(const QString& progId, QWidget* parent = nullptr);

}  // namespace BrevView
