#include "views/priority/outline_drawing.h"

#include <QPaintEngine>
#include <QPainter>

#include "automation/conversions.h"

namespace BrevView::detail {
namespace {

// A filled rectangle as the system fills one: left and top inside, right and bottom outside.
void Fill(QPainter& p, int x1, int y1, int x2, int y2, const QColor& color)
{
    if (x2 > x1 && y2 > y1)
        p.fillRect(QRect(x1, y1, x2 - x1, y2 - y1), color);
}

// The system's dotted focus rectangle: every other pixel of the outline, inverted.
void FocusRect(QPainter& p, int x1, int y1, int x2, int y2)
{
    if (x2 <= x1 || y2 <= y1)
        return;
    p.save();
    const bool xorable = p.paintEngine() && p.paintEngine()->hasFeature(QPaintEngine::RasterOpModes);
    if (xorable)
        p.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
    const QColor ink = xorable ? QColor(Qt::white) : QColor(Qt::black);
    for (int x = x1; x < x2; x += 2) {
        p.fillRect(QRect(x, y1, 1, 1), ink);
        p.fillRect(QRect(x, y2 - 1, 1, 1), ink);
    }
    for (int y = y1 + 2; y < y2 - 1; y += 2) {
        p.fillRect(QRect(x1, y, 1, 1), ink);
        p.fillRect(QRect(x2 - 1, y, 1, 1), ink);
    }
    p.restore();
}

}  // namespace

void DrawCycleBar(QPainter& p, const ViewDates& dates, const automation::Date& qualified,
                  const automation::Date& closing, int left, int top, int right, int bottom)
{
    const int width = right - left;
    if (width == 0)
        return;
    const qint32 range = automation::ToLong(double(dates.start.DaysTo(dates.end)));
    if (range < 1)
        return;
    const double scale = double(width) / double(range);
    if (scale == 0)
        return;
    const qint32 cycle = automation::ToLong(double(qualified.DaysTo(closing)) * scale);
    const int barTop = top + (bottom - top - 8) / 2;
    const int barBottom = barTop + 8;
    qint32 x = automation::ToLong(double(dates.start.DaysTo(qualified)) * scale + left);
    const struct {
        int percent;
        QColor color;
    } segments[] = {{50, QColor(0, 0, 255)}, {35, QColor(0, 255, 0)}, {15, QColor(255, 0, 0)}};
    for (const auto& s : segments) {
        qint32 a = x;
        qint32 b = automation::ToLong(a + s.percent * double(cycle) / 100.0);
        const bool inside = (b >= left && b <= right) || (a >= left && a <= right) || (a <= left && b >= right);
        if (inside) {
            a = std::max(a, left);
            b = std::min(b, right);
            Fill(p, a, barTop, b, barBottom, s.color);
        }
        x = b;
    }
    // Today is the centre: a cycle that ended before it is drawn on as a dotted outline.
    const int centre = left + width / 2;
    if (x < centre) {
        x = std::max(x, left);
        FocusRect(p, x, barTop, centre, barBottom);
    }
}

void DrawTodayMarker(QPainter& p, const ViewDates& dates, int left, int top, int right, int bottom)
{
    if (!(dates.start <= dates.today && dates.today <= dates.end))
        return;
    const double span = double(dates.start.DaysTo(dates.end));
    if (span <= 0)
        return;
    const qint32 x = automation::ToLong(left + (double(dates.start.DaysTo(dates.today)) / span) * (right - left));
    Fill(p, x, top, x + 1, bottom, QColor(255, 0, 255));
}

}  // namespace BrevView::detail
