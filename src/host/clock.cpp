#include "host/clock.h"

#include <mutex>

namespace BrevView::host {
namespace {

std::mutex g_mutex;
std::optional<QDateTime> g_pinned;

}  // namespace

automation::Date Clock::Now()
{
    QDateTime now;
    {
        std::lock_guard lock(g_mutex);
        now = g_pinned ? *g_pinned : QDateTime::currentDateTime();
    }
    return automation::Date::FromQDateTime(now);
}

automation::Date Clock::Today()
{
    return Now().DateOnly();
}

void Clock::Pin(const QDateTime& now)
{
    std::lock_guard lock(g_mutex);
    g_pinned = now;
}

void Clock::Unpin()
{
    std::lock_guard lock(g_mutex);
    g_pinned.reset();
}

}  // namespace BrevView::host
