#include "core/TimerEntry.h"

TimerEntry::TimerEntry(std::function<void()> callback, bool repeating)
    : m_callback(std::move(callback)), m_repeating(repeating)
{}

void TimerEntry::cancel()
{
    if (!m_active)
        return;
    m_active = false;
    onCancel();
}

void TimerEntry::fire()
{
    if (!m_active)
        return;
    if (!m_repeating) {
        m_active = false;
        onCancel();
    }
    // Copy: the callback may drop the last reference to this entry.
    auto callback = m_callback;
    if (callback)
        callback();
}
