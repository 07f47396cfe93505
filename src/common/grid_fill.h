#pragma once
// Reading a recordset's fields in the views' fill loops without a detour through a
// Variant: the results are those of ToText(Field()) and ToDate(Field()), and a field
// that cannot be converted fails as those do (Null raises 94).

#include "../platform/automation/ole_date.h"

namespace BrevView::data {
class Recordset;
}
namespace BrevView::grid {
class FlexGrid;
}

namespace BrevView::detail {

void SetTextFromField(grid::FlexGrid& grid, int row, int col, data::Recordset& rs, int field);

// ToDate(rs.Field(field)), read straight from a stored canonical date text when it is one.
automation::Date DateOfField(data::Recordset& rs, int field);

}  // namespace BrevView::detail
