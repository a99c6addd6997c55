#include "OvrinProcess.h"

#include <QDeadlineTimer>
#include <QTest>

OvrinProcess::OvrinProcess()
{
    m_process.setProcessChannelMode(QProcess::ForwardedOutputChannel);
    QObject::connect(&m_process, &QProcess::readyReadStandardError, [this] { readLines(); });
}

OvrinProcess::~OvrinProcess()
{
    stop();
}

bool OvrinProcess::start(const QString &binary, const QString &home,
                         QProcessEnvironment environment)
{
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_STATE_HOME"), home + QStringLiteral("/state"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    // Started the way run.sh starts it, so it does not warn about the launch target.
    environment.insert(QStringLiteral("OVRIN_LAUNCHER"), QStringLiteral("run.sh"));
    m_process.setProcessEnvironment(environment);
    m_process.start(binary, {});
    return m_process.waitForStarted(5000) && waitForLog(QStringLiteral("Launched."), 20000);
}

void OvrinProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
    readLines();
}

void OvrinProcess::readLines()
{
    m_pending += m_process.readAllStandardError();
    qsizetype end;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        QString line = QString::fromUtf8(m_pending.left(end));
        m_pending.remove(0, end + 1);
        if (line.startsWith(QStringLiteral("Ovrin: ")))
            line.remove(0, 7);
        m_lines.append(line);
    }
}

bool OvrinProcess::waitForLog(const QString &text, int timeoutMs, qsizetype from)
{
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        readLines();
        for (qsizetype i = from; i < m_lines.size(); ++i)
            if (m_lines.at(i).contains(text))
                return true;
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
            return false;
        QTest::qWait(50);
    }
}

QString OvrinProcess::logSince(qsizetype from) const
{
    return m_lines.mid(from).join(u'\n');
}
