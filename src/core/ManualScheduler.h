#pragma once

#include "core/ManualClock.h"
#include "core/Scheduler.h"

#include <cstdint>
#include <memory>
#include <vector>

// Scheduler for tests: nothing runs until advance() moves its clock. Callbacks run in
// order of due time (then order of scheduling), with the clock set to each due time.
class ManualScheduler : public Scheduler
{
public:
    explicit ManualScheduler(ManualClock &clock);

    TimerHandle schedule(double seconds, std::function<void()> callback) override;
    TimerHandle repeat(double interval, std::function<void()> callback) override;
    void post(std::function<void()> callback) override;

    // Moves the clock forward by `seconds`, running everything that falls due.
    void advance(double seconds);
    // Runs posted work and anything already due without moving the clock.
    void runPending() { advance(0); }
    // Number of callbacks still waiting (posted work and active timers).
    int pendingCount() const;

    ManualClock &clock() { return m_clock; }

private:
    struct Item
    {
        double due;
        std::uint64_t order;
        double interval;
        std::shared_ptr<TimerEntry> entry;
    };

    TimerHandle add(double delay, std::function<void()> callback, bool repeating);

    ManualClock &m_clock;
    std::vector<Item> m_items;
    std::uint64_t m_nextOrder = 0;
};
