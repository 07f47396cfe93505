#include "views/priority/sales_cycle.h"

#include "automation/conversions.h"
#include "automation/locale_info.h"
#include "automation/runtime_error.h"

namespace BrevView::detail {

ViewDates ComputeViewDates(const automation::Date& today, qint32 rangeValue, qint32 rangeUnits)
{
    double perUnit = 31;
    switch (rangeUnits) {
    case 0:
        perUnit = 1;
        break;
    case 1:
        perUnit = 7;
        break;
    case 2:
        perUnit = 31;
        break;
    case 3:
        perUnit = 365;
        break;
    default:
        break;
    }
    double half = double(rangeValue) * perUnit / 2.0;
    if (half < 1)
        half = 1;
    const qint64 days = qint64(automation::RoundHalfEven(half));
    return {today.AddDays(-days), today, today.AddDays(days)};
}

QString SalesCycleHeaderText(const ViewDates& dates, qint32 order)
{
    const QLocale locale = automation::CurrentLocale();
    // The locale's date separator: the first character of its short pattern that is no field letter.
    QString separator = QStringLiteral("/");
    for (const QChar c : locale.dateFormat(QLocale::ShortFormat)) {
        if (!c.isLetter()) {
            separator = c;
            break;
        }
    }
    auto text = [&](const automation::Date& d) {
        const QDate day = d.ToQDate();
        const QString dd = QStringLiteral("%1").arg(day.day(), 2, 10, QLatin1Char('0'));
        const QString mmm = locale.toString(day, QStringLiteral("MMM"));
        const QString yy = QStringLiteral("%1").arg(day.year() % 100, 2, 10, QLatin1Char('0'));
        // A month abbreviation that already ends in the separator ("Okt." in German) is not
        // followed by it a second time: "07.Okt.26", not "07.Okt..26".
        const QString afterMonth = mmm.endsWith(separator) ? QString() : separator;
        switch (order) {
        case 1:
            return dd + separator + mmm + afterMonth + yy;
        case 2:
            return yy + separator + mmm + afterMonth + dd;
        default:
            return mmm + afterMonth + dd + separator + yy;
        }
    };
    return QStringLiteral("Sales Cycle") + QChar(13) + text(dates.start) + QStringLiteral(" - ") + text(dates.end);
}

QString SalesCycleTooltip(const automation::Date& start, const automation::Date& end, const automation::Date& today)
{
    const qint64 total = start.DaysTo(end);
    const qint64 elapsed = start.DaysTo(today);
    QString phase;
    double p = 0;
    if (elapsed < 0) {
        phase = QStringLiteral("probe");
        p = 0;
    } else if (total != 0 && elapsed < total) {
        const double f = double(elapsed) / double(total);
        if (f < 0.5) {
            phase = QStringLiteral("probe");
            p = double(elapsed) / (double(total) * 0.5);
        } else if (f < 0.85) {
            phase = QStringLiteral("prove");
            p = (double(elapsed) - double(total) * 0.5) / (double(total) * 0.35);
        } else {
            phase = QStringLiteral("close");
            p = (double(elapsed) - double(total) * 0.5 - double(total) * 0.35) / (double(total) * 0.15);
        }
    } else {
        phase = QStringLiteral("close");
        p = 1;
    }
    if (end.DaysTo(today) > 0)
        return QString::number(end.DaysTo(today)) + QStringLiteral(" day(s) overdue.");
    QString text = QStringLiteral("You are ^1% through the ^2 phase.");
    text.replace(QStringLiteral("^2"), phase);
    text.replace(QStringLiteral("^1"), QString::number(automation::ToLong(p * 100)));
    return text;
}

QString WeeksToCloseText(const automation::Date& closing, const automation::Date& today)
{
    const qint32 days = qint32(today.DaysTo(closing));
    qint32 weeks = automation::ToLong(double(days) / 7.0);
    const float fraction = float(days) / 7.0f - float(weeks);
    if (days >= 0 && days <= 3)
        return QStringLiteral("!");
    if (fraction >= 0.5f)
        weeks += 1;
    return QString::number(weeks);
}

automation::Currency AddOutlineTotal(automation::Currency total, double value)
{
    if (total.IsNegative())
        return automation::Currency::FromTicks(-automation::Currency::kScale);
    try {
        return total + automation::Currency::FromDouble(value);
    } catch (const RuntimeError&) {
        return automation::Currency::FromTicks(-automation::Currency::kScale);
    }
}

}  // namespace BrevView::detail
