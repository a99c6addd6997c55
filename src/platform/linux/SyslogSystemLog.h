#pragma once

#include "platform/SystemLog.h"

// Writes "Ovrin: <message>" to syslog (journald picks it up) and to standard error,
// so a user who starts the application from a terminal sees its activity.
class SyslogSystemLog : public SystemLog
{
public:
    explicit SyslogSystemLog(bool mirrorToStderr = true);
    ~SyslogSystemLog() override;
    void write(const QString &message) override;

private:
    bool m_mirrorToStderr;
};
