#include "grid_fill.h"

#include "../platform/automation/conversions.h"
#include "../platform/data/recordset.h"
#include "../platform/grid/flex_grid.h"

namespace BrevView::detail {

void SetTextFromField(grid::FlexGrid& grid, int row, int col, data::Recordset& rs, int field)
{
    const char* text = nullptr;
    int length = 0;
    if (rs.FieldUtf8(field, &text, &length))
        grid.setTextMatrixUtf8(row, col, text, length);
    else
        grid.setTextMatrix(row, col, automation::ToText(rs.Field(field)));
}

automation::Date DateOfField(data::Recordset& rs, int field)
{
    const char* text = nullptr;
    int length = 0;
    automation::Date d;
    if (rs.FieldUtf8(field, &text, &length) && automation::Date::FromCanonicalUtf8(text, length, &d))
        return d;
    return automation::ToDate(rs.Field(field));
}

}  // namespace BrevView::detail
