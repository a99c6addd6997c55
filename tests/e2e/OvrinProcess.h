#pragma once

#include <QProcess>
#include <QStringList>

// The ovrin binary started as a user starts it, with its log ("Ovrin: …" on standard
// error) collected line by line.
class OvrinProcess
{
public:
    OvrinProcess();
    ~OvrinProcess();
    OvrinProcess(const OvrinProcess &) = delete;
    OvrinProcess &operator=(const OvrinProcess &) = delete;

    // Starts it with its settings and data in `home`; true once it logged "Launched.".
    bool start(const QString &binary, const QString &home,
               QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());
    void stop();
    qint64 pid() const { return m_process.processId(); }
    bool isRunning() const { return m_process.state() == QProcess::Running; }

    // Log lines without the "Ovrin: " prefix.
    QStringList log() const { return m_lines; }
    // A position in the log, for waiting on lines written after it.
    qsizetype mark() const { return m_lines.size(); }
    // True once a line from `from` on contains `text`.
    bool waitForLog(const QString &text, int timeoutMs, qsizetype from = 0);
    // The log from `from` on, for failure messages.
    QString logSince(qsizetype from) const;

private:
    void readLines();

    QProcess m_process;
    QByteArray m_pending;
    QStringList m_lines;
};
