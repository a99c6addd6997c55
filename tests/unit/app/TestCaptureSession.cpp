#include "support/FakePlatform.h"
#include "support/FakeSession.h"

#include "app/AppModel.h"
#include "app/CaptureSessionController.h"
#include "app/LaunchAtLoginManager.h"
#include "core/ManualScheduler.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

// One controller with fakes for every neighbour and a manual clock.
struct Rig
{
    QTemporaryDir dir;
    QSettings defaults{dir.filePath(QStringLiteral("defaults.ini")), QSettings::IniFormat};
    ManualClock clock;
    ManualScheduler scheduler{clock};
    FakePermissions permissions;
    FakeHealth health;
    FakeLoginItem loginItem;
    LaunchAtLoginManager launchAtLogin{loginItem, defaults};
    RecordingSystemLog systemLog;
    AppModel model{clock, permissions, health, launchAtLogin, systemLog};
    FakeSession fake;
    CaptureSessionController controller{fake.services(), model, permissions, scheduler};

    Rig() { model.refreshPermissions(); }

    // Log messages without their time prefix.
    QStringList log() const { return systemLog.lines; }
    // Runs deferred work (status updates) and returns the events so far, then forgets them.
    QStringList take()
    {
        scheduler.runPending();
        QStringList events = fake.events;
        fake.events.clear();
        systemLog.lines.clear();
        return events;
    }
    void record(CaptureMode mode = CaptureMode::paste)
    {
        controller.handleHoldStart(mode);
        take();
    }
    void release(CaptureMode mode = CaptureMode::paste) { controller.handleHoldStop(mode); }
};

#define EXPECT_IDLE(rig)                                                                           \
    QCOMPARE((rig).controller.state(), SessionState::idle);                                        \
    QCOMPARE((rig).model.activity(), Activity::idle)

class TestCaptureSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startByMode_data();
    void startByMode();
    void startRefusals_data();
    void startRefusals();
    void keysDuringSessionOnlyLog();
    void handsFree();
    void noAudio();
    void dictationPastes();
    void dictationCopiesWhenPasteIsOff();
    void emptyTranscript();
    void backendFailure_data();
    void backendFailure();
    void historyFailureIsInvisible();
    void watchdogEndsHangingSession();
    void lateAnswerAfterWatchdogIsIgnored_data();
    void lateAnswerAfterWatchdogIsIgnored();
    void watchdogIsDisarmedByResult();
    void askUsesSelection_data();
    void askUsesSelection();
    void askStreamsAnswer();
    void askSilenceAndEmptyAnswer();
    void screenSession();
    void screenWithoutPicture();
    void copyTranscript();
    void statusIsDeferred();
};

void TestCaptureSession::startByMode_data()
{
    QTest::addColumn<CaptureMode>("mode");
    QTest::addColumn<QString>("pressed");
    QTest::addColumn<QString>("started");
    QTest::addColumn<QString>("status");
    QTest::newRow("dictation") << CaptureMode::paste << "▼ Dictation key pressed"
                               << "● Recording started"
                               << "Listening…";
    QTest::newRow("ask") << CaptureMode::ask << "▼ Ask-AI key pressed"
                         << "● Recording (Ask AI)…"
                         << "Listening (Ask AI)…";
    QTest::newRow("screen") << CaptureMode::screen << "▼ Read-screen key pressed"
                            << "● Recording (Read screen)…"
                            << "Listening (Read screen)…";
}

void TestCaptureSession::startByMode()
{
    QFETCH(CaptureMode, mode);
    QFETCH(QString, pressed);
    QFETCH(QString, started);
    QFETCH(QString, status);
    Rig rig;
    rig.controller.handleHoldStart(mode);

    QCOMPARE(rig.controller.state(), SessionState::recording);
    QCOMPARE(rig.model.activity(), Activity::recording);
    QVERIFY(rig.model.hotkeyIsDown());
    QCOMPARE(rig.log(), (QStringList{pressed, started}));
    QStringList expected{"corrections.stop", "prompt.hide"};
    if (mode == CaptureMode::screen)
        expected << "screenshot 1568 0.6";
    expected << "recorder.start"
             << "hud.show recording(" + captureModeName(mode) + ")"
             << "cue.start"
             << "status " + status;
    QCOMPARE(rig.take(), expected);
    QCOMPARE(rig.controller.captureMode(), mode);
    QVERIFY(!rig.controller.handsFree());

    // Input levels reach the HUD.
    rig.fake.recorder.levelHandler(0.25f);
    QCOMPARE(rig.fake.hud.levels, QList<float>{0.25f});
}

