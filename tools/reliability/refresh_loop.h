#pragma once
// What a busy salesperson's host does for the reliability tools: refreshes the three views
// one after the other, over and over, for a bounded time, and counts the errors. The lock
// error 3260 is the documented answer to a colleague holding the rows; any other error is
// printed and counted.

#include <cstdio>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <brevview/brevview.h>

namespace BrevView::reliability {

struct RefreshCounts {
    int rounds = 0;
    int locked = 0;
    int other = 0;
};

inline RefreshCounts RefreshForSeconds(FlatView& flat, PriorityView& priority, ForecastView& forecast, int seconds)
{
    RefreshCounts counts;
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < seconds * 1000) {
        for (QWidget* view : {static_cast<QWidget*>(&flat), static_cast<QWidget*>(&priority), static_cast<QWidget*>(&forecast)}) {
            try {
                QMetaObject::invokeMethod(view, "Refresh");
            } catch (const RuntimeError& e) {
                if (e.number() == 3260) {
                    ++counts.locked;
                } else {
                    ++counts.other;
                    std::printf("unexpected error %d: %s\n", e.number(), qPrintable(e.description()));
                }
            }
        }
        ++counts.rounds;
        QCoreApplication::processEvents();
    }
    return counts;
}

}  // namespace BrevView::reliability
