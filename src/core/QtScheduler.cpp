#include "core/QtScheduler.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

class QtTimerEntry : public TimerEntry
{
public:
    QtTimerEntry(std::function<void()> callback, bool repeating, QTimer *timer)
        : TimerEntry(std::move(callback), repeating), m_timer(timer)
    {}

protected:
    void onCancel() override
    {
        if (m_timer) {
            m_timer->stop();
            m_timer->deleteLater();
        }
    }

private:
    QPointer<QTimer> m_timer;
};

int toMilliseconds(double seconds)
{
    const double ms = std::ceil(std::max(0.0, seconds) * 1000.0);
    return static_cast<int>(std::min(ms, 2147483647.0));
}

} // namespace

QtScheduler::QtScheduler(QObject *parent) : QObject(parent) {}

TimerHandle QtScheduler::schedule(double seconds, std::function<void()> callback)
{
    return start(seconds, std::move(callback), false);
}

TimerHandle QtScheduler::repeat(double interval, std::function<void()> callback)
{
    return start(interval, std::move(callback), true);
}

void QtScheduler::post(std::function<void()> callback)
{
    QMetaObject::invokeMethod(this, std::move(callback), Qt::QueuedConnection);
}

TimerHandle QtScheduler::start(double seconds, std::function<void()> callback, bool repeating)
{
    auto *timer = new QTimer(this);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(!repeating);
    timer->setInterval(toMilliseconds(seconds));
    auto entry = std::make_shared<QtTimerEntry>(std::move(callback), repeating, timer);
    // The timer holds the entry only weakly: dropping the handle is what cancels.
    std::weak_ptr<QtTimerEntry> weak = entry;
    connect(timer, &QTimer::timeout, this, [weak] {
        if (auto strong = weak.lock())
            strong->fire();
    });
    timer->start();
    return TimerHandle(entry);
}