void TestCaptureSession::startRefusals_data()
{
    QTest::addColumn<bool>("signedIn");
    QTest::addColumn<MicrophoneAuthorization>("microphone");
    QTest::addColumn<QString>("recorderError");
    QTest::addColumn<QStringList>("log");
    QTest::addColumn<QStringList>("events");
    const QStringList stopWatch{"corrections.stop", "prompt.hide"};

    QTest::newRow("not signed in")
        << false << MicrophoneAuthorization::authorized << QString()
        << QStringList{"Not signed in — opening Ovrin to log in."}
        << stopWatch + QStringList{"hud.error Sign in to Ovrin to use dictation.", "window.show"};
    const QStringList refused{
        "hud.error Microphone access is required. Enable it in System Settings → "
        "Privacy & Security → Microphone.",
        "status Microphone access needed"};
    QTest::newRow("microphone denied")
        << true << MicrophoneAuthorization::denied << QString()
        << QStringList{"Cannot record: microphone permission not granted."} << stopWatch + refused;
    QTest::newRow("microphone restricted")
        << true << MicrophoneAuthorization::restricted << QString()
        << QStringList{"Cannot record: microphone permission not granted."} << stopWatch + refused;
    QTest::newRow("recorder fails")
        << true << MicrophoneAuthorization::authorized << "No input device"
        << QStringList{"ERROR starting recorder: No input device"}
        << stopWatch + QStringList{"recorder.start",
                                   "hud.error Couldn't start the microphone: "
                                   "No input device",
                                   "cue.fail", "status Mic error: No input device"};
}

void TestCaptureSession::startRefusals()
{
    QFETCH(bool, signedIn);
    QFETCH(MicrophoneAuthorization, microphone);
    QFETCH(QString, recorderError);
    QFETCH(QStringList, log);
    QFETCH(QStringList, events);
    Rig rig;
    rig.fake.signIn.signedIn = signedIn;
    rig.permissions.microphone = microphone;
    rig.model.refreshPermissions();
    if (!recorderError.isEmpty())
        rig.fake.recorder.startError = recorderError;

    rig.controller.startRecording(CaptureMode::paste, false);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log(), log);
    QCOMPARE(rig.take(), events);
}

void TestCaptureSession::keysDuringSessionOnlyLog()
{
    Rig rig;
    // A release with nothing recording changes nothing.
    rig.release();
    QCOMPARE(rig.log(), QStringList{"▲ Key released"});
    QCOMPARE(rig.take(), QStringList{});

    rig.record();
    rig.controller.handleHoldStart(CaptureMode::ask);
    QCOMPARE(rig.log(), QStringList{"▼ Ask-AI key pressed"});
    QCOMPARE(rig.take(), QStringList{});
    QCOMPARE(rig.controller.captureMode(), CaptureMode::paste);

    rig.fake.backend.transcribeCall.hang = true;
    rig.release(CaptureMode::ask); // a different chord's release still ends the session
    QCOMPARE(rig.controller.state(), SessionState::working);
    rig.take();
    rig.controller.handleHoldStart(CaptureMode::paste);
    rig.release();
    QCOMPARE(rig.log(), (QStringList{"▼ Dictation key pressed", "▲ Key released"}));
    QCOMPARE(rig.take(), QStringList{});
    QCOMPARE(rig.controller.state(), SessionState::working);
}

void TestCaptureSession::handsFree()
{
    Rig rig;
    rig.controller.handleHandsFreeStart();
    QVERIFY(rig.controller.handsFree());
    QCOMPARE(rig.controller.captureMode(), CaptureMode::paste);
    QCOMPARE(rig.log().first(), "⊙ Hands-free started (double-tap fn). Tap fn again to stop.");
    rig.take();

    rig.controller.handleHandsFreeStop();
    QCOMPARE(rig.log().first(), "⊙ Hands-free stopped (fn). Transcribing…");
    EXPECT_IDLE(rig);
    QVERIFY(rig.take().contains("paste hello world"));

    // A hands-free stop ends a held session like a release.
    rig.record(CaptureMode::paste);
    rig.controller.handleHandsFreeStop();
    EXPECT_IDLE(rig);
    QVERIFY(rig.take().contains("paste hello world"));
}

