#include "core/SystemClock.h"

SystemClock::SystemClock()
{
    m_timer.start();
}

double SystemClock::now() const
{
    return static_cast<double>(m_timer.nsecsElapsed()) / 1e9;
}

QDateTime SystemClock::wallTime() const
{
    return QDateTime::currentDateTime();
}
