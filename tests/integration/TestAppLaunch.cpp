// The application delegate on the test desktop (X, tray host, AT-SPI, keyring, audio), with
// a manual clock: the launch log in order, the tray menu, the permission poll arming the
// real key source, recent transcripts, the meeting item, sign-in callbacks and the help.
#include "app/AppDelegate.h"
#include "app/CaptureStack.h"
#include "app/TrayStatusItem.h"
#include "audio/MeetingRecorder.h"
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "hotkeys/HotkeyManager.h"
#include "hotkeys/ShortcutRecorder.h"
#include "platform/AccessibilitySwitch.h"
#include "platform/linux/AtspiFocusedTextReader.h"
#include "platform/linux/X11KeySource.h"
#include "platform/linux/X11KeySynthesizer.h"
#include "platform/linux/X11KeyboardMap.h"
#include "platform/linux/X11WindowSystem.h"
#include "platform/linux/XFixesClipboardWatcher.h"
#include "platform/linux/XdgInstalledApps.h"
#include "state/AppModel.h"
#include "stores/HistoryStore.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"
#include "ui/MainWindow.h"
#include "ui/MainWindowState.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QMenu>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSystemTrayIcon>
#include <QTest>

namespace {

struct FakeAccessibilitySwitch : AccessibilitySwitch
{
    Outcome switchOn() override
    {
        ++calls;
        return Outcome::alreadyOn;
    }
    int calls = 0;
};

// The log without its "[HH:mm:ss] " stamps.
QStringList messages(const AppModel &model)
{
    QStringList lines;
    for (const QString &line : model.logLines())
        lines << line.mid(11);
    return lines;
}

QStringList menuTexts(const QMenu &menu)
{
    QStringList texts;
    for (const QAction *action : menu.actions())
        texts << (action->isSeparator() ? QStringLiteral("—") : action->text());
    return texts;
}

} // namespace

class TestAppLaunch : public QObject
{
    Q_OBJECT

    FakePermissions m_permissions;
    FakeLoginItem m_loginItem;
    RecordingSystemLog m_systemLog;
    std::unique_ptr<X11KeySource> m_keySource;
    std::unique_ptr<X11KeySynthesizer> m_keySynthesizer;
    AtspiFocusedTextReader m_focusedText;
    std::unique_ptr<XFixesClipboardWatcher> m_clipboard;
    XdgInstalledApps m_installedApps{QStringList{}};
    FakeAccessibilitySwitch m_accessibilitySwitch;
    std::unique_ptr<X11KeyboardMap> m_keyboardMap;
    X11WindowSystem m_windowSystem;
    ManualClock m_clock;
    ManualScheduler m_scheduler{m_clock};
    std::unique_ptr<AppDelegate> m_delegate;

    AppModel &model() { return m_delegate->model(); }
    int count(const QString &message) { return int(messages(model()).count(message)); }
    // One turn of the permission poll.
    void poll() { m_scheduler.advance(AppDelegate::permissionPollSeconds); }

private Q_SLOTS:
    void initTestCase()
    {
        OVRIN_REQUIRE_SERVICE(QSystemTrayIcon::isSystemTrayAvailable(),
                              "an X server with a tray host");
        QGuiApplication::setDesktopFileName(QStringLiteral("com.ovrin.app"));
        m_keySource = std::make_unique<X11KeySource>();
        m_keySynthesizer = std::make_unique<X11KeySynthesizer>();
        m_clipboard = std::make_unique<XFixesClipboardWatcher>();
        m_keyboardMap = std::make_unique<X11KeyboardMap>(FnKey::shared().key());
        m_permissions.accessibility = false;
        m_delegate = std::make_unique<AppDelegate>(
            PlatformServices{.permissions = m_permissions,
                             .loginItem = m_loginItem,
                             .systemLog = m_systemLog,
                             .keySource = *m_keySource,
                             .keySynthesizer = *m_keySynthesizer,
                             .focusedText = m_focusedText,
                             .clipboard = *m_clipboard,
                             .installedApps = m_installedApps,
                             .accessibilitySwitch = m_accessibilitySwitch,
                             .windowSystem = &m_windowSystem},
            m_clock, m_scheduler);
        m_delegate->launch();
    }

    void cleanupTestCase() { m_delegate.reset(); }