void TestCaptureSession::noAudio()
{
    Rig rig;
    rig.record();
    rig.fake.recorder.take.reset();
    rig.release();
    EXPECT_IDLE(rig);
    QCOMPARE(
        rig.fake.shell.icons,
        (QList<SessionState>{SessionState::recording, SessionState::working, SessionState::idle}));
    QCOMPARE(rig.log(), (QStringList{"▲ Key released", "No audio captured (empty buffer)."}));
    QCOMPARE(rig.take(),
             (QStringList{"hud.show processing(paste)", "cue.stop", "recorder.stop", "hud.hide",
                          "status Transcribing…", "status No audio captured"}));
    rig.scheduler.advance(30);
    QCOMPARE(rig.take(), QStringList{}); // the watchdog was disarmed
}

void TestCaptureSession::dictationPastes()
{
    Rig rig;
    rig.fake.settings.settings.cleanupEnabled = true;
    rig.fake.backend.transcribeCall.result = "  hello world \n";
    rig.record();
    rig.release();

    EXPECT_IDLE(rig);
    QCOMPARE(rig.fake.backend.lastWav, QByteArray("RIFF-take"));
    QCOMPARE(rig.model.lastTranscript(), "hello world");
    QCOMPARE(rig.log(), (QStringList{"▲ Key released",
                                     "■ Recording stopped — 9 bytes of WAV. Sending to backend…",
                                     "✓ Transcript: \"hello world\"", "Pasted into focused app."}));
    QCOMPARE(
        rig.take(),
        (QStringList{"hud.show processing(paste)", "cue.stop", "recorder.stop",
                     "backend.transcribe cleanup=true", "hud.hide", "cue.done", "paste hello world",
                     "corrections.start hello world", "backend.addHistory dictation | hello world",
                     "history.refresh transcripts", "status Transcribing…", "status Pasted ✓"}));

    // A correction reported later reaches the log and the prompt.
    rig.fake.corrections.onCorrection("teh", "the");
    QCOMPARE(rig.log(), QStringList{"✎ Correction detected: \"teh\" → \"the\""});
    QCOMPARE(rig.take(), QStringList{"prompt.show teh -> the"});
}

void TestCaptureSession::dictationCopiesWhenPasteIsOff()
{
    Rig rig;
    rig.fake.settings.settings.pasteAutomatically = false;
    rig.record();
    rig.release();
    const QStringList events = rig.take();
    QVERIFY(events.contains("clipboard hello world"));
    QVERIFY(events.contains("backend.transcribe cleanup=false"));
    QVERIFY(events.contains("status Copied to clipboard ✓"));
    QVERIFY(!events.join('\n').contains("paste "));
    QVERIFY(!events.join('\n').contains("corrections.start"));
}

void TestCaptureSession::emptyTranscript()
{
    Rig rig;
    rig.fake.backend.transcribeCall.result = " \n\t\r\n ";
    rig.record();
    rig.release();
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().last(), "API returned empty transcript.");
    const QStringList events = rig.take();
    QCOMPARE(events.mid(4),
             (QStringList{"hud.error Nothing transcribed — no speech detected.", "cue.fail",
                          "status Transcribing…", "status Nothing transcribed"}));
    QCOMPARE(rig.model.lastTranscript(), QString());
}

void TestCaptureSession::backendFailure_data()
{
    QTest::addColumn<CaptureMode>("mode");
    QTest::addColumn<QString>("prefix");
    QTest::newRow("dictation") << CaptureMode::paste << "Transcription failed: ";
    QTest::newRow("ask") << CaptureMode::ask << "Ask failed: ";
    QTest::newRow("screen") << CaptureMode::screen << "Read-screen failed: ";
}

void TestCaptureSession::backendFailure()
{
    QFETCH(CaptureMode, mode);
    QFETCH(QString, prefix);
    Rig rig;
    rig.fake.backend.transcribeCall.error = "Backend error 500: boom";
    rig.record(mode);
    rig.release(mode);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().last(), "ERROR: Backend error 500: boom");
    const QStringList events = rig.take();
    QCOMPARE(events.mid(events.size() - 4),
             (QStringList{"hud.error " + prefix + "Backend error 500: boom", "cue.fail",
                          "status Transcribing…", "status Backend error 500: boom"}));
}

void TestCaptureSession::historyFailureIsInvisible()
{
    Rig rig;
    rig.fake.backend.historyError = "Backend error 503: busy";
    rig.record();
    rig.release();
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().last(), "Pasted into focused app.");
    const QStringList events = rig.take();
    QVERIFY(!events.join('\n').contains("error"));
    QVERIFY(!events.contains("history.refresh transcripts"));
    QVERIFY(!events.contains("cue.fail"));
}

