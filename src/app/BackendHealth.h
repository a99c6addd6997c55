#pragma once

#include <QCoro/QCoroTask>

// Whether the backend answers its health check (never throws).
class BackendHealth
{
public:
    virtual ~BackendHealth() = default;
    virtual QCoro::Task<bool> health() = 0;
};
