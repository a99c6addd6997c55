#pragma once

#include <functional>

// Shared state of one scheduled callback, held by the scheduler and by its TimerHandle.
class TimerEntry
{
public:
    TimerEntry(std::function<void()> callback, bool repeating);
    virtual ~TimerEntry() = default;

    bool isActive() const { return m_active; }
    bool isRepeating() const { return m_repeating; }
    void cancel();
    // Runs the callback if still active; a one-shot entry is spent before it runs,
    // so the callback may safely reschedule or cancel its own handle.
    void fire();

protected:
    virtual void onCancel() {}

private:
    std::function<void()> m_callback;
    bool m_repeating;
    bool m_active = true;
};