void TestCaptureSession::watchdogEndsHangingSession()
{
    Rig rig;
    rig.fake.backend.transcribeCall.hang = true;
    rig.record();
    rig.release();
    rig.take();
    rig.scheduler.advance(24.9);
    QCOMPARE(rig.controller.state(), SessionState::working);
    QCOMPARE(rig.take(), QStringList{});

    rig.scheduler.advance(0.2);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log(), QStringList{"⏱ Timed out — no response from the backend."});
    QCOMPARE(rig.take(),
             (QStringList{"backend.cancelled",
                          "hud.error This is taking longer than expected. Make sure the backend is "
                          "running, then try again.",
                          "cue.fail"}));
}

void TestCaptureSession::lateAnswerAfterWatchdogIsIgnored_data()
{
    QTest::addColumn<CaptureMode>("mode");
    QTest::addColumn<bool>("fails");
    QTest::newRow("dictation answer") << CaptureMode::paste << false;
    QTest::newRow("dictation failure") << CaptureMode::paste << true;
    QTest::newRow("ask answer") << CaptureMode::ask << false;
    QTest::newRow("screen failure") << CaptureMode::screen << true;
}

void TestCaptureSession::lateAnswerAfterWatchdogIsIgnored()
{
    QFETCH(CaptureMode, mode);
    QFETCH(bool, fails);
    Rig rig;
    rig.fake.backend.transcribeCall.hang = true;
    if (fails)
        rig.fake.backend.transcribeCall.error = "Can't reach the backend.";
    rig.record(mode);
    rig.release(mode);
    rig.scheduler.advance(CaptureSessionController::watchdogSeconds);
    EXPECT_IDLE(rig);
    rig.take();

    rig.fake.backend.gate.release();
    rig.scheduler.advance(60);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log(), QStringList{});
    QCOMPARE(rig.take(), QStringList{});
    QCOMPARE(rig.model.lastTranscript(), QString());

    // The next session works normally.
    rig.fake.backend.transcribeCall = ScriptedCall{"again"};
    rig.record();
    rig.release();
    QVERIFY(rig.take().contains("paste again"));
}

void TestCaptureSession::watchdogIsDisarmedByResult()
{
    Rig rig;
    rig.record();
    rig.release();
    rig.take();
    rig.scheduler.advance(30);
    QCOMPARE(rig.log(), QStringList{});
    QCOMPARE(rig.scheduler.pendingCount(), 0);
}

void TestCaptureSession::askUsesSelection_data()
{
    QTest::addColumn<std::optional<QString>>("accessible");
    QTest::addColumn<std::optional<QString>>("copied");
    QTest::addColumn<QString>("context");
    QTest::addColumn<QString>("logged");
    const QString sixty(60, 'a');
    QTest::newRow("accessibility")
        << std::optional<QString>("pick me") << std::optional<QString>("not me") << "pick me"
        << "✎ Using selected text as context (7 chars): \"pick me\"";
    QTest::newRow("copy fallback")
        << std::optional<QString>() << std::optional<QString>("copied") << "copied"
        << "✎ Using selected text as context (6 chars): \"copied\"";
    QTest::newRow("60 whole") << std::optional<QString>(sixty) << std::optional<QString>() << sixty
                              << "✎ Using selected text as context (60 chars): \"" + sixty + "\"";
    QTest::newRow("61 cut") << std::optional<QString>(sixty + "b") << std::optional<QString>()
                            << sixty + "b"
                            << "✎ Using selected text as context (61 chars): \"" + sixty + "…\"";
    QTest::newRow("none") << std::optional<QString>() << std::optional<QString>() << QString()
                          << QString();
}

void TestCaptureSession::askUsesSelection()
{
    QFETCH(std::optional<QString>, accessible);
    QFETCH(std::optional<QString>, copied);
    QFETCH(QString, context);
    QFETCH(QString, logged);
    Rig rig;
    rig.fake.selection.accessible = accessible;
    rig.fake.selection.copied = copied;
    rig.controller.handleHoldStart(CaptureMode::ask);
    QCOMPARE(rig.controller.askContext(), context);
    QCOMPARE(rig.fake.selection.copyCalls, accessible ? 0 : 1);
    QCOMPARE(rig.log().size(), logged.isEmpty() ? 2 : 3);
    if (!logged.isEmpty())
        QCOMPARE(rig.log().at(1), logged);
}