    void launchLogsInOrderAndShowsTheWindow()
    {
        const QStringList log = messages(model());
        const QString running =
            QStringLiteral("Running as com.ovrin.app — ") + QCoreApplication::applicationFilePath();
        const QStringList expected{
            running, "⚠️ Wrong launch target. Accessibility will not work reliably.",
            "   Use: ./run.sh in the Ovrin folder, or Ovrin from your applications menu once "
            "it is installed.",
            "   Avoid: starting build/bin/ovrin directly, from an IDE or a debugger, or a copy "
            "of the binary moved elsewhere.",
            "Launched."};
        qsizetype at = -1;
        for (const QString &line : expected) {
            const qsizetype next = log.indexOf(line, at + 1);
            QVERIFY2(next > at, qPrintable(line + "\n\n" + log.join('\n')));
            at = next;
        }
        QVERIFY(m_systemLog.lines.contains("Launched."));
        QVERIFY(!MainWindowState::shared().trayMissing());
        QQuickWindow *window = m_delegate->mainWindow().window();
        QVERIFY(window);
        QTRY_VERIFY(window->isVisible());
    }

    void trayMenuHasItsItems()
    {
        const QMenu &menu = *m_delegate->statusItem().menu();
        QCOMPARE(menuTexts(menu), (QStringList{"Ready", "—", "Record Meeting", "—", "Open Ovrin",
                                               "Settings…", "—", "Quit Ovrin"}));
        QVERIFY(!menu.actions().first()->isEnabled());
        QCOMPARE(m_delegate->statusItem().iconName(), QStringLiteral("microphone-idle"));
    }

    // The poll arms the real key source within one 2 s tick of trust, and disarms it when
    // trust goes, each logged once.
    void permissionPollFollowsTrust()
    {
        const QString granted =
            "✓ Accessibility granted — global hotkey is now ACTIVE. Try it from any app.";
        const QString revoked = "Accessibility was revoked — global hotkey disabled.";
        HotkeyManager &hotkey = m_delegate->capture().hotkey();
        QVERIFY(!hotkey.isStarted());
        QCOMPARE(count(granted), 0);

        m_permissions.accessibility = true;
        m_scheduler.advance(1.0);
        QVERIFY(!hotkey.isStarted());
        m_scheduler.advance(1.0);
        QVERIFY(hotkey.isStarted());
        poll();
        QCOMPARE(count(granted), 1);

        // A settings field recording a shortcut has the keys to itself meanwhile.
        ShortcutRecorder recorder(m_keyboardMap.get());
        recorder.toggle();
        QVERIFY(!hotkey.isStarted());
        poll();
        QVERIFY(!hotkey.isStarted());
        recorder.toggle();
        QVERIFY(hotkey.isStarted());
        QCOMPARE(count(granted), 1);

        m_permissions.accessibility = false;
        poll();
        QVERIFY(!hotkey.isStarted());
        poll();
        QCOMPARE(count(revoked), 1);
        m_permissions.accessibility = true;
        poll();
        QCOMPARE(count(granted), 2);
    }

