#pragma once
// The enumerations of the BrevView controls, with their exact member names and
// values, registered with the meta-object system.

#include <QObject>

#include "export.h"

namespace BrevView {
Q_NAMESPACE_EXPORT(BREVVIEW_EXPORT)

enum SalesCycleUnitsEnum : qint32 {
    eSalesCycleUnitDays = 0,
    eSalesCycleUnitWeeks = 1,
    eSalesCycleUnitMonths = 2,
    eSalesCycleUnitYears = 3,
};
Q_ENUM_NS(SalesCycleUnitsEnum)

enum ForecastModeEnum : qint32 {
    eUnweightedForecast = 0,
    eWeightedForecast = 1,
};
Q_ENUM_NS(ForecastModeEnum)

enum FlatViewSourceEnum : qint32 {
    eViewMainTable = 0,
    eViewArchiveTable = 1,
};
Q_ENUM_NS(FlatViewSourceEnum)

// A set of statuses: OR the flags of the statuses to show; eFilterShowNone is the empty set.
enum FlatViewFilterEnum : qint32 {
    eFilterShowNone = 0,
    eFilterShowOpen = 1,
    eFilterShowWon = 2,
    eFilterShowLost = 4,
    eFilterShowCancelled = 8,
};
Q_FLAG_NS(FlatViewFilterEnum)

}  // namespace BrevView
