#pragma once
// Writing a recordset's text field into a grid cell without a detour through a
// Variant: the converted text is the same as ToText(Field()), Null still raises 94.

namespace BrevView::data {
class Recordset;
}
namespace BrevView::grid {
class FlexGrid;
}

namespace BrevView::detail {

void SetTextFromField(grid::FlexGrid& grid, int row, int col, data::Recordset& rs, int field);

}  // namespace BrevView::detail
