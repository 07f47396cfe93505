#include "common/grid_fill.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "automation/conversions.h"
#include "common/ibo_record.h"
#include "data/recordset.h"
#include "grid/flex_grid.h"

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

void SetTextOfValue(grid::FlexGrid& grid, int row, int col, const automation::Variant& value)
{
    char text[automation::kDoubleTextMax];
    switch (value.type()) {
    case automation::VarType::Double:
        grid.setTextMatrixUtf8(row, col, text, automation::DoubleToChars(value.doubleValue(), text));
        return;
    case automation::VarType::Long: {
        const char* end = std::to_chars(text, text + sizeof text, value.longValue()).ptr;
        grid.setTextMatrixUtf8(row, col, text, int(end - text));
        return;
    }
    default:
        grid.setTextMatrix(row, col, automation::ToText(value));
        return;
    }
}

void SetProductTextFromField(grid::FlexGrid& grid, int row, int col, data::Recordset& rs, int field)
{
    const char* text = nullptr;
    int length = 0;
    if (rs.FieldUtf8(field, &text, &length)) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(text);
        if (std::all_of(bytes, bytes + length, [](unsigned char c) { return c < 0x80; })) {
            // One byte, one character: the display text's rules apply to the bytes as they are.
            const void* tilde = std::memchr(text, '~', size_t(length));
            const int shown =
                tilde ? int(static_cast<const char*>(tilde) - text) : std::min(length, kProductDisplayMax);
            grid.setTextMatrixUtf8(row, col, text, shown);
            return;
        }
    }
    grid.setTextMatrix(row, col, ProductDisplayText(automation::ToText(rs.Field(field))));
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
