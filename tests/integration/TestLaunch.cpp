// Starts the real ovrin binary the way a user would and checks that it comes up, survives
// a desktop without tray host or D-Bus, and shuts down cleanly on SIGTERM.
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

bool waitFor(const std::function<bool()> &condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QTest::qWait(50);
    }
    return true;
}

// A private X server with nothing else on it: no window manager, no tray host.
class BareXServer
{
public:
    ~BareXServer()
    {
        m_process.terminate();
        m_process.waitForFinished(3000);
    }
    bool start()
    {
        const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (xvfb.isEmpty())
            return false;
        // Xvfb picks a free display and writes its number to the given descriptor.
        m_process.start(xvfb,
                        {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp"});
        if (!waitFor(
                [&] {
                    return m_process.canReadLine() || m_process.state() == QProcess::NotRunning;
                },
                10000))
            return false;
        m_display = u':' + QString::fromLatin1(m_process.readLine().trimmed());
        return m_process.state() == QProcess::Running && m_display.size() > 1;
    }
    QString display() const { return m_display; }

private:
    QProcess m_process;
    QString m_display;
};

struct Ovrin
{
    QProcess process;
    QByteArray output;

    void start(const QProcessEnvironment &environment, const QStringList &arguments = {})
    {
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        QObject::connect(&process, &QProcess::readyRead, [this] { output += process.readAll(); });
        process.start(QStringLiteral(OVRIN_BINARY), arguments);
    }
    bool said(const char *text) const { return output.contains(text); }
    ~Ovrin()
    {
        if (process.state() != QProcess::NotRunning)
            process.kill();
        process.waitForFinished(3000);
    }
};

QProcessEnvironment scratchEnvironment(const QTemporaryDir &home)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral("cache")));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    // A runtime folder of its own, so that each test's Ovrin is the only one there; the
    // session's audio server stays reachable.
    const QString runtime = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    if (!runtime.isEmpty() && !environment.contains(QStringLiteral("PULSE_SERVER")))
        environment.insert(QStringLiteral("PULSE_SERVER"),
                           QStringLiteral("unix:%1/pulse/native").arg(runtime));
    QDir(home.path())
        .mkdir(QStringLiteral("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("run")));
    return environment;
}

} // namespace

class TestLaunch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void survivesBareXServerAndQuitsOnSigterm();
    void launchesInFullSession();
    void laterLaunchesHandTheirRequestOver();

private:
    void expectCleanTermination(Ovrin &ovrin);
};

void TestLaunch::expectCleanTermination(Ovrin &ovrin)
{
    ovrin.process.terminate(); // SIGTERM
    QVERIFY2(ovrin.process.waitForFinished(5000), ovrin.output.constData());
    QCOMPARE(ovrin.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(ovrin.process.exitCode(), 0);
}

void TestLaunch::survivesBareXServerAndQuitsOnSigterm()
{
    BareXServer x;
    OVRIN_REQUIRE_SERVICE(x.start(), QStringLiteral("Xvfb"));
    QTemporaryDir home;
    auto environment = scratchEnvironment(home);
    environment.insert(QStringLiteral("DISPLAY"), x.display());
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       QStringLiteral("unix:path=%1").arg(home.filePath(QStringLiteral("no-bus"))));

    Ovrin ovrin;
    ovrin.start(environment);
    QVERIFY2(waitFor([&] { return ovrin.said("Ovrin: Launched."); }, 15000),
             ovrin.output.constData());
    QVERIFY2(ovrin.said("Ovrin: No system tray found"), ovrin.output.constData());
    QVERIFY2(ovrin.said("Ovrin: No D-Bus session bus"), ovrin.output.constData());

    // Past the first permission poll (every 2 s) it must still be up.
    QTest::qWait(2500);
    QCOMPARE(ovrin.process.state(), QProcess::Running);
    expectCleanTermination(ovrin);
}

void TestLaunch::launchesInFullSession()
{
    const bool haveSession =
        !qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").startsWith(u"unix:path=") &&
        QFile::exists(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").mid(10));
    OVRIN_REQUIRE_SERVICE(haveSession,
                          QStringLiteral("the test desktop session (X, D-Bus, tray host)"));
    QTemporaryDir home;
    Ovrin ovrin;
    ovrin.start(scratchEnvironment(home));
    QVERIFY2(waitFor([&] { return ovrin.said("Ovrin: Launched."); }, 15000),
             ovrin.output.constData());
    QVERIFY2(!ovrin.said("No system tray found"), ovrin.output.constData());
    QVERIFY2(!ovrin.said("No D-Bus session bus"), ovrin.output.constData());
    QTest::qWait(500);
    QCOMPARE(ovrin.process.state(), QProcess::Running);
    expectCleanTermination(ovrin);
}

// A sign-in link or a toggle command starts a second ovrin: it hands its request to the
// running one and ends at once.
void TestLaunch::laterLaunchesHandTheirRequestOver()
{
    OVRIN_REQUIRE_SERVICE(!qEnvironmentVariableIsEmpty("DISPLAY"), QStringLiteral("an X server"));
    QTemporaryDir home;
    const QProcessEnvironment environment = scratchEnvironment(home);
    Ovrin first;
    first.start(environment);
    QVERIFY2(waitFor([&] { return first.said("Ovrin: Launched."); }, 15000),
             first.output.constData());

    const auto handOver = [&](const QString &argument, const char *heard) {
        Ovrin later;
        later.start(environment, {argument});
        QVERIFY2(later.process.waitForFinished(10000), later.output.constData());
        QCOMPARE(later.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(later.process.exitCode(), 0);
        QVERIFY2(!later.said("Launched."), later.output.constData());
        QVERIFY2(waitFor([&] { return first.said(heard); }, 5000), first.output.constData());
    };
    handOver(QStringLiteral("ovrin://auth?token=T"),
             "Ovrin: Received Google sign-in token. Finishing login…");
    handOver(QStringLiteral("ovrin://auth?error=access%20denied"),
             "Ovrin: Sign-in failed: access denied");
    handOver(QStringLiteral("toggle"),
             "Ovrin: ⊙ Hands-free dictation started from the command line.");
    QCOMPARE(first.process.state(), QProcess::Running);
    expectCleanTermination(first);
}

QTEST_GUILESS_MAIN(TestLaunch)
#include "TestLaunch.moc"
