#pragma once

#include "core/TimerEntry.h"

#include <memory>

// Owner of one scheduled callback. Cancels it on destruction, so a handle kept in a
// member dies with its owner and a late timer never touches a destroyed object.
class TimerHandle
{
public:
    TimerHandle() = default;
    explicit TimerHandle(std::shared_ptr<TimerEntry> entry);
    ~TimerHandle();

    TimerHandle(TimerHandle &&other) noexcept;
    TimerHandle &operator=(TimerHandle &&other) noexcept;
    TimerHandle(const TimerHandle &) = delete;
    TimerHandle &operator=(const TimerHandle &) = delete;

    void cancel();
    bool isActive() const;

private:
    std::shared_ptr<TimerEntry> m_entry;
};
