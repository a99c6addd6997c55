#include "core/ManualScheduler.h"

#include <algorithm>

ManualScheduler::ManualScheduler(ManualClock &clock) : m_clock(clock) {}

TimerHandle ManualScheduler::schedule(double seconds, std::function<void()> callback)
{
    return add(seconds, std::move(callback), false);
}

TimerHandle ManualScheduler::repeat(double interval, std::function<void()> callback)
{
    return add(interval, std::move(callback), true);
}

void ManualScheduler::post(std::function<void()> callback)
{
    auto entry = std::make_shared<TimerEntry>(std::move(callback), false);
    m_items.push_back({m_clock.now(), m_nextOrder++, 0.0, entry});
}

TimerHandle ManualScheduler::add(double delay, std::function<void()> callback, bool repeating)
{
    // A zero interval would make advance() spin forever; real timers cannot fire faster either.
    const double interval = repeating ? std::max(delay, 0.001) : std::max(delay, 0.0);
    auto entry = std::make_shared<TimerEntry>(std::move(callback), repeating);
    m_items.push_back({m_clock.now() + interval, m_nextOrder++, interval, entry});
    return TimerHandle(entry);
}

void ManualScheduler::advance(double seconds)
{
    const double target = m_clock.now() + std::max(seconds, 0.0);
    for (;;) {
        std::erase_if(m_items, [](const Item &item) { return !item.entry->isActive(); });
        auto next =
            std::min_element(m_items.begin(), m_items.end(), [](const Item &a, const Item &b) {
                return a.due < b.due || (a.due == b.due && a.order < b.order);
            });
        if (next == m_items.end() || next->due > target)
            break;
        auto entry = next->entry;
        if (next->due > m_clock.now())
            m_clock.setNow(next->due);
        if (entry->isRepeating()) {
            next->due += next->interval;
            next->order = m_nextOrder++;
        }
        entry->fire();
    }
    if (target > m_clock.now())
        m_clock.setNow(target);
}

int ManualScheduler::pendingCount() const
{
    return static_cast<int>(std::count_if(m_items.begin(), m_items.end(),
                                          [](const Item &item) { return item.entry->isActive(); }));
}
