#include "core/ManualClock.h"

#include <cmath>

ManualClock::ManualClock(QDateTime wallStart) : m_wallStart(std::move(wallStart)) {}

QDateTime ManualClock::wallTime() const
{
    return m_wallStart.addMSecs(static_cast<qint64>(std::llround(m_now * 1000.0)));
}

void ManualClock::advance(double seconds)
{
    if (seconds > 0)
        m_now += seconds;
}

void ManualClock::setNow(double seconds)
{
    m_now = seconds;
}

void ManualClock::setWallStart(const QDateTime &wallStart)
{
    m_wallStart = wallStart.addMSecs(-static_cast<qint64>(std::llround(m_now * 1000.0)));
}