    void recentTranscriptsInTheMenu()
    {
        // Without transcripts the block is its header and separator alone.
        TrayStatusItem &item = m_delegate->statusItem();
        HistoryStore::shared().setTranscriptEntries({});
        QMetaObject::invokeMethod(item.menu(), "aboutToShow");
        QCOMPARE(menuTexts(*item.menu()).mid(0, 5),
                 (QStringList{"Ready", "—", "Recent transcripts", "—", "Record Meeting"}));

        const QDateTime now = m_clock.wallTime();
        const QString exact48(48, u'x');
        const QString long49 = QString(48, u'y') + u'z';
        QList<HistoryEntry> entries;
        const QStringList texts{"oldest", "second", "third", exact48, long49, "newest"};
        for (int i = 0; i < texts.size(); ++i)
            entries.append({QString::number(i), now.addSecs(i), EntryKind::dictation, texts[i]});
        std::reverse(entries.begin(), entries.end()); // as the backend lists them
        HistoryStore::shared().setTranscriptEntries(entries);

        QMetaObject::invokeMethod(item.menu(), "aboutToShow");
        const QStringList shown = menuTexts(*item.menu());
        QCOMPARE(shown.mid(0, 9),
                 (QStringList{"Ready", "—", "Recent transcripts", "newest",
                              QString(48, u'y') + u'…', exact48, "third", "second", "—"}));
        QCOMPARE(item.transcriptItems().size(), 7);
        QCOMPARE(item.transcriptItems().at(2)->toolTip(), long49);

        // Opening again rebuilds the block instead of adding a second one.
        QMetaObject::invokeMethod(item.menu(), "aboutToShow");
        QCOMPARE(menuTexts(*item.menu()).count("Recent transcripts"), 1);

        item.transcriptItems().at(2)->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), long49);
        m_scheduler.runPending();
        QCOMPARE(item.statusText(), QStringLiteral("Copied ✓"));
    }

    // The tray's item and the Meetings page's button drive the same recorder; the log says
    // which one started it.
    void meetingItemFollowsTheRecorder()
    {
        TrayStatusItem &item = m_delegate->statusItem();
        item.meetingItem()->trigger();
        QVERIFY2(MeetingRecorder::shared().isRecording(), qPrintable(model().logLines().last()));
        QCOMPARE(item.meetingItem()->text(), QStringLiteral("Stop Recording Meeting"));
        QCOMPARE(item.iconName(), QStringLiteral("media-record"));
        QCOMPARE(item.statusText(), QStringLiteral("Recording meeting…"));
        QCOMPARE(messages(model()).last(),
                 QStringLiteral("Meeting recording started from the system tray."));
        // This recorder has no computer-audio source: said once, in the activity log.
        QCOMPARE(count("Computer audio isn't available; recording the microphone only."), 1);

        item.meetingItem()->trigger();
        QVERIFY(!MeetingRecorder::shared().isRecording());
        QCOMPARE(item.meetingItem()->text(), QStringLiteral("Record Meeting"));
        QCOMPARE(item.iconName(), QStringLiteral("microphone-idle"));
        QCOMPARE(item.statusText(), QStringLiteral("Meeting saved — transcribing…"));

        Q_EMIT MainWindowState::shared().meetingToggleRequested();
        QVERIFY2(MeetingRecorder::shared().isRecording(), qPrintable(model().logLines().last()));
        QCOMPARE(messages(model()).last(),
                 QStringLiteral("Meeting recording started from the Meetings page."));
        Q_EMIT MainWindowState::shared().meetingToggleRequested();
        QVERIFY(!MeetingRecorder::shared().isRecording());
    }

    void signInCallbacks()
    {
        const qsizetype before = model().logLines().size();
        m_delegate->handleURL(QUrl("https://auth?token=abc"));
        m_delegate->handleURL(QUrl("ovrin://login?token=abc"));
        QCOMPARE(model().logLines().size(), before);

        m_delegate->handleArguments({"ovrin", "ovrin://auth?error=access%20denied"});
        QCOMPARE(messages(model()).last(), QStringLiteral("Sign-in failed: access denied"));
        QCOMPARE(MainWindowState::shared().signInError(),
                 QStringLiteral("Sign-in failed: access denied"));
        // The login page says it too.
        QQuickWindow *window = m_delegate->mainWindow().window();
        QTRY_VERIFY(window->findChild<QQuickItem *>("loginError"));
        auto *error = window->findChild<QQuickItem *>("loginError");
        QTRY_COMPARE(error->property("text").toString(),
                     QStringLiteral("Sign-in failed: access denied"));
    }

    void privacyHelpOpensInTheWindow()
    {
        m_delegate->openPrivacySettings(QStringLiteral("Privacy_Accessibility"));
        QQuickWindow *window = m_delegate->mainWindow().window();
        auto *help = window->findChild<QObject *>("privacyHelp");
        QVERIFY(help);
        QTRY_VERIFY(help->property("visible").toBool());
        QTest::qWait(300);
        const QString artifacts = QStringLiteral(TEST_ARTIFACT_DIR);
        QDir().mkpath(artifacts);
        window->grabWindow().save(artifacts + QStringLiteral("/main-window-help.png"));
        QMetaObject::invokeMethod(help, "close");
        QTRY_COMPARE(MainWindowState::shared().helpTopic(), QString());

        // Asking for accessibility that is already there only re-arms the hotkey.
        m_delegate->requestAccessibilityAccess();
        QCOMPARE(m_accessibilitySwitch.calls, 0);
        m_permissions.accessibility = false;
        m_delegate->requestAccessibilityAccess();
        QCOMPARE(m_accessibilitySwitch.calls, 1);
        QCOMPARE(MainWindowState::shared().helpTopic(), QStringLiteral("Privacy_Accessibility"));
        m_permissions.accessibility = true;
    }
};

QTEST_MAIN(TestAppLaunch)
#include "TestAppLaunch.moc"
