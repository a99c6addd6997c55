// Dictation on a Wayland desktop as a user meets it: ovrin and ovrin-server on the headless
// sway of the test script, a native Wayland GTK entry focused, the compositor's own key
// binding for Right Ctrl running `ovrin toggle` on press and release (the rung a session
// without the input group or a shortcut service has), the virtual microphone speaking.
#include "CompanionServer.h"
#include "OvrinProcess.h"
#include "VirtualMicrophone.h"
#include "core/SystemClock.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WlrVirtualKeyboard.h"
#include "support/TestEnvironment.h"
#include "support/WaylandDesktop.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <linux/input-event-codes.h>

namespace {

const QString email = QStringLiteral("wren@example.com");
const QString password = QStringLiteral("correct horse battery");
const QString sentence = QStringLiteral("the kernel build is green");

} // namespace

class TestWaylandEndToEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void rungsChosenForTheSession();
    void dictationIntoNativeField();
    void panelsNeverTakeTheFocus();
    void cleanupTestCase();

private:
    QProcessEnvironment ovrinEnvironment() const;
    // Runs `ovrin ARGUMENT` as the desktop would; true when it handed over and ended.
    bool runOvrin(const QString &argument);

    WaylandDesktop m_desktop;
    QTemporaryDir m_home;
    std::unique_ptr<CompanionServer> m_server;
    OvrinProcess m_ovrin;
    std::unique_ptr<VirtualMicrophone> m_microphone;
    SystemClock m_clock;
    std::unique_ptr<WaylandConnection> m_connection;
    // The user's keyboard: one virtual keyboard of the compositor's seat.
    std::unique_ptr<WlrVirtualKeyboard> m_keyboard;
};

QProcessEnvironment TestWaylandEndToEnd::ovrinEnvironment() const
{
    QProcessEnvironment environment = m_desktop.environment();
    const QString home = m_home.filePath(QStringLiteral("app"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_STATE_HOME"), home + QStringLiteral("/state"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    environment.insert(QStringLiteral("OVRIN_LAUNCHER"), QStringLiteral("run.sh"));
    return environment;
}

bool TestWaylandEndToEnd::runOvrin(const QString &argument)
{
    QProcess ovrin;
    ovrin.setProcessEnvironment(ovrinEnvironment());
    ovrin.start(QStringLiteral(OVRIN_BINARY), {argument});
    return ovrin.waitForFinished(15000) && ovrin.exitCode() == 0;
}

void TestWaylandEndToEnd::initTestCase()
{
    OVRIN_REQUIRE_SERVICE(m_desktop.isAvailable(),
                          QStringLiteral("a headless Wayland desktop (sway)"));
    OVRIN_REQUIRE_SERVICE(VirtualMicrophone::isAvailable(),
                          QStringLiteral("flite and paplay for the virtual microphone"));
    QVERIFY(m_home.isValid());

    m_server = std::make_unique<CompanionServer>(QStringLiteral(SERVER_BINARY),
                                                 m_home.filePath(QStringLiteral("server")));
    QVERIFY2(m_server->start(), "ovrin-server did not come up on 127.0.0.1:8787 (port taken?)");
    QVERIFY(m_server->registerAccount(email, password));

    QVERIFY2(m_ovrin.start(QStringLiteral(OVRIN_BINARY), m_home.filePath(QStringLiteral("app")),
                           ovrinEnvironment()),
             qPrintable(m_ovrin.logSince(0)));
    // Signed in the way a browser's sign-in link does it.
    const qsizetype from = m_ovrin.mark();
    QVERIFY(runOvrin(QStringLiteral("ovrin://auth?token=") + QString::fromUtf8(m_server->token())));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("Signed in."), 15000, from),
             qPrintable(m_ovrin.logSince(from)));
    m_microphone = std::make_unique<VirtualMicrophone>(m_home.path());

    m_connection = std::make_unique<WaylandConnection>(m_desktop.socket());
    m_keyboard = std::make_unique<WlrVirtualKeyboard>(*m_connection, m_clock);
    QVERIFY2(m_keyboard->isReady(), qPrintable(m_keyboard->problem()));
}

void TestWaylandEndToEnd::cleanupTestCase()
{
    // A binding left behind would start a new ovrin at the next Right Ctrl.
    if (m_desktop.isAvailable()) {
        m_desktop.command(QStringLiteral("unbindsym --no-repeat Control_R"));
        m_desktop.command(QStringLiteral("unbindsym --release Control_R"));
    }
    if (m_keyboard)
        m_keyboard->key(KEY_RIGHTCTRL, false);
    m_ovrin.stop();
    if (m_server)
        m_server->stop();
}

