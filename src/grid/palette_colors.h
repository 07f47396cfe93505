#pragma once
// The colours a view fixes (node bands, amounts in green, "High" in blue) were chosen for a
// white grid. Under a dark palette each is drawn as its dark counterpart: the same hue, a
// background made dark, a text made light enough to read at 4.5:1 on what it is drawn on.
// Under a light palette they are drawn as they are. The values the views set and read back
// never change; only how they are drawn does.

#include <QColor>

class QPalette;

namespace BrevView::grid {

// Relative luminance and contrast ratio as WCAG defines them.
double Luminance(const QColor& c);
double Contrast(const QColor& a, const QColor& b);
// `preferred` when it reads well on `back` (4.5:1), else black or white, whichever reads better.
QColor ReadableOn(const QColor& back, const QColor& preferred);

// Whether `palette` draws light text on a dark base.
bool IsDarkPalette(const QPalette& palette);
// A background colour's counterpart under a dark palette whose base is `base`: a colour
// without hue becomes the base itself, any other keeps its hue and gets darker the lighter
// it was.
QColor DarkBackground(const QColor& color, const QColor& base);
// A text colour's counterpart drawn on `back`: its hue kept, its lightness turned round and
// raised until it reads at 4.5:1 on `back`.
QColor DarkText(const QColor& color, const QColor& back);

}  // namespace BrevView::grid
