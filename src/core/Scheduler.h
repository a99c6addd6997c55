#pragma once

#include "core/TimerHandle.h"

#include <functional>

// Runs work later on the main thread. Every delay in the application goes through
// a Scheduler so that tests can drive time with ManualScheduler.
class Scheduler
{
public:
    virtual ~Scheduler() = default;

    // Runs `callback` once after `seconds`. Dropping the handle cancels it.
    [[nodiscard]] virtual TimerHandle schedule(double seconds, std::function<void()> callback) = 0;
    // Runs `callback` every `interval` seconds until the handle is cancelled or dropped.
    [[nodiscard]] virtual TimerHandle repeat(double interval, std::function<void()> callback) = 0;
    // Runs `callback` on a later turn of the event loop, never inside the caller.
    virtual void post(std::function<void()> callback) = 0;
};
