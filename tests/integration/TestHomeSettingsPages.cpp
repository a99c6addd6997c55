// The Home, Settings, Console and Connections pages of the main window on the test desktop:
// what they show from the fake backend and the application model, and what their
// controls change.
#include "platform/linux/FnKey.h"
#include "ui/MainWindowState.h"
#include "ui/ThemeStore.h"
#include "window/MainWindowFixture.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

namespace {

enum Page { home = 0, settings = 1, console = 3, connections = 11 };

QQuickItem *visibleItem(QQuickItem *root, const QString &objectName)
{
    QQuickItem *item = MainWindowFixture::findItem(root, objectName);
    return item && item->isVisible() ? item : nullptr;
}

} // namespace

class TestHomeSettingsPages : public QObject
{
    Q_OBJECT

    MainWindowFixture m_rig;

    // Presses Space on the control, as a keyboard user would; the page scrolls it into view.
    void press(QQuickItem *control)
    {
        QVERIFY(control);
        control->forceActiveFocus(Qt::TabFocusReason);
        QTRY_VERIFY(control->hasActiveFocus());
        QTest::keyClick(m_rig.window(), Qt::Key_Space);
    }

    // The settings file as it is on disk.
    QJsonObject savedSettings() const
    {
        QFile file(m_rig.settings->fileURL());
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    }

    void setSetup(bool microphone, bool accessibility, bool screen, bool backendUp)
    {
        m_rig.permissions.microphone =
            microphone ? MicrophoneAuthorization::authorized : MicrophoneAuthorization::denied;
        m_rig.permissions.accessibility = accessibility;
        m_rig.permissions.screenRecording = screen;
        m_rig.health.reachable = backendUp;
        m_rig.model->refreshPermissions();
        QTRY_COMPARE(m_rig.model->backendReachable(), backendUp);
    }

private Q_SLOTS:
    void initTestCase()
    {
        FnKey::shared().setKey("Control_R");
        MainWindowState::shared().setUpdateInfo("Updates come with your system's packages.");
        QVERIFY(m_rig.start());
    }

    void homeListsOnlyWhatIsMissing()
    {
        setSetup(true, true, true, true);
        QQuickItem *page = m_rig.showPage(home);
        QVERIFY(page);
        VERIFY_TEXT(page, "Talk to your computer");
        VERIFY_TEXT(page, "Hold Right Ctrl anywhere to dictate. Use the shortcuts below "
                          "for AI and screen help.");
        VERIFY_TEXT(page, "All set");
        QVERIFY(!MainWindowFixture::findText(page, "Finish setup"));
        QVERIFY(!MainWindowFixture::findText(page, "Enable"));

        // The shortcuts panel names the model's keys.
        for (const QString &text :
             {QStringLiteral("Dictate"), QStringLiteral("Right Ctrl"), QStringLiteral("Ask AI"),
              QStringLiteral("Right Ctrl+Left Ctrl"), QStringLiteral("Read screen"),
              QStringLiteral("Right Ctrl+Left Ctrl+Alt"), QStringLiteral("Hands-free"),
              QStringLiteral("Right Ctrl ×2")})
            VERIFY_TEXT(page, text);

        // Losing permissions while the page is open adds their rows; the backend row names
        // the command that starts it.
        setSetup(false, true, false, false);
        VERIFY_TEXT(page, "Finish setup");
        QVERIFY(!MainWindowFixture::findText(page, "All set"));
        VERIFY_TEXT(page, "Microphone access");
        VERIFY_TEXT(page, "Required for dictation and Ask AI.");
        VERIFY_TEXT(page, "Screen Recording");
        VERIFY_TEXT(page, "Required for Read screen.");
        VERIFY_TEXT(page, "Backend offline");
        VERIFY_TEXT(page, MainWindowState::shared().backendCommand());
        QVERIFY(!visibleItem(page, "setup-accessibility"));

        QSignalSpy microphoneRequests(m_rig.model.get(), &AppModel::microphoneAccessRequested);
        press(MainWindowFixture::findText(visibleItem(page, "setup-microphone"), "Enable"));
        QTRY_COMPARE(microphoneRequests.count(), 1);
        // "Retry" reads every permission and asks the backend again.
        const int checks = m_rig.health.healthChecks;
        press(MainWindowFixture::findText(visibleItem(page, "setup-backend"), "Retry"));
        QTRY_COMPARE(m_rig.health.healthChecks, checks + 1);
        press(MainWindowFixture::findText(visibleItem(page, "setup-screen"), "Enable"));
        QTRY_COMPARE(MainWindowState::shared().helpTopic(),
                     QStringLiteral("Privacy_ScreenCapture"));
        MainWindowState::shared().setHelpTopic({});

        // Accessibility alone is missing: its row and nothing else.
        setSetup(true, false, true, true);
        QTRY_VERIFY(visibleItem(page, "setup-accessibility"));
        VERIFY_TEXT(page,
                    "Required for global hotkeys. Launch with ./run.sh if Ovrin isn't listed.");
        QVERIFY(!MainWindowFixture::findText(page, "Microphone access"));
        QVERIFY(!MainWindowFixture::findText(page, "Backend offline"));
        setSetup(true, true, true, true);
        QTRY_VERIFY(MainWindowFixture::findText(page, "All set"));
    }

