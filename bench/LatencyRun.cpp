#include "LatencyRun.h"

#include "core/Clock.h"
#include "core/Scheduler.h"

#include <QCoreApplication>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>
#include <cstdio>

void LatencyRun::useApplicationRenderer()
{
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") &&
        qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

bool LatencyRun::waitUntil(Scheduler &scheduler, const Clock &clock, double seconds,
                           const std::function<bool()> &done)
{
    const double deadline = clock.now() + seconds;
    // Wakes the loop now and then, so the deadline is seen even when nothing else happens.
    const TimerHandle tick = scheduler.repeat(0.01, [] {});
    while (!done() && clock.now() < deadline)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return done();
}

void LatencyRun::pause(Scheduler &scheduler, const Clock &clock, double seconds)
{
    bool over = false;
    const TimerHandle timer = scheduler.schedule(seconds, [&over] { over = true; });
    waitUntil(scheduler, clock, seconds + 1, [&over] { return over; });
}

double LatencyRun::median(std::vector<double> ms)
{
    std::sort(ms.begin(), ms.end());
    const std::size_t n = ms.size();
    return n % 2 ? ms[n / 2] : (ms[n / 2 - 1] + ms[n / 2]) / 2;
}

void LatencyRun::summary(const std::string &label, std::vector<double> ms)
{
    std::sort(ms.begin(), ms.end());
    const std::size_t n = ms.size();
    const double p95 = ms[std::size_t(std::ceil(0.95 * double(n))) - 1];
    std::printf("%-46s median %8.2f ms   p95 %8.2f ms   n %zu\n", label.c_str(), median(ms), p95,
                n);
}
