#pragma once

#include "core/Clock.h"

// A clock that moves only when told to. Wall time advances with monotonic time.
class ManualClock : public Clock
{
public:
    explicit ManualClock(QDateTime wallStart = QDateTime(QDate(2026, 1, 1), QTime(9, 0)));

    double now() const override { return m_now; }
    QDateTime wallTime() const override;

    void advance(double seconds);
    void setNow(double seconds);
    void setWallStart(const QDateTime &wallStart);

private:
    double m_now = 0.0;
    QDateTime m_wallStart;
};
