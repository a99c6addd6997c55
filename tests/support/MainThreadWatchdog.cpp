#include "MainThreadWatchdog.h"

MainThreadWatchdog::MainThreadWatchdog(QObject *parent) : QObject(parent)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(tickMs);
    QObject::connect(&m_timer, &QTimer::timeout, this, &MainThreadWatchdog::tick);
}

void MainThreadWatchdog::start()
{
    m_largest = 0;
    m_sinceTick.start();
    m_timer.start();
}

void MainThreadWatchdog::stop()
{
    tick();
    m_timer.stop();
}

qint64 MainThreadWatchdog::largestGapMs() const
{
    if (!m_timer.isActive())
        return m_largest;
    return qMax(m_largest, m_sinceTick.elapsed());
}

void MainThreadWatchdog::tick()
{
    m_largest = qMax(m_largest, m_sinceTick.restart());
}
