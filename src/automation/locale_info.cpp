#include "automation/locale_info.h"

#include <atomic>
#include <mutex>

#include <QHash>

namespace BrevView::automation {
namespace {

struct LocaleState {
    std::mutex mutex;
    std::optional<QLocale> override;
    ShortDateFormatSource source;
    std::atomic<quint64> generation{1};  // bumped whenever the override changes
};

// The short-date texts already made on this thread, by day, for the locale of one
// generation: a refresh writes the same few hundred days over and over.
struct DateTextCache {
    quint64 generation = 0;
    QLocale locale;
    QHash<qint64, QString> texts;
};

LocaleState& State()
{
    static LocaleState state;
    return state;
}

QString ShortPattern()
{
    return CurrentLocale().dateFormat(QLocale::ShortFormat);
}

}  // namespace

QLocale CurrentLocale()
{
    LocaleState& s = State();
    std::lock_guard lock(s.mutex);
    return s.override ? *s.override : QLocale::system();
}

void SetLocaleOverride(std::optional<QLocale> locale)
{
    LocaleState& s = State();
    std::lock_guard lock(s.mutex);
    s.override = std::move(locale);
    s.generation.fetch_add(1);
}

void SetShortDateFormatSource(ShortDateFormatSource source)
{
    LocaleState& s = State();
    std::lock_guard lock(s.mutex);
    s.source = std::move(source);
}

qint32 ShortDateOrder()
{
    ShortDateFormatSource source;
    {
        LocaleState& s = State();
        std::lock_guard lock(s.mutex);
        source = s.source;
    }
    const std::optional<QString> pattern = source ? source() : std::optional<QString>(ShortPattern());
    if (!pattern)
        return 0;
    // The first of the three fields decides: d..M..y is 1, y..M..d is 2, M..d..y is 0.
    const qsizetype d = pattern->indexOf(QLatin1Char('d'));
    const qsizetype m = pattern->indexOf(QLatin1Char('M'));
    const qsizetype y = pattern->indexOf(QLatin1Char('y'));
    if (d < 0 || m < 0 || y < 0)
        return 0;
    if (y < m && y < d)
        return 2;
    if (d < m)
        return 1;
    return 0;
}

QString FormatShortDate(const QDate& date)
{
    thread_local DateTextCache cache;
    const quint64 generation = State().generation.load();
    if (cache.generation != generation) {
        cache.locale = CurrentLocale();
        cache.texts.clear();
        cache.generation = generation;
    }
    const qint64 day = date.toJulianDay();
    auto it = cache.texts.constFind(day);
    if (it != cache.texts.constEnd())
        return it.value();
    if (cache.texts.size() > 100000)
        cache.texts.clear();
    QString text = cache.locale.toString(date, QLocale::ShortFormat);
    cache.texts.insert(day, text);
    return text;
}

bool ParseShortDate(const QString& text, QDate* out)
{
    const QLocale locale = CurrentLocale();
    const QString pattern = locale.dateFormat(QLocale::ShortFormat);
    QDate d = locale.toDate(text.trimmed(), pattern);
    if (!d.isValid())
        return false;
    const bool shortYear = !pattern.contains(QStringLiteral("yyyy")) && pattern.contains(QStringLiteral("yy"));
    if (shortYear && d.year() >= 1900 && d.year() <= 1999 && d.year() % 100 < 30)
        d = d.addYears(100);
    *out = d;
    return true;
}

}  // namespace BrevView::automation
