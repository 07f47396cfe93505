#pragma once
// What a busy salesperson's host does for the reliability tools: refreshes the three views
// one after the other, over and over, for a bounded time, and counts the errors by number
// and how long each refresh took. The lock error 3260 is the documented answer to a colleague
// holding the rows; any other error is printed and counted.
//
// A reader process reports on its standard output in lines the tools read back:
//   reader: rounds R, locked L, other O
//   reader times: <one refresh's milliseconds, to a tenth> ...
//   reader errors: <number>=<count> ...

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <brevview/brevview.h>

namespace BrevView::reliability {

struct RefreshCounts {
    int rounds = 0;
    int locked = 0;
    int other = 0;
    std::vector<double> ms;     // each refresh, failed ones too
    std::map<int, int> errors;  // by number
};

inline RefreshCounts RefreshForSeconds(FlatView& flat, PriorityView& priority, ForecastView& forecast, int seconds)
{
    RefreshCounts counts;
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < seconds * 1000) {
        for (QWidget* view :
             {static_cast<QWidget*>(&flat), static_cast<QWidget*>(&priority), static_cast<QWidget*>(&forecast)}) {
            QElapsedTimer one;
            one.start();
            try {
                QMetaObject::invokeMethod(view, "Refresh");
            } catch (const RuntimeError& e) {
                ++counts.errors[e.number()];
                if (e.number() == 3260) {
                    ++counts.locked;
                } else {
                    ++counts.other;
                    std::printf("unexpected error %d: %s\n", e.number(), qPrintable(e.description()));
                }
            }
            counts.ms.push_back(double(one.nsecsElapsed()) / 1e6);
        }
        ++counts.rounds;
        QCoreApplication::processEvents();
    }
    return counts;
}

inline void PrintReader(const RefreshCounts& counts)
{
    std::printf("reader: rounds %d, locked %d, other %d\n", counts.rounds, counts.locked, counts.other);
    std::printf("reader times:");
    for (double ms : counts.ms)
        std::printf(" %.1f", ms);
    std::printf("\nreader errors:");
    for (const auto& [number, count] : counts.errors)
        std::printf(" %d=%d", number, count);
    std::printf("\n");
    std::fflush(stdout);
}

// A reader process's whole work on `database`: the three views refreshed for `seconds`, the
// counts printed. Exits 0 when no error but 3260 came.
inline int RunReader(const QString& database, int seconds)
{
    qputenv("BREV_DATABASE", database.toUtf8());
    FlatView flat;
    PriorityView priority;
    ForecastView forecast;
    const RefreshCounts counts = RefreshForSeconds(flat, priority, forecast, seconds);
    PrintReader(counts);
    return counts.other == 0 ? 0 : 1;
}

// Adds a reader's "reader times:" or "reader errors:" line to `into`; false for another line.
inline bool ReadReaderLine(const QString& line, RefreshCounts& into)
{
    if (line.startsWith(QLatin1String("reader times:"))) {
        for (const QString& v : line.mid(13).split(QLatin1Char(' '), Qt::SkipEmptyParts))
            into.ms.push_back(v.toDouble());
        return true;
    }
    if (line.startsWith(QLatin1String("reader errors:"))) {
        for (const QString& v : line.mid(14).split(QLatin1Char(' '), Qt::SkipEmptyParts))
            into.errors[v.section(QLatin1Char('='), 0, 0).toInt()] += v.section(QLatin1Char('='), 1).toInt();
        return true;
    }
    return false;
}

// "refreshes N, p50 X ms, p99 Y ms, errors: 3260 x K, ..." for the figures in RELIABILITY.md.
inline QString LoadFigures(RefreshCounts counts)
{
    std::sort(counts.ms.begin(), counts.ms.end());
    const auto at = [&](double q) {
        return counts.ms.empty() ? 0.0
                                 : counts.ms[std::min(counts.ms.size() - 1, size_t(q * double(counts.ms.size())))];
    };
    QStringList errors;
    for (const auto& [number, count] : counts.errors)
        errors << QStringLiteral("%1 x %2").arg(number).arg(count);
    return QStringLiteral("refreshes %1, p50 %2 ms, p99 %3 ms, errors: %4")
        .arg(counts.ms.size())
        .arg(at(0.50), 0, 'f', 1)
        .arg(at(0.99), 0, 'f', 1)
        .arg(errors.isEmpty() ? QStringLiteral("none") : errors.join(QStringLiteral(", ")));
}

}  // namespace BrevView::reliability
