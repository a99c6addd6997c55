#pragma once

#include "core/Clock.h"

#include <QElapsedTimer>

class SystemClock : public Clock
{
public:
    SystemClock();
    double now() const override;
    QDateTime wallTime() const override;

private:
    QElapsedTimer m_timer;
};
