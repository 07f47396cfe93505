#pragma once
// The display formats a grid column can carry ("$###,##0", "#,##0.00", ...), applied
// as the automation Format function applies them to a number.

#include <QString>

namespace BrevView::grid {

// Formats `text` with `format` when the text is a number; any other text (and an
// empty format) is shown as it is. "$###,##0": 1234.56 -> "$1,235", 0 -> "$0",
// -1234.56 -> "-$1,235". Halves round away from zero, as Format does.
QString FormatCellText(const QString& text, const QString& format);

}  // namespace BrevView::grid
