#include "grid/palette_colors.h"

#include <algorithm>
#include <cmath>

#include <QPalette>

namespace BrevView::grid {
namespace {

constexpr double kReadable = 4.5;
// A counterpart aims a little above it: drawn in 8-bit channels, a colour worked out to 4.5
// exactly can read at 4.49.
constexpr double kCounterpartAim = 4.8;
// Below this saturation a colour reads as grey: white, black and the greys have no hue.
constexpr double kNoHue = 0.12;

}  // namespace

double Luminance(const QColor& c)
{
    auto channel = [](double v) { return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
}

double Contrast(const QColor& a, const QColor& b)
{
    const double la = Luminance(a), lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor ReadableOn(const QColor& back, const QColor& preferred)
{
    if (Contrast(preferred, back) >= kReadable)
        return preferred;
    return Contrast(QColor(Qt::black), back) >= Contrast(QColor(Qt::white), back) ? QColor(Qt::black)
                                                                                  : QColor(Qt::white);
}

bool IsDarkPalette(const QPalette& palette)
{
    return Luminance(palette.color(QPalette::Base)) < Luminance(palette.color(QPalette::Text));
}

QColor DarkBackground(const QColor& color, const QColor& base)
{
    const QColor hsl = color.toHsl();
    if (hsl.hslSaturationF() < kNoHue || hsl.hslHueF() < 0)
        return base;
    // The light bands of a white grid (lightness near 1) come out a little lighter than a
    // dark base, so that a band still stands apart from the rows around it.
    const double lightness = std::clamp(0.12 + (1.0 - double(hsl.lightnessF())) * 0.6, 0.12, 0.4);
    const double saturation = std::min(double(hsl.hslSaturationF()), 0.6);
    return QColor::fromHslF(hsl.hslHueF(), float(saturation), float(lightness));
}

QColor DarkText(const QColor& color, const QColor& back)
{
    const QColor hsl = color.toHsl();
    const bool hue = hsl.hslSaturationF() >= kNoHue && hsl.hslHueF() >= 0;
    const float h = hue ? hsl.hslHueF() : 0.0f;
    const float s = hue ? hsl.hslSaturationF() : 0.0f;
    double lightness = std::max(1.0 - double(hsl.lightnessF()), 0.55);
    QColor candidate = QColor::fromHslF(h, s, float(lightness));
    while (Contrast(candidate, back) < kCounterpartAim && lightness < 1.0) {
        lightness = std::min(1.0, lightness + 0.02);
        candidate = QColor::fromHslF(h, s, float(lightness));
    }
    return Contrast(candidate, back) >= kReadable ? candidate : ReadableOn(back, candidate);
}

}  // namespace BrevView::grid
