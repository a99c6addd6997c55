#pragma once

#include "core/Scheduler.h"

#include <QObject>

// Scheduler on the Qt event loop of the thread that owns it (the main thread).
class QtScheduler : public QObject, public Scheduler
{
    Q_OBJECT
public:
    explicit QtScheduler(QObject *parent = nullptr);

    TimerHandle schedule(double seconds, std::function<void()> callback) override;
    TimerHandle repeat(double interval, std::function<void()> callback) override;
    void post(std::function<void()> callback) override;

private:
    TimerHandle start(double seconds, std::function<void()> callback, bool repeating);
};