    void homeShowsHowEachFunctionReachesTheDesktop()
    {
        QQuickItem *page = m_rig.showPage(home);
        QVERIFY(page);
        // A Wayland desktop where keys cannot be seen: the row says what to do, and the
        // accessibility row points to it instead of an X11 remedy.
        m_rig.model->setDesktopRungs(
            QStringLiteral("Wayland (sway)"),
            {{QStringLiteral("Hotkeys"), QStringLiteral("Only the command ovrin toggle"),
              QStringLiteral("Join the input group: sudo usermod -aG input $USER, then log out "
                             "and in again."),
              false},
             {QStringLiteral("Paste"), QStringLiteral("Compositor virtual keyboard"), {}, true}});
        setSetup(true, false, true, true);
        QTRY_VERIFY(visibleItem(page, "desktopCard"));
        VERIFY_TEXT(page, "Desktop: Wayland (sway)");
        VERIFY_TEXT(page, "Hotkeys: Only the command ovrin toggle");
        VERIFY_TEXT(page, "Paste: Compositor virtual keyboard");
        QVERIFY(visibleItem(page, "rung-Hotkeys"));
        VERIFY_TEXT(page, "Required for hold-to-talk. The Desktop card below says what to enable.");
        // The advice is selectable text, so the command can be copied.
        QVERIFY(MainWindowFixture::findText(
            page, "Join the input group: sudo usermod -aG input $USER, then log out and in again."));
        QVERIFY(m_rig.model->logLines().last().contains(
            QStringLiteral("Paste on Wayland (sway): Compositor virtual keyboard")));
        m_rig.saveScreenshot(QStringLiteral("page-home-wayland"));

        m_rig.model->setDesktopRungs(QStringLiteral("X11"), {});
        setSetup(true, true, true, true);
        QTRY_VERIFY(!visibleItem(page, "desktopCard"));
    }

    void homeLoginPromptSetsTheLoginItem()
    {
        setSetup(true, true, true, true);
        QQuickItem *page = m_rig.showPage(home);
        QVERIFY(!visibleItem(page, "launchAtLoginPrompt"));
        m_rig.model->evaluateLaunchAtLoginPrompt(true);
        QTRY_VERIFY(visibleItem(page, "launchAtLoginPrompt"));
        VERIFY_TEXT(page, "Start Ovrin at login?");
        VERIFY_TEXT(page, "Ovrin stays in the system tray so global hotkeys work in any app. "
                          "Open it automatically when you log in?");
        // Without a tray host the window stays in the panel instead.
        MainWindowState::shared().setTrayMissing(true);
        VERIFY_TEXT(page, "Ovrin stays in the panel so global hotkeys work in any app. Open it "
                          "automatically when you log in?");
        MainWindowState::shared().setTrayMissing(false);
        VERIFY_TEXT(page, "Not Now");
        press(MainWindowFixture::findText(page, "Open at Login"));
        QTRY_VERIFY(m_rig.loginItem.enabled);
        QVERIFY(m_rig.defaults->value("launchAtLoginPromptAnswered").toBool());
        QTRY_VERIFY(!visibleItem(page, "launchAtLoginPrompt"));
    }

