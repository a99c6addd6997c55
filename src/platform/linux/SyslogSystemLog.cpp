#include "platform/linux/SyslogSystemLog.h"

#include <cstdio>
#include <syslog.h>

SyslogSystemLog::SyslogSystemLog(bool mirrorToStderr) : m_mirrorToStderr(mirrorToStderr)
{
    openlog("ovrin", LOG_PID, LOG_USER);
}

SyslogSystemLog::~SyslogSystemLog()
{
    closelog();
}

void SyslogSystemLog::write(const QString &message)
{
    const QByteArray utf8 = message.toUtf8();
    syslog(LOG_NOTICE, "Ovrin: %s", utf8.constData());
    if (m_mirrorToStderr) {
        std::fprintf(stderr, "Ovrin: %s\n", utf8.constData());
        std::fflush(stderr);
    }
}