void TestWaylandEndToEnd::rungsChosenForTheSession()
{
    // No input group, no shortcut service, no uinput here: what sway itself offers.
    const QString log = m_ovrin.logSince(0);
    for (const char *line : {"Hotkeys on Wayland (sway): Only the command ovrin toggle",
                             "Paste on Wayland (sway): Compositor virtual keyboard",
                             "Clipboard on Wayland (sway): Data control (wl-clipboard)",
                             "Floating panels on Wayland (sway): XWayland notification window",
                             "Screenshots on Wayland (sway): Compositor screen copy (grim)"})
        QVERIFY2(log.contains(QLatin1String(line)), qPrintable(QLatin1String(line) + u'\n' + log));
}

void TestWaylandEndToEnd::dictationIntoNativeField()
{
    // The user's own binding of the compositor: Right Ctrl held is a dictation.
    const QString toggle =
        QStringLiteral("exec ") + QStringLiteral(OVRIN_BINARY) + QStringLiteral(" toggle");
    QVERIFY(m_desktop.command(QStringLiteral("bindsym --no-repeat Control_R ") + toggle));
    QVERIFY(m_desktop.command(QStringLiteral("bindsym --release Control_R ") + toggle));
    QVERIFY2(m_desktop.startEntry(), "the GTK entry did not get the focus");

    const qsizetype from = m_ovrin.mark();
    QVERIFY(m_keyboard->key(KEY_RIGHTCTRL, true));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("● Recording started"), 10000, from),
             qPrintable(m_ovrin.logSince(from)));
    QTest::qWait(300);
    QVERIFY(m_microphone->say(sentence));
    QTest::qWait(300);
    QVERIFY(m_keyboard->key(KEY_RIGHTCTRL, false));

    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("✓ Transcript: "), 20000, from),
             qPrintable(m_ovrin.logSince(from)));
    static const QRegularExpression line(QStringLiteral("✓ Transcript: \"(.*)\"$"));
    QString transcript;
    for (const QString &entry : m_ovrin.log().mid(from))
        if (const auto match = line.match(entry); match.hasMatch())
            transcript = match.captured(1);
    QVERIFY(!transcript.isEmpty());
    QVERIFY2(m_desktop.entryReads(transcript), qPrintable(m_desktop.entryText()));
    QVERIFY(!m_ovrin.logSince(from).contains(QStringLiteral("Could not send the paste keystroke")));

    // The transcript stays on the clipboard for the user, read back by another application.
    QProcess paste;
    paste.setProcessEnvironment(m_desktop.environment());
    paste.start(QStringLiteral("wl-paste"), {QStringLiteral("--no-newline")});
    QVERIFY(paste.waitForFinished(5000));
    QCOMPARE(QString::fromUtf8(paste.readAllStandardOutput()), transcript);
}

void TestWaylandEndToEnd::panelsNeverTakeTheFocus()
{
    // The recording pill is up while the key is held; the entry keeps the focus throughout,
    // and the pill is an X window of the notification type, which the compositor leaves be.
    const qsizetype from = m_ovrin.mark();
    QVERIFY(m_keyboard->key(KEY_RIGHTCTRL, true));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("● Recording started"), 10000, from),
             qPrintable(m_ovrin.logSince(from)));
    QTest::qWait(500);
    QCOMPARE(m_desktop.focusedApplication(), QStringLiteral("gtk_entry.py"));

    QProcess xprop;
    xprop.setProcessEnvironment(m_desktop.environment());
    xprop.start(
        QStringLiteral("sh"),
        {QStringLiteral("-c"),
         QStringLiteral(
             "for w in $(xwininfo -root -children | sed -n 's/^ *\\(0x[0-9a-f]*\\) .*/\\1/p'); do "
             "xprop -id $w _NET_WM_WINDOW_TYPE WM_CLASS 2>/dev/null; done")});
    QVERIFY(xprop.waitForFinished(10000));
    const QString windows = QString::fromUtf8(xprop.readAllStandardOutput());
    QVERIFY2(windows.contains(QStringLiteral("_NET_WM_WINDOW_TYPE_NOTIFICATION")),
             qPrintable(windows));

    QVERIFY(m_keyboard->key(KEY_RIGHTCTRL, false));
    // Silence: nothing transcribed, nothing pasted; the entry still has the focus.
    QVERIFY(m_ovrin.waitForLog(QStringLiteral("Sending to backend"), 10000, from) ||
            m_ovrin.waitForLog(QStringLiteral("Nothing"), 10000, from));
    QTest::qWait(500);
    QCOMPARE(m_desktop.focusedApplication(), QStringLiteral("gtk_entry.py"));
}

QTEST_MAIN(TestWaylandEndToEnd)
#include "TestWaylandEndToEnd.moc"
