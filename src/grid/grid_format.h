#pragma once
// The display formats a grid column can carry ("$###,##0", "#,##0.00", ...), applied
// as the automation Format function applies them to a number.

#include <QString>

class QFontMetrics;

namespace BrevView::grid {

// Formats `text` with `format` when the text is a number; any other text (and an
// empty format) is shown as it is. "$###,##0": 1234.56 -> "$1,235", 0 -> "$0",
// -1234.56 -> "-$1,235". Halves round away from zero, as Format does.
QString FormatCellText(const QString& text, const QString& format);

// The shown form of a text that must fit `room` pixels: as it is when it fits; a number or
// an amount as "###" (its leading digits and sign carry the meaning, so it is never cut);
// any other text with its end replaced by "…".
QString FitCellText(const QString& text, const QFontMetrics& metrics, int room, bool number);

}  // namespace BrevView::grid