void TestCaptureSession::askStreamsAnswer()
{
    Rig rig;
    rig.fake.selection.accessible = "selected";
    rig.fake.backend.transcribeCall.result = " what is this? ";
    rig.fake.backend.askCall = {
        " It is a test. \n",
        {},
        false,
        {"It is ", "a test."},
        {{"open_app", "Nowhere"}, {"open_app", "Calendar"}, {"other", "Files"}}};
    rig.record(CaptureMode::ask);
    rig.release(CaptureMode::ask);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.model.lastTranscript(), "what is this?");
    QCOMPARE(rig.log().mid(2),
             (QStringList{"❓ Asked: \"what is this?\"", "⚠️ Couldn't find app: Nowhere",
                          "🚀 Opened Calendar", "✓ AI answered."}));
    QCOMPARE(rig.take().mid(3),
             (QStringList{"backend.transcribe cleanup=false", "hud.stream what is this?",
                          "backend.ask what is this? | selected | Calendar,Files",
                          "hud.delta It is ", "hud.delta a test.", "clipboard It is a test.",
                          "hud.finish fn + Control (Globe⌃) | It is a test.", "cue.done",
                          "history.refresh chat", "status Transcribing…",
                          "status Answered ✓ (copied to clipboard)"}));
}

void TestCaptureSession::askSilenceAndEmptyAnswer()
{
    Rig rig;
    rig.fake.backend.transcribeCall.result = "  ";
    rig.record(CaptureMode::ask);
    rig.release(CaptureMode::ask);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().last(), "Nothing heard for the AI.");
    QStringList events = rig.take();
    QVERIFY(!events.join('\n').contains("backend.ask"));
    QCOMPARE(events.mid(events.size() - 4),
             (QStringList{"hud.error Didn't catch that — no speech detected.", "cue.fail",
                          "status Transcribing…", "status Nothing heard"}));

    rig.fake.backend.transcribeCall.result = "question";
    rig.fake.backend.askCall.result = " \n ";
    rig.record(CaptureMode::ask);
    rig.release(CaptureMode::ask);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().last(), "AI returned an empty answer.");
    events = rig.take();
    QVERIFY(!events.join('\n').contains("clipboard"));
    QVERIFY(events.contains("hud.error The AI returned an empty answer."));
    QVERIFY(events.contains("status No answer"));
}

void TestCaptureSession::screenSession()
{
    Rig rig;
    rig.fake.backend.transcribeCall.result = "";
    rig.record(CaptureMode::screen);
    rig.release(CaptureMode::screen);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().mid(2, 1), QStringList{"◳ Asking about the screen (no question)…"});
    const QStringList events = rig.take();
    QVERIFY(events.contains("backend.askImage What's on my screen? | JPEG"));
    QVERIFY(events.contains("history.refresh chat"));

    rig.fake.backend.transcribeCall.result = "what is this";
    rig.record(CaptureMode::screen);
    rig.release(CaptureMode::screen);
    QCOMPARE(rig.log().mid(2, 1), QStringList{"◳ Asked about screen: \"what is this\""});
    QVERIFY(rig.take().contains("backend.askImage what is this | JPEG"));
}

void TestCaptureSession::screenWithoutPicture()
{
    Rig rig;
    rig.fake.screenshots.jpeg.reset();
    rig.record(CaptureMode::screen);
    rig.release(CaptureMode::screen);
    EXPECT_IDLE(rig);
    QCOMPARE(rig.log().last(), "Screen capture failed — likely Screen Recording permission.");
    const QStringList events = rig.take();
    QVERIFY(!events.join('\n').contains("backend."));
    QCOMPARE(events.mid(3, 3),
             (QStringList{"hud.error Couldn't capture the screen. Enable Screen Recording for "
                          "Ovrin in System Settings → Privacy & Security, then try again.",
                          "privacy Privacy_ScreenCapture", "cue.fail"}));
}

void TestCaptureSession::copyTranscript()
{
    Rig rig;
    rig.controller.copyTranscript(QVariant(QStringLiteral("from the menu")));
    QCOMPARE(rig.log(), QStringList{"Copied transcript from the menu bar."});
    QCOMPARE(rig.take(), (QStringList{"clipboard from the menu", "status Copied ✓"}));

    rig.controller.copyTranscript(QVariant(42));
    rig.controller.copyTranscript(QVariant());
    QCOMPARE(rig.log(), QStringList{});
    QCOMPARE(rig.take(), QStringList{});
}

void TestCaptureSession::statusIsDeferred()
{
    Rig rig;
    rig.controller.setStatus("later");
    QCOMPARE(rig.fake.events, QStringList{});
    rig.scheduler.runPending();
    QCOMPARE(rig.fake.events, QStringList{"status later"});
}

QTEST_GUILESS_MAIN(TestCaptureSession)
#include "TestCaptureSession.moc"
