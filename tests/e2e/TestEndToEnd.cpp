// Ovrin as a user meets it: the real ovrin and ovrin-server on the test desktop (X server,
// tray host, compositor, accessibility bus, keyring, a microphone that speaks). A fresh
// account is registered through the login page; every scenario then goes through the keys,
// the microphone, the tray and the window, and leaves a screenshot in the test artifacts.
#include "CompanionServer.h"
#include "OvrinProcess.h"
#include "OvrinUser.h"
#include "TestDesktop.h"
#include "VirtualMicrophone.h"
#include "support/FocusedField.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QLabel>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

const QString email = QStringLiteral("eve@example.com");
const QString password = QStringLiteral("correct horse battery");
const QString fieldTitle = QStringLiteral("ovrin test field");
// The offline recogniser hears "colonel" for "kernel": the word the user corrects.
const QString sentence = QStringLiteral("the kernel build is green");
const QString unreachable =
    QStringLiteral("Can't reach the backend. Is it running on http://127.0.0.1:8787?");

// The clipboard once it holds `expected`, or what it held when the time ran out.
QString clipboardText(const QString &expected, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QString text;
    while ((text = QGuiApplication::clipboard()->text()) != expected && !deadline.hasExpired())
        QTest::qWait(100);
    return text;
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void registerThroughLoginPage();
    void dictation();
    void correction();
    void transcriptsInWindowAndTray();
    void ask();
    void readScreen();
    void meeting();
    void backendNeverAnswers();
    void backendStopped();
    void cleanupTestCase();

private:
    bool focusField();
    // The list under `key` of the server's answer to GET `path`, as the signed-in user.
    QJsonArray records(const QString &path, const QString &key);

    QTemporaryDir m_home;
    TestDesktop m_desktop;
    std::unique_ptr<CompanionServer> m_server;
    OvrinProcess m_ovrin;
    std::unique_ptr<VirtualMicrophone> m_microphone;
    std::unique_ptr<OvrinUser> m_user;
    std::unique_ptr<FocusedField> m_field;
    QProcess m_compositor;
    QString m_transcript;
};

void TestEndToEnd::initTestCase()
{
    OVRIN_REQUIRE_SERVICE(m_desktop.isOpen() && QGuiApplication::platformName() == u"xcb",
                          QStringLiteral("an X server"));
    OVRIN_REQUIRE_SERVICE(QSystemTrayIcon::isSystemTrayAvailable(), QStringLiteral("a tray host"));
    OVRIN_REQUIRE_SERVICE(VirtualMicrophone::isAvailable(),
                          QStringLiteral("flite and paplay for the virtual microphone"));
    OVRIN_REQUIRE_SERVICE(!QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty(),
                          QStringLiteral("xdotool"));
    QVERIFY(m_home.isValid());

    // Translucent panels blend as on a desktop with a compositor.
    const QString compositor = QStandardPaths::findExecutable(QStringLiteral("xcompmgr"));
    OVRIN_REQUIRE_SERVICE(!compositor.isEmpty(), QStringLiteral("xcompmgr"));
    m_compositor.start(compositor, {});
    QVERIFY(m_compositor.waitForStarted());

    m_server = std::make_unique<CompanionServer>(QStringLiteral(SERVER_BINARY),
                                                 m_home.filePath(QStringLiteral("server")));
    QVERIFY2(m_server->start(), "ovrin-server did not come up on 127.0.0.1:8787 (port taken?)");
    QVERIFY2(m_ovrin.start(QStringLiteral(OVRIN_BINARY), m_home.filePath(QStringLiteral("app"))),
             qPrintable(m_ovrin.logSince(0)));
    m_microphone = std::make_unique<VirtualMicrophone>(m_home.path());
    m_user = std::make_unique<OvrinUser>(m_ovrin, m_desktop, *m_microphone);
}

void TestEndToEnd::cleanupTestCase()
{
    m_field.reset();
    m_ovrin.stop();
    if (m_server)
        m_server->stop();
    m_compositor.terminate();
    m_compositor.waitForFinished(3000);
}

bool TestEndToEnd::focusField()
{
    if (!m_field) {
        m_field = std::make_unique<FocusedField>(QStringLiteral(TEXTFIELD_BINARY));
        if (!m_field->start())
            return false;
        // Beside the main window and clear of the panels at the bottom of the screen.
        m_desktop.placeWindow(fieldTitle, {985, 200}, {290, 30});
    }
    return m_desktop.focusWindow(fieldTitle);
}

