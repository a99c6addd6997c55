#pragma once

#include <QCoro/QCoroTask>
#include <QStringList>

class Backend;
class QTextStream;

// `ovrin transcribe` and `ovrin ask`: the backend client on a bare terminal, with no
// display and no D-Bus session. Answers stream to `out`; errors go to `err`.
class CommandLineTool
{
public:
    // True when the arguments name a command rather than starting the desktop app.
    static bool isCommand(const QStringList &arguments);
    static QString usage();

    CommandLineTool(Backend &backend, QTextStream &out, QTextStream &err);
    // The process exit status: 0 done, 1 failed, 2 wrong arguments.
    QCoro::Task<int> run(QStringList arguments);

private:
    QCoro::Task<int> transcribe(QStringList arguments);
    QCoro::Task<int> ask(QStringList arguments);
    int usageError(const QString &message);

    Backend &m_backend;
    QTextStream &m_out;
    QTextStream &m_err;
};
