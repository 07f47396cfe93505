#pragma once
// The user's regional settings as the views need them: the order of day, month and
// year in a short date, and short-date text in both directions.

#include <functional>
#include <optional>

#include <QDate>
#include <QLocale>
#include <QString>

namespace BrevView::automation {

// The locale the library reads: the system locale, or the one a test or host pinned.
QLocale CurrentLocale();
void SetLocaleOverride(std::optional<QLocale> locale);

// Where the short-date pattern comes from. The default reads CurrentLocale(); a
// source that returns nothing stands for a failing look-up.
using ShortDateFormatSource = std::function<std::optional<QString>()>;
void SetShortDateFormatSource(ShortDateFormatSource source);  // empty function: default

// 0 month-day-year, 1 day-month-year, 2 year-month-day; 0 when it cannot be told.
qint32 ShortDateOrder();

// The locale's short date text of a day.
QString FormatShortDate(const QDate& date);
// Reads a short date text back. Two-digit years are windowed: 00-29 are 20xx and
// 30-99 are 19xx, so a date written with a short year reads back the same.
bool ParseShortDate(const QString& text, QDate* out);

}  // namespace BrevView::automation