QJsonArray TestEndToEnd::records(const QString &path, const QString &key)
{
    return m_server->get(path).object().value(key).toArray();
}

void TestEndToEnd::registerThroughLoginPage()
{
    AccessibleApp &screen = m_user->screen();
    QVERIFY2(screen.waitForName(QStringLiteral("Sign in to Ovrin"), 15000), "not on screen");
    m_desktop.click(screen.find(QStringLiteral("push button"), QStringLiteral("Create an account"))
                        .value_or(AccessibleNode{})
                        .center());
    QVERIFY(screen.waitForName(QStringLiteral("Create your Ovrin account")));

    // Password fields go unnamed over the accessibility bus.
    const auto fill = [&](const QString &role, const QString &name, const QString &text) {
        const auto field = screen.find(role, name);
        QVERIFY2(field, qPrintable(role + u' ' + name));
        m_desktop.click(field->center());
        m_desktop.type(text);
    };
    fill(QStringLiteral("text"), QStringLiteral("Name (optional)"), QStringLiteral("Eve"));
    fill(QStringLiteral("text"), QStringLiteral("Email"), email);
    fill(QStringLiteral("password text"), QString(), password);
    m_desktop.tap("Return");

    QVERIFY2(screen.waitForName(QStringLiteral("Backend online"), 15000), "not on screen");
    QVERIFY(screen.find(QStringLiteral("label"), QStringLiteral("Ready")));
    m_desktop.saveScreenshot(QStringLiteral("registered"));
    QVERIFY2(m_server->signIn(email, password), "the account was not created on the server");
}

void TestEndToEnd::dictation()
{
    QVERIFY(focusField());
    m_transcript = m_user->dictate(sentence);
    QVERIFY2(!m_transcript.isEmpty(), qPrintable(m_user->failure()));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("Pasted into focused app."), 5000),
             qPrintable(m_ovrin.logSince(0)));
    QVERIFY2(m_field->reads(m_transcript), qPrintable(m_transcript));
    m_desktop.saveScreenshot(QStringLiteral("dictation"));
}

void TestEndToEnd::correction()
{
    QVERIFY(!m_transcript.isEmpty());
    const QStringList heard = m_transcript.split(u' ');
    const QStringList meant = sentence.split(u' ');
    QCOMPARE(heard.size(), meant.size());
    qsizetype wrong = -1;
    for (qsizetype i = 0; i < heard.size(); ++i)
        if (heard[i] != meant[i]) {
            QVERIFY2(wrong < 0, qPrintable("more than one word misheard: " + m_transcript));
            wrong = i;
        }
    QVERIFY2(wrong >= 0, "the recogniser heard every word: nothing to correct");

    // Select the misheard word with the keyboard and type the right one over it, no sooner
    // than a person would: the watch takes its baseline half a second after the paste.
    QVERIFY(focusField());
    QTest::qWait(1000);
    m_desktop.tap("End");
    m_desktop.tap("Home");
    for (qsizetype i = 0; i < wrong; ++i)
        m_desktop.chord({"Control_L", "Right"});
    for (qsizetype i = 0; i < heard[wrong].size(); ++i)
        m_desktop.chord({"Shift_L", "Right"});
    const qsizetype from = m_ovrin.mark();
    m_desktop.type(meant[wrong]);
    QVERIFY(m_field->reads(sentence));

    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("✎ Correction detected: \"%1\" → \"%2\"")
                                    .arg(heard[wrong], meant[wrong]),
                                5000, from),
             qPrintable(m_ovrin.logSince(from)));
    AccessibleApp &screen = m_user->screen();
    const auto add = screen.waitFor(
        [](const AccessibleNode &node) {
            return node.window == u"Add to dictionary?" && node.name == u"Add";
        },
        5000);
    QVERIFY2(add, "not on screen");
    QVERIFY(screen.find(QStringLiteral("label"), meant[wrong]));
    m_desktop.saveScreenshot(QStringLiteral("correction-banner"));
    m_desktop.click(add->center());

    QJsonObject term;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            for (const QJsonValue &entry :
                 records(QStringLiteral("/dictionary"), QStringLiteral("terms")))
                if (entry[u"term"] == meant[wrong])
                    term = entry.toObject();
            return !term.isEmpty();
        }(),
        5000);
    QCOMPARE(term[u"variants"].toArray(), QJsonArray{heard[wrong]});
    QVERIFY(m_user->openPage(QStringLiteral("Dictionary")));
    QVERIFY2(screen.waitForName(meant[wrong]), "not on screen");
    QVERIFY2(screen.waitForNameContaining(QStringLiteral("Heard as: ") + heard[wrong]),
             "not on screen");

    // The same sentence again comes back as the user spells it.
    QVERIFY(focusField());
    m_desktop.chord({"Control_L", "a"});
    m_desktop.tap("BackSpace");
    QVERIFY(m_field->reads(QString()));
    const QString again = m_user->dictate(sentence);
    QCOMPARE(again, sentence);
    QVERIFY(m_field->reads(sentence));
    m_transcript = again;
}

