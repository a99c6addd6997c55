#pragma once

#include <QCoro/QCoroTask>
#include <QStringList>

#include <functional>

class AuthStore;
class Backend;
class QTextStream;

// `ovrin transcribe`, `ask`, `login`, `logout` and `whoami`: the backend client on a
// terminal. transcribe and ask need no display and no D-Bus session (they send the
// stored sign-in when a keyring is reachable). Answers go to `out`, errors to `err`.
class CommandLineTool
{
public:
    // True when the arguments name a command rather than starting the desktop app.
    static bool isCommand(const QStringList &arguments);
    static QString usage();

    using PasswordReader = std::function<QString(const QString &prompt)>;

    CommandLineTool(Backend &backend, AuthStore &auth, QTextStream &out, QTextStream &err);
    void setPasswordReader(PasswordReader reader) { m_readPassword = std::move(reader); }
    // The process exit status: 0 done, 1 failed, 2 wrong arguments.
    QCoro::Task<int> run(QStringList arguments);

private:
    QCoro::Task<int> transcribe(QStringList arguments);
    QCoro::Task<int> ask(QStringList arguments);
    QCoro::Task<int> login(QStringList arguments);
    QCoro::Task<int> logout(QStringList arguments);
    QCoro::Task<int> whoami(QStringList arguments);
    int usageError(const QString &message);
    int failure(const QString &message);

    Backend &m_backend;
    AuthStore &m_auth;
    PasswordReader m_readPassword;
    QTextStream &m_out;
    QTextStream &m_err;
};
