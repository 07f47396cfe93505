#pragma once
// The bar that the priority view draws in an IBO's "Sales Cycle" cell: the probe
// (blue), prove (green) and close (red) phases placed on the view's date axis, the
// dotted overdue extension to the centre, and the one-pixel magenta today marker.
// Integer arithmetic as the original placed its pixels, so the same inputs give the
// same pixels.

#include "automation/ole_date.h"
#include "views/priority/sales_cycle.h"

class QPainter;

namespace BrevView::detail {

void DrawCycleBar(QPainter& p, const ViewDates& dates, const automation::Date& qualified,
                  const automation::Date& closing, int left, int top, int right, int bottom);
void DrawTodayMarker(QPainter& p, const ViewDates& dates, int left, int top, int right, int bottom);

}  // namespace BrevView::detail
