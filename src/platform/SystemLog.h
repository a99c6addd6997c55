#pragma once

#include <QString>

// The system's log (journald/syslog on Linux), where every activity line also goes.
class SystemLog
{
public:
    virtual ~SystemLog();
    virtual void write(const QString &message) = 0;
};