void TestEndToEnd::transcriptsInWindowAndTray()
{
    QVERIFY(m_user->openPage(QStringLiteral("Transcripts")));
    QVERIFY2(m_user->screen().waitForName(m_transcript), "not on screen");
    m_desktop.saveScreenshot(QStringLiteral("transcripts-page"));

    // The tray menu lists the newest first under "Recent transcripts"; choosing it copies it.
    const qsizetype from = m_ovrin.mark();
    QVERIFY(m_user->chooseTrayItem(1, QStringLiteral("tray-recent-transcripts")));
    QVERIFY2(
        m_ovrin.waitForLog(QStringLiteral("Copied transcript from the system tray."), 5000, from),
        qPrintable(m_ovrin.logSince(from)));
    QCOMPARE(clipboardText(m_transcript, 5000), m_transcript);
}

void TestEndToEnd::ask()
{
    const QString question = QStringLiteral("new task water the plants");
    // The offline recogniser, through the virtual microphone, now and then hears a short
    // command's first word as another ("their task …"); a user would say it again.
    for (int attempt = 1;; ++attempt) {
        QVERIFY(focusField());
        m_desktop.chord({"Control_L", "a"});
        const qsizetype from = m_ovrin.mark();
        QVERIFY2(m_user->holdAndSay({QStringLiteral("Control_R"), QStringLiteral("Control_L")},
                                    QStringLiteral("● Recording (Ask AI)…"), question),
                 qPrintable(m_user->failure()));
        QVERIFY2(m_ovrin.waitForLog(QStringLiteral("Using selected text as context"), 1, from),
                 qPrintable(m_ovrin.logSince(from)));
        QVERIFY2(m_ovrin.waitForLog(QStringLiteral("✓ AI answered."), 20000, from),
                 qPrintable(m_ovrin.logSince(from)));
        if (attempt == 2 || m_ovrin.logSince(from).contains("❓ Asked: \"" + question + '"'))
            break;
        qInfo("heard otherwise, said again: %s", qPrintable(m_ovrin.logSince(from)));
    }

    AccessibleApp &screen = m_user->screen();
    // The card shows the question, then the answer streamed under it.
    QVERIFY(screen.waitForName(question, 5000));
    const auto answer = screen.waitFor(
        [](const AccessibleNode &node) {
            return node.name.startsWith(u"Added the task") &&
                   node.name.contains(u"water the plants", Qt::CaseInsensitive);
        },
        5000);
    QVERIFY2(answer, "not on screen");
    QTest::qWait(500); // the card grows to its answer with an animation
    m_desktop.saveScreenshot(QStringLiteral("ask"));
    QCOMPARE(clipboardText(answer->name, 5000), answer->name);

    QVERIFY(m_user->openPage(QStringLiteral("Tasks")));
    QVERIFY2(screen.waitForName(QStringLiteral("Water the plants")), "not on screen");
}

void TestEndToEnd::readScreen()
{
    // A sentence in large type across the top of the screen, where reading starts.
    QLabel poster(QStringLiteral("Invoice 4471 is due on Friday"));
    poster.setWindowTitle(QStringLiteral("poster"));
    poster.setStyleSheet(QStringLiteral("background: white; color: black; font-size: 40px;"));
    poster.setAlignment(Qt::AlignCenter);
    poster.setGeometry(0, 0, 1070, 120);
    poster.show();
    QVERIFY(QTest::qWaitForWindowExposed(&poster));
    QTest::qWait(300);

    const qsizetype from = m_ovrin.mark();
    QVERIFY2(m_user->holdAndSay({QStringLiteral("Control_R"), QStringLiteral("Control_L"),
                                 QStringLiteral("Alt_L")},
                                QStringLiteral("● Recording (Read screen)…"), QString()),
             qPrintable(m_user->failure()));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("✓ AI answered."), 20000, from),
             qPrintable(m_ovrin.logSince(from)));
    AccessibleApp &screen = m_user->screen();
    const auto answer = screen.waitForNameContaining(QStringLiteral("4471"), 5000);
    QVERIFY2(answer, "not on screen");
    m_desktop.saveScreenshot(QStringLiteral("read-screen"));
}