    void settingsWriteTheFileAsTheyChange()
    {
        QQuickItem *page = m_rig.showPage(settings);
        QVERIFY(page);
        for (const char *text :
             {"Settings", "Hotkeys, cleanup, and how text lands in your apps.",
              "Changes save automatically", "Dictate (hold to type)", "Ask AI (hold to ask)",
              "Read screen (hold to ask about screen)", "Paste automatically into focused app",
              "Clean up dictation with AI",
              "Cleanup removes filler words and fixes punctuation before pasting. Runs on the "
              "backend; doesn't affect Ask-AI.",
              "Which microphone Ovrin records from. “System Default” follows your computer's "
              "current input. Applies on your next dictation.",
              "Refresh device list", "Light, dark, or match your system appearance.",
              "Launch at login", "Check for Updates", "Ovrin checks for updates automatically.",
              "Ada Lovelace", "ada@example.com", "Sign Out"})
            VERIFY_TEXT(page, text);

        const bool paste = m_rig.settings->current().pasteAutomatically;
        press(MainWindowFixture::findItem(page, "pasteSwitch"));
        QTRY_COMPARE(m_rig.settings->current().pasteAutomatically, !paste);
        QCOMPARE(savedSettings().value("pasteAutomatically").toBool(), !paste);

        QVERIFY(m_rig.settings->current().includeComputerAudio);
        press(MainWindowFixture::findItem(page, "computerAudioSwitch"));
        QTRY_VERIFY(!m_rig.settings->current().includeComputerAudio);
        QCOMPARE(savedSettings().value("includeComputerAudio").toBool(), false);

        // Off by default: the microphone opens only while a key is held.
        QVERIFY(!m_rig.settings->current().warmMicrophone);
        press(MainWindowFixture::findItem(page, "warmMicrophoneSwitch"));
        QTRY_VERIFY(m_rig.settings->current().warmMicrophone);
        QCOMPARE(savedSettings().value("warmMicrophone").toBool(), true);

        const bool cleanup = m_rig.settings->current().cleanupEnabled;
        press(MainWindowFixture::findItem(page, "cleanupSwitch"));
        QTRY_COMPARE(m_rig.settings->current().cleanupEnabled, !cleanup);
        QCOMPARE(savedSettings().value("cleanupEnabled").toBool(), !cleanup);
        // The switch follows the store when something else changes it.
        Settings changed = m_rig.settings->current();
        changed.cleanupEnabled = cleanup;
        m_rig.settings->save(changed);
        QTRY_COMPARE(
            MainWindowFixture::findItem(page, "cleanupSwitch")->property("checked").toBool(),
            cleanup);

        // The window turns dark at once, and back.
        press(MainWindowFixture::findItem(page, "theme-dark"));
        QTRY_VERIFY(ThemeStore::shared().dark());
        QCOMPARE(m_rig.settings->current().theme, AppTheme::dark);
        QCOMPARE(savedSettings().value("theme").toString(), QStringLiteral("dark"));
        press(MainWindowFixture::findItem(page, "theme-light"));
        QTRY_VERIFY(!ThemeStore::shared().dark());
        QVERIFY(MainWindowFixture::findItem(page, "theme-light")->property("checked").toBool());
        QVERIFY(!MainWindowFixture::findItem(page, "theme-dark")->property("checked").toBool());

        // A login item that refuses leaves the switch off.
        m_rig.loginItem.enabled = false;
        m_rig.model->refreshPermissions();
        QQuickItem *login = MainWindowFixture::findItem(page, "launchAtLoginSwitch");
        QTRY_VERIFY(!login->property("checked").toBool());
        m_rig.loginItem.failure = QStringLiteral("no autostart folder");
        press(login);
        QTRY_VERIFY(!login->property("checked").toBool());
        m_rig.loginItem.failure.reset();
        press(login);
        QTRY_VERIFY(m_rig.loginItem.enabled);
        QVERIFY(login->property("checked").toBool());

        // The fn key choice, by its label; the hotkey fields and their help follow it.
        QQuickItem *fnKey = MainWindowFixture::findItem(page, "fnKeyBox");
        QQuickItem *hint = MainWindowFixture::findItem(page, "hotkeyHint");
        QVERIFY(hint->property("text").toString().contains("or hold Right Ctrl."));
        QCOMPARE(fnKey->property("displayText").toString(), QStringLiteral("Right Ctrl"));
        fnKey->forceActiveFocus(Qt::TabFocusReason);
        QTest::keyClick(m_rig.window(), Qt::Key_Down);
        QTRY_COMPARE(FnKey::shared().key(), QStringLiteral("Alt_R"));
        QCOMPARE(fnKey->property("displayText").toString(), QStringLiteral("Right Alt"));
        QVERIFY(hint->property("text").toString().contains("Double-tap Right Alt for hands-free"));
        m_rig.saveScreenshot(QStringLiteral("settings-hotkeys-fn-right-alt"));
        FnKey::shared().setKey("Control_R");

        press(MainWindowFixture::findText(page, "Check for Updates"));
        QObject *dialog = page->findChild<QObject *>("updateDialog");
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->property("visible").toBool());
        QVERIFY(MainWindowFixture::findText(dialog->property("contentItem").value<QQuickItem *>(),
                                            "Updates come with your system's packages."));
        QTest::keyClick(m_rig.window(), Qt::Key_Escape);
        QTRY_VERIFY(!dialog->property("visible").toBool());
    }

    void settingsMicrophoneKeepsAnUnpluggedChoice()
    {
        Settings saved = m_rig.settings->current();
        saved.micUID = QStringLiteral("usb-headset-gone");
        m_rig.settings->save(saved);
        QQuickItem *page = m_rig.showPage(settings);
        QQuickItem *box = MainWindowFixture::findItem(page, "microphoneBox");
        QVERIFY(box);
        QCOMPARE(box->property("displayText").toString(),
                 QStringLiteral("Saved device (disconnected)"));
        QVERIFY(box->property("count").toInt() >= 2);
        QCOMPARE(box->property("currentIndex").toInt(), box->property("count").toInt() - 1);

        // Up to the top of the list: "System Default", saved as no device at all.
        box->forceActiveFocus(Qt::TabFocusReason);
        while (box->property("currentIndex").toInt() > 0)
            QTest::keyClick(m_rig.window(), Qt::Key_Up);
        QCOMPARE(box->property("displayText").toString(), QStringLiteral("System Default"));
        QTRY_COMPARE(m_rig.settings->current().micUID, QString());
        QCOMPARE(savedSettings().value("micUID").toString(), QString());
        QVERIFY(!MainWindowFixture::findText(page, "Saved device (disconnected)"));
    }

    void consoleFollowsAndCopiesTheLog()
    {
        m_rig.model->log(QStringLiteral("Hotkeys ready."));
        QQuickItem *page = m_rig.showPage(console);
        QVERIFY(page);
        VERIFY_TEXT(page, "Console");
        VERIFY_TEXT(page, "What Ovrin is doing under the hood.");
        QQuickItem *log = MainWindowFixture::findItem(page, "logText");
        QVERIFY(log->property("text").toString().endsWith("] Hotkeys ready."));

        QGuiApplication::clipboard()->clear();
        press(MainWindowFixture::findText(page, "Copy all"));
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), m_rig.model->logLines().join('\n'));

        // At the end, new lines scroll into view; scrolled back, the view stays put.
        QQuickItem *view = MainWindowFixture::findItem(page, "logView");
        const auto atEnd = [view] {
            return view->property("contentY").toReal() + view->height() >=
                   view->property("contentHeight").toReal() - 1;
        };
        for (int line = 0; line < 80; ++line)
            m_rig.model->log(QStringLiteral("Line %1").arg(line));
        QTRY_VERIFY(view->property("contentHeight").toReal() > 2 * view->height());
        QTRY_VERIFY(atEnd());
        view->setProperty("contentY", 0);
        const qreal before = view->property("contentHeight").toReal();
        m_rig.model->log(QStringLiteral("One more"));
        QTRY_VERIFY(view->property("contentHeight").toReal() > before);
        QCOMPARE(view->property("contentY").toReal(), 0.0);
    }

    void connectionsFollowTheBackend()
    {
        QQuickItem *page = m_rig.showPage(connections);
        QVERIFY(page);
        VERIFY_TEXT(page, "Connections");
        VERIFY_TEXT(page, "Link your apps so the assistant can read your email, calendar, and "
                          "messages.");
        VERIFY_TEXT(page, "You'll approve access on the provider's own sign-in page. You can "
                          "disconnect any time.");
        // The backend's calendar first and connected, then the offered apps it does not list.
        QTRY_VERIFY(MainWindowFixture::findText(visibleItem(page, "app-calendar"), "Connected"));
        VERIFY_TEXT(visibleItem(page, "app-calendar"), "Disconnect");
        VERIFY_TEXT(visibleItem(page, "app-email"), "Email");
        VERIFY_TEXT(visibleItem(page, "app-messages"), "Messages");
        QVERIFY(!MainWindowFixture::findText(visibleItem(page, "app-email"), "Connected"));

        press(MainWindowFixture::findText(visibleItem(page, "app-email"), "Connect"));
        QTRY_COMPARE(m_rig.openedUrls.value(0), QUrl("https://provider.example/consent"));
        QTRY_VERIFY(MainWindowFixture::findText(page, "Waiting for approval in your browser…"));

        // Approved in the browser: the next poll ends the wait.
        m_rig.server.on("GET", "/connections")
            .json(
                {{"apps",
                  QJsonArray{
                      QJsonObject{{"slug", "calendar"}, {"label", "Calendar"}, {"connected", true}},
                      QJsonObject{{"slug", "email"}, {"label", "Email"}, {"connected", true}}}}});
        m_rig.scheduler.advance(3.0);
        QTRY_VERIFY(!MainWindowFixture::findText(page, "Waiting for approval in your browser…"));
        QTRY_VERIFY(MainWindowFixture::findText(visibleItem(page, "app-email"), "Connected"));

        press(MainWindowFixture::findText(visibleItem(page, "app-calendar"), "Disconnect"));
        QTRY_VERIFY(std::any_of(m_rig.server.requests().cbegin(), m_rig.server.requests().cend(),
                                [](const FakeRequest &request) {
                                    return request.method == "DELETE" &&
                                           request.path == "/connections/calendar";
                                }));
        // The list read again after the disconnect, before the next reply is scripted.
        QTRY_COMPARE(m_rig.server.lastRequest().method, QByteArray("GET"));
        QCOMPARE(m_rig.server.lastRequest().path, QStringLiteral("/connections"));

        // A failing backend shows in the page's banner.
        m_rig.server.once("GET", "/connections").status(500).json({{"error", "store offline"}});
        QVERIFY(m_rig.showPage(home));
        page = m_rig.showPage(connections);
        QTRY_VERIFY(visibleItem(page, "loadError"));
    }

    // The smallest window: long pages scroll, and Tab brings a hidden control into view.
    void pagesAtTheSmallestWindow()
    {
        m_rig.window()->resize(900, 600);
        QTRY_COMPARE(m_rig.window()->width(), 900);
        setSetup(false, false, false, false); // the home page at its longest
        for (const AppTheme theme : {AppTheme::light, AppTheme::dark}) {
            ThemeStore::shared().setPreference(theme);
            for (const auto &[id, name] : {std::pair{home, "home"},
                                           {settings, "settings"},
                                           {console, "console"},
                                           {connections, "connections"}}) {
                QVERIFY(m_rig.showPage(id));
                QTest::qWait(100);
                m_rig.saveScreenshot(
                    QStringLiteral("page-%1-900x600-%2").arg(name, appThemeName(theme)));
            }
        }
        ThemeStore::shared().setPreference(AppTheme::light);
        setSetup(true, true, true, true);
        QQuickItem *page = m_rig.showPage(settings);
        QQuickItem *signOut = MainWindowFixture::findText(page, "Sign Out");
        QVERIFY(signOut);
        const auto bottom = [&] { return signOut->mapToScene({0, signOut->height()}).y(); };
        QVERIFY(bottom() > m_rig.window()->height());
        signOut->forceActiveFocus(Qt::TabFocusReason);
        QTRY_VERIFY(bottom() <= m_rig.window()->height());
        m_rig.saveScreenshot(QStringLiteral("page-settings-900x600-end"));
        m_rig.window()->resize(960, 640);
    }
};

QTEST_MAIN(TestHomeSettingsPages)
#include "TestHomeSettingsPages.moc"
