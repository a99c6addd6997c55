#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

// Measures how long the thread's event loop goes without running: a timer meant to fire
// every 10 ms records the largest gap between two of its ticks.
class MainThreadWatchdog : public QObject
{
    Q_OBJECT
public:
    static constexpr int tickMs = 10;

    explicit MainThreadWatchdog(QObject *parent = nullptr);

    void start();
    void stop();
    // The largest gap seen since start(), in milliseconds; a gap still open counts.
    qint64 largestGapMs() const;

private:
    void tick();

    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    qint64 m_largest = 0;
};