void TestEndToEnd::meeting()
{
    // "Record Meeting" follows the status line and the recent transcripts, if any.
    const int transcripts = std::min<int>(
        5, records(QStringLiteral("/history?scope=transcripts"), QStringLiteral("entries")).size());
    const int downs = transcripts > 0 ? transcripts + 1 : 1;

    qsizetype from = m_ovrin.mark();
    QVERIFY(m_user->chooseTrayItem(downs));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("Meeting recording started from the system tray."),
                                5000, from),
             qPrintable(m_ovrin.logSince(from)));
    QVERIFY(m_microphone->say(QStringLiteral("good morning everyone")));
    QVERIFY(m_microphone->say(QStringLiteral("we will ship the new version on monday")));
    QTest::qWait(500);
    from = m_ovrin.mark();
    QVERIFY(m_user->chooseTrayItem(downs, QStringLiteral("meeting-stop-menu")));

    QJsonObject meeting;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            const QJsonArray meetings =
                records(QStringLiteral("/meetings"), QStringLiteral("meetings"));
            meeting = meetings.isEmpty() ? QJsonObject() : meetings.first().toObject();
            return !meeting[u"transcript"].toString().isEmpty();
        }(),
        30000);
    QVERIFY2(meeting[u"transcript"].toString().contains(u"monday", Qt::CaseInsensitive),
             qPrintable(meeting[u"transcript"].toString()));

    AccessibleApp &screen = m_user->screen();
    QVERIFY(m_user->openPage(QStringLiteral("Meetings")));
    const QString title = meeting[u"title"].toString();
    const auto row = screen.waitForName(title);
    QVERIFY2(row, "not on screen");
    m_desktop.click(row->center());
    QVERIFY2(screen.waitForName(QStringLiteral("Transcript")), "not on screen");
    QVERIFY(screen.waitForName(QStringLiteral("Notes")));
    QVERIFY2(screen.waitForNameContaining(QStringLiteral("the new version")), "not on screen");
    const auto play = screen.find(QStringLiteral("push button"), QStringLiteral("Play"));
    QVERIFY2(play, "not on screen");
    m_desktop.click(play->center());
    QVERIFY2(screen.waitFor([](const AccessibleNode &node) { return node.name == u"Stop"; }, 5000),
             "not on screen");
    m_desktop.saveScreenshot(QStringLiteral("meeting"));
    m_desktop.click(screen.find(QStringLiteral("push button"), QStringLiteral("Stop"))
                        .value_or(AccessibleNode{})
                        .center());
}

void TestEndToEnd::backendNeverAnswers()
{
    m_server->pause();
    QVERIFY(focusField());
    const qsizetype from = m_ovrin.mark();
    QVERIFY2(m_user->holdAndSay({QStringLiteral("Control_R")},
                                QStringLiteral("● Recording started"), QStringLiteral("hello")),
             qPrintable(m_user->failure()));
    // The session's own 25-second limit, on the real clock.
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("⏱ Timed out — no response from the backend."),
                                35000, from),
             qPrintable(m_ovrin.logSince(from)));
    AccessibleApp &screen = m_user->screen();
    QVERIFY2(screen.waitForName(QStringLiteral("This is taking longer than expected. Make sure the "
                                               "backend is running, then try again."),
                                5000),
             "not on screen");
    m_desktop.saveScreenshot(QStringLiteral("backend-never-answers"));
    // The cancelled request fails later; that must not bring a second message.
    m_server->resume();
    QVERIFY(!m_ovrin.waitForLog(QStringLiteral("ERROR: "), 2000, from));
}

void TestEndToEnd::backendStopped()
{
    m_server->stop();
    QVERIFY(focusField());
    const qsizetype from = m_ovrin.mark();
    QVERIFY2(m_user->holdAndSay({QStringLiteral("Control_R")},
                                QStringLiteral("● Recording started"), QStringLiteral("hello")),
             qPrintable(m_user->failure()));
    QVERIFY2(m_ovrin.waitForLog(QStringLiteral("ERROR: ") + unreachable, 10000, from),
             qPrintable(m_ovrin.logSince(from)));
    AccessibleApp &screen = m_user->screen();
    QVERIFY2(screen.waitForName(QStringLiteral("Transcription failed: ") + unreachable, 5000),
             "not on screen");
    m_desktop.saveScreenshot(QStringLiteral("backend-stopped"));
}

QTEST_MAIN(TestEndToEnd)
#include "TestEndToEnd.moc"
