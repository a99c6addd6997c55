#include "app/CommandLineTool.h"

#include "backend/Backend.h"
#include "core/Text.h"
#include "stores/AuthStore.h"

#include <QFile>
#include <QTextStream>

namespace {

// Takes "--name VALUE" or "--name=VALUE" out of `arguments`. Returns false when the
// option is present without a value.
bool takeOption(QStringList &arguments, const QString &name, QString &value, bool &present)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == name) {
            present = true;
            if (i + 1 >= arguments.size())
                return false;
            value = arguments[i + 1];
            arguments.remove(i, 2);
            return true;
        }
        if (argument.startsWith(name + QLatin1Char('='))) {
            present = true;
            value = argument.mid(name.size() + 1);
            arguments.remove(i);
            return true;
        }
    }
    return true;
}

bool takeFlag(QStringList &arguments, const QString &name)
{
    return arguments.removeAll(name) > 0;
}

QString firstOption(const QStringList &arguments)
{
    for (const QString &argument : arguments) {
        if (argument.startsWith(QLatin1Char('-')) && argument != QLatin1String("-"))
            return argument;
    }
    return {};
}

} // namespace

bool CommandLineTool::isCommand(const QStringList &arguments)
{
    static const QStringList commands{QStringLiteral("transcribe"), QStringLiteral("ask"),
                                      QStringLiteral("login"),      QStringLiteral("logout"),
                                      QStringLiteral("whoami"),     QStringLiteral("help"),
                                      QStringLiteral("--help"),     QStringLiteral("-h")};
    return arguments.size() > 1 && commands.contains(arguments[1]);
}

QString CommandLineTool::usage()
{
    return QStringLiteral(
        "Usage:\n"
        "  ovrin                                  start the desktop application\n"
        "  ovrin transcribe FILE.wav [--cleanup]  print the transcript of a WAV recording;\n"
        "                                         --cleanup asks the backend to tidy it up\n"
        "  ovrin ask QUESTION [--context TEXT]    print the answer while it streams in;\n"
        "                                         --context sends TEXT along, as a selection\n"
        "  ovrin login EMAIL                      sign in; the password is asked for\n"
        "                                         (or read from standard input)\n"
        "  ovrin logout                           sign out and forget the stored sign-in\n"
        "  ovrin whoami                           show who is signed in\n"
        "  ovrin --help                           show this help\n"
        "\n"
        "The commands use the backend at http://127.0.0.1:8787 and need no display.\n"
        "The sign-in is kept in the desktop keyring (Secret Service).\n"
        "On failure they print the reason on standard error and exit with status 1.\n");
}

CommandLineTool::CommandLineTool(Backend &backend, AuthStore &auth, QTextStream &out,
                                 QTextStream &err)
    : m_backend(backend), m_auth(auth), m_out(out), m_err(err)
{}

int CommandLineTool::failure(const QString &message)
{
    m_err << message << '\n';
    m_err.flush();
    return 1;
}

int CommandLineTool::usageError(const QString &message)
{
    m_err << "ovrin: " << message << "\n\n" << usage();
    m_err.flush();
    return 2;
}

QCoro::Task<int> CommandLineTool::run(QStringList arguments)
{
    const QString command = arguments.value(1);
    arguments = arguments.mid(2);
    if (command == QLatin1String("transcribe"))
        co_return co_await transcribe(std::move(arguments));
    if (command == QLatin1String("ask"))
        co_return co_await ask(std::move(arguments));
    if (command == QLatin1String("login"))
        co_return co_await login(std::move(arguments));
    if (command == QLatin1String("logout"))
        co_return co_await logout(std::move(arguments));
    if (command == QLatin1String("whoami"))
        co_return co_await whoami(std::move(arguments));
    if (command == QLatin1String("help") || command == QLatin1String("--help") ||
        command == QLatin1String("-h")) {
        m_out << usage();
        m_out.flush();
        co_return 0;
    }
    co_return usageError(QStringLiteral("unknown command \"%1\"").arg(command));
}

