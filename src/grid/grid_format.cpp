#include "grid/grid_format.h"

#include <algorithm>
#include <cmath>

#include <QFontMetrics>

#include "automation/conversions.h"

namespace BrevView::grid {

QString FitCellText(const QString& text, const QFontMetrics& metrics, int room, bool number)
{
    if (metrics.horizontalAdvance(text) <= room)
        return text;
    if (number) {
        const int hashes = std::max(1, room / std::max(1, metrics.horizontalAdvance(QLatin1Char('#'))));
        return QString(hashes, QLatin1Char('#'));
    }
    return metrics.elidedText(text, Qt::ElideRight, std::max(0, room));
}

QString FormatCellText(const QString& text, const QString& format)
{
    if (format.isEmpty())
        return text;
    double value = 0;
    try {
        if (!automation::ParseNumber(text, &value))
            return text;
    } catch (...) {
        return text;
    }
    // The number part of the pattern: the run of '#', '0', ',' and '.' characters.
    qsizetype first = -1, last = -1;
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QChar c = format[i];
        if (c == QLatin1Char('#') || c == QLatin1Char('0') || c == QLatin1Char(',') || c == QLatin1Char('.')) {
            if (first < 0)
                first = i;
            last = i;
        } else if (first >= 0) {
            break;
        }
    }
    if (first < 0)
        return format;
    const QString prefix = format.left(first);
    const QString suffix = format.mid(last + 1);
    const QString number = format.mid(first, last - first + 1);
    const qsizetype point = number.indexOf(QLatin1Char('.'));
    const QString intPart = point < 0 ? number : number.left(point);
    const QString fracPart = point < 0 ? QString() : number.mid(point + 1);
    const bool grouping = intPart.contains(QLatin1Char(','));
    const int minInt = int(intPart.count(QLatin1Char('0')));
    const int maxFrac = int(fracPart.count(QLatin1Char('0')) + fracPart.count(QLatin1Char('#')));
    const int minFrac = int(fracPart.count(QLatin1Char('0')));

    const bool negative = value < 0;
    const double scale = std::pow(10.0, maxFrac);
    // Away from zero at the last shown digit.
    const double rounded = std::round(std::fabs(value) * scale) / scale;
    QString digits = QString::number(rounded, 'f', maxFrac);
    QString whole = digits;
    QString frac;
    if (maxFrac > 0) {
        const qsizetype dot = digits.indexOf(QLatin1Char('.'));
        whole = digits.left(dot);
        frac = digits.mid(dot + 1);
        while (frac.size() > minFrac && frac.endsWith(QLatin1Char('0')))
            frac.chop(1);
    }
    if (whole == QLatin1String("0") && minInt == 0)
        whole.clear();
    while (whole.size() < minInt)
        whole.prepend(QLatin1Char('0'));
    if (grouping) {
        for (qsizetype i = whole.size() - 3; i > 0; i -= 3)
            whole.insert(i, QLatin1Char(','));
    }
    QString out = whole;
    if (!frac.isEmpty())
        out += QLatin1Char('.') + frac;
    const bool isZero = rounded == 0;
    return (negative && !isZero ? QStringLiteral("-") : QString()) + prefix + out + suffix;
}

}  // namespace BrevView::grid
