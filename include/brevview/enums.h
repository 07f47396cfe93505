#pragma once
/// \file enums.h
/// \brief The enumerations of the BrevView controls, with their exact member names and
/// values, registered with the meta-object system.

#include <QObject>

#include "export.h"

/// The BrevView controls, their enumerations, errors and in-house objects.
namespace BrevView {
Q_NAMESPACE_EXPORT(BREVVIEW_EXPORT)

/// The unit of PriorityView::SalesCycleRangeUnits.
enum SalesCycleUnitsEnum : qint32 {
    eSalesCycleUnitDays = 0,    ///< days
    eSalesCycleUnitWeeks = 1,   ///< weeks
    eSalesCycleUnitMonths = 2,  ///< months
    eSalesCycleUnitYears = 3,   ///< years
};
Q_ENUM_NS(SalesCycleUnitsEnum)

/// What ForecastView::ForecastMode totals.
enum ForecastModeEnum : qint32 {
    eUnweightedForecast = 0,  ///< the IBOs' values as they are
    eWeightedForecast = 1,    ///< the values weighted by each IBO's probability
};
Q_ENUM_NS(ForecastModeEnum)

/// The table FlatView::ViewSource shows.
enum FlatViewSourceEnum : qint32 {
    eViewMainTable = 0,     ///< the live IBOs (IboMain)
    eViewArchiveTable = 1,  ///< the archived IBOs (IboArchive)
};
Q_ENUM_NS(FlatViewSourceEnum)

/// A set of statuses for FlatView::Filter: OR the flags of the statuses to show;
/// eFilterShowNone is the empty set.
enum FlatViewFilterEnum : qint32 {
    eFilterShowNone = 0,       ///< no IBO
    eFilterShowOpen = 1,       ///< open IBOs
    eFilterShowWon = 2,        ///< won IBOs
    eFilterShowLost = 4,       ///< lost IBOs
    eFilterShowCancelled = 8,  ///< cancelled IBOs
};
Q_FLAG_NS(FlatViewFilterEnum)

}  // namespace BrevView