QCoro::Task<int> CommandLineTool::transcribe(QStringList arguments)
{
    const bool cleanup = takeFlag(arguments, QStringLiteral("--cleanup"));
    if (const QString option = firstOption(arguments); !option.isEmpty())
        co_return usageError(QStringLiteral("unknown option \"%1\" for transcribe").arg(option));
    if (arguments.size() != 1)
        co_return usageError(QStringLiteral("transcribe takes one WAV file"));

    const QString path = arguments.first();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        co_return failure(QStringLiteral("Can't read %1: %2").arg(path, file.errorString()));
    const QByteArray wav = file.readAll();
    if (wav.size() < 12 || !wav.startsWith("RIFF") || wav.mid(8, 4) != "WAVE")
        co_return failure(path + QStringLiteral(" is not a WAV file."));

    co_await m_auth.loadStoredToken();
    try {
        const QString text = co_await m_backend.transcribe(wav, cleanup);
        m_out << Text::trimmed(text) << '\n';
        m_out.flush();
        co_return 0;
    } catch (const std::exception &) {
        co_return failure(DescribedError::describe(std::current_exception()));
    }
}

QCoro::Task<int> CommandLineTool::ask(QStringList arguments)
{
    QString context;
    bool hasContext = false;
    if (!takeOption(arguments, QStringLiteral("--context"), context, hasContext))
        co_return usageError(QStringLiteral("--context needs a text"));
    if (const QString option = firstOption(arguments); !option.isEmpty())
        co_return usageError(QStringLiteral("unknown option \"%1\" for ask").arg(option));
    if (arguments.size() != 1 || Text::trimmed(arguments.first()).isEmpty())
        co_return usageError(QStringLiteral("ask takes one question"));

    co_await m_auth.loadStoredToken();
    bool printed = false;
    auto onDelta = [this, &printed](const QString &delta) {
        m_out << delta;
        m_out.flush();
        printed = printed || !delta.isEmpty();
    };
    try {
        const QString answer = co_await m_backend.ask(arguments.first(), context, {}, onDelta, {});
        // A backend that sends only the final answer still gets it printed.
        if (!printed)
            m_out << answer;
        m_out << '\n';
        m_out.flush();
        co_return 0;
    } catch (const std::exception &) {
        if (printed)
            m_out << '\n';
        m_out.flush();
        co_return failure(DescribedError::describe(std::current_exception()));
    }
}

namespace {

QString describeUser(const AuthUser &user)
{
    return user.name.isEmpty() ? user.email : QStringLiteral("%1 <%2>").arg(user.name, user.email);
}

} // namespace

QCoro::Task<int> CommandLineTool::login(QStringList arguments)
{
    if (arguments.size() != 1 || arguments.first().startsWith(QLatin1Char('-')))
        co_return usageError(QStringLiteral("login takes one email address"));
    const QString password =
        m_readPassword ? m_readPassword(QStringLiteral("Password: ")) : QString();
    if (password.isEmpty())
        co_return failure(QStringLiteral("No password given."));
    try {
        const AuthSession session = co_await m_backend.login(arguments.first(), password);
        co_await m_auth.applyToken(session.token);
        if (!m_auth.keychainProblem().isEmpty())
            co_return failure(m_auth.keychainProblem());
        m_out << "Signed in as " << describeUser(*m_auth.user()) << ".\n";
        m_out.flush();
        co_return 0;
    } catch (const std::exception &) {
        co_return failure(DescribedError::describe(std::current_exception()));
    }
}

QCoro::Task<int> CommandLineTool::logout(QStringList arguments)
{
    if (!arguments.isEmpty())
        co_return usageError(QStringLiteral("logout takes no arguments"));
    // A named local: GCC 12 never destroys a task awaited inside an if condition.
    const bool forgotten = co_await m_auth.signOut();
    if (!forgotten)
        co_return failure(
            QStringLiteral("The keyring could not be reached to forget the sign-in."));
    m_out << "Signed out.\n";
    m_out.flush();
    co_return 0;
}

QCoro::Task<int> CommandLineTool::whoami(QStringList arguments)
{
    if (!arguments.isEmpty())
        co_return usageError(QStringLiteral("whoami takes no arguments"));
    const bool signedIn = co_await m_auth.loadStoredToken();
    if (!signedIn)
        co_return failure(QStringLiteral("Not signed in."));
    try {
        const AuthUser user = co_await m_backend.me();
        m_out << describeUser(user) << '\n';
        m_out.flush();
        co_return 0;
    } catch (const std::exception &) {
        co_return failure(DescribedError::describe(std::current_exception()));
    }
}
