#pragma once
// Reading a recordset's fields in the views' fill loops without a detour through a
// Variant: the results are those of ToText(Field()) and ToDate(Field()), and a field
// that cannot be converted fails as those do (Null raises 94).

#include "automation/ole_date.h"
#include "automation/variant.h"

#include <cstring>

namespace BrevView::data {
class Recordset;
}
namespace BrevView::grid {
class FlexGrid;
}

namespace BrevView::detail {

void SetTextFromField(grid::FlexGrid& grid, int row, int col, data::Recordset& rs, int field);

// The cell's text is ToText(value); a number's is written without making a QString.
void SetTextOfValue(grid::FlexGrid& grid, int row, int col, const automation::Variant& value);

// The cell's text is ProductDisplayText(ToText(rs.Field(field))), cut from the stored text
// itself when that is ASCII.
void SetProductTextFromField(grid::FlexGrid& grid, int row, int col, data::Recordset& rs, int field);

// ToDate(rs.Field(field)), read straight from a stored canonical date text when it is one.
automation::Date DateOfField(data::Recordset& rs, int field);

// The lists come in the order of their closing dates, so runs of rows hold one stored date
// text: what a fill loop made of the last text it read serves the next row when that row's
// text is the same, byte for byte.
class RepeatedText {
public:
    // True when `text` is the text passed last time; otherwise it is remembered for the next
    // row. A null `text` (a field that holds no text) matches nothing, nor does the next one.
    bool Repeats(const char* text, int length)
    {
        if (text && length == length_ && std::memcmp(text, bytes_, size_t(length)) == 0)
            return true;
        length_ = -1;
        if (text && length >= 0 && length <= kLongest) {
            std::memcpy(bytes_, text, size_t(length));
            length_ = length;
        }
        return false;
    }

private:
    static constexpr int kLongest = 32;  // a stored date with its time is 19 bytes
    char bytes_[kLongest] = {};
    int length_ = -1;
};

}  // namespace BrevView::detail
