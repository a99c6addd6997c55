#pragma once

#include <QDateTime>

// Source of time for everything that waits or stamps. Production code uses
// SystemClock; tests use ManualClock so timeouts run in microseconds.
class Clock
{
public:
    virtual ~Clock() = default;
    // Monotonic seconds since an arbitrary origin; only differences are meaningful.
    virtual double now() const = 0;
    // Wall-clock time in the local time zone.
    virtual QDateTime wallTime() const = 0;
};
