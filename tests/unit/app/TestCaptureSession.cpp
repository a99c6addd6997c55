#include "support/FakePlatform.h"
#include "support/FakeSession.h"

#include "app/AppModel.h"
#include "app/CaptureSessionController.h"
#include "app/LaunchAtLoginManager.h"
#include "core/ManualScheduler.h"
#include "platform/FnKey.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

// One controller with fakes for every neighbour and a manual clock.
struct Rig
{
    QTemporaryDir dir;
    QSettings defaults{dir.filePath("defaults.ini"), QSettings::IniFormat};
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

    // Log messages (without the time) since the last take().
    QStringList log() const { return systemLog.lines; }
    // Runs deferred work (status lines), returns the events since the last take() and forgets them.
    QStringList take()
    {
        scheduler.runPending();
        QStringList events = std::exchange(fake.events, {});
        systemLog.lines.clear();
        return events;
    }
    // A whole press-and-release; returns the events after the press and keeps its log.
    QStringList dictate(CaptureMode mode = CaptureMode::paste)
    {
        controller.handleHoldStart(mode);
        take();
        controller.handleHoldStop(mode);
        scheduler.runPending();
        return std::exchange(fake.events, {});
    }
    bool idle() const
    {
        return controller.state() == SessionState::idle && model.activity() == Activity::idle;
    }
};

class TestCaptureSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startByMode_data()
    {
        QTest::addColumn<CaptureMode>("mode");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QString>("status");
        QTest::newRow("dictation")
            << CaptureMode::paste << QStringList{"▼ Dictation key pressed", "● Recording started"}
            << "Listening…";
        QTest::newRow("ask") << CaptureMode::ask
                             << QStringList{"▼ Ask-AI key pressed", "● Recording (Ask AI)…"}
                             << "Listening (Ask AI)…";
        QTest::newRow("screen") << CaptureMode::screen
                                << QStringList{"▼ Read-screen key pressed",
                                               "● Recording (Read screen)…"}
                                << "Listening (Read screen)…";
    }
    void startByMode()
    {
        QFETCH(CaptureMode, mode);
        QFETCH(QStringList, log);
        QFETCH(QString, status);
        Rig rig;
        rig.controller.handleHoldStart(mode);
        QCOMPARE(rig.controller.state(), SessionState::recording);
        QCOMPARE(rig.model.activity(), Activity::recording);
        QVERIFY(rig.model.hotkeyIsDown());
        QCOMPARE(rig.log(), log);
        QStringList expected{"corrections.stop", "prompt.hide"};
        if (mode == CaptureMode::screen)
            expected << "screenshot 1568 0.6"; // taken at key-down, while the user speaks
        expected << "recorder.start"
                 << "hud.show recording(" + captureModeName(mode) + ")"
                 << "cue.start"
                 << "status " + status;
        QCOMPARE(rig.take(), expected);

        rig.fake.recorder.levelHandler(0.25f);
        QCOMPARE(rig.fake.hud.levels, QList<float>{0.25f});
    }

    void startRefusals_data()
    {
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<MicrophoneAuthorization>("microphone");
        QTest::addColumn<QString>("recorderError");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QStringList>("events");
        const QString micLog = "Cannot record: microphone permission not granted.";
        const QStringList micRefused{"hud.error Microphone access is required. Check that a "
                                     "microphone is plugged in, not muted and chosen as input in "
                                     "Sound settings.",
                                     "status Microphone access needed"};
        QTest::newRow("not signed in")
            << false << MicrophoneAuthorization::authorized << QString()
            << "Not signed in — opening Ovrin to log in."
            << QStringList{"hud.error Sign in to Ovrin to use dictation.", "window.show"};
        QTest::newRow("mic denied")
            << true << MicrophoneAuthorization::denied << QString() << micLog << micRefused;
        QTest::newRow("mic restricted")
            << true << MicrophoneAuthorization::restricted << QString() << micLog << micRefused;
        QTest::newRow("recorder fails")
            << true << MicrophoneAuthorization::authorized << "No input device"
            << "ERROR starting recorder: No input device"
            << QStringList{"recorder.start",
                           "hud.error Couldn't start the microphone: No input device", "cue.fail",
                           "status Mic error: No input device"};
    }
    void startRefusals()
    {
        QFETCH(bool, signedIn);
        QFETCH(MicrophoneAuthorization, microphone);
        QFETCH(QString, recorderError);
        QFETCH(QString, log);
        QFETCH(QStringList, events);
        Rig rig;
        rig.fake.signIn.signedIn = signedIn;
        rig.permissions.microphone = microphone;
        rig.model.refreshPermissions();
        if (!recorderError.isEmpty())
            rig.fake.recorder.startError = recorderError;

        rig.controller.startRecording(CaptureMode::paste, false);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log(), QStringList{log});
        QCOMPARE(rig.take(), (QStringList{"corrections.stop", "prompt.hide"} + events));
    }

    void keysOutsideTheirStateOnlyLog()
    {
        Rig rig;
        rig.controller.handleHoldStop(CaptureMode::paste);
        QCOMPARE(rig.log(), QStringList{"▲ Key released"});
        QCOMPARE(rig.take(), QStringList{});

        rig.controller.handleHoldStart(CaptureMode::paste);
        rig.take();
        rig.controller.handleHoldStart(CaptureMode::ask);
        QCOMPARE(rig.log(), QStringList{"▼ Ask-AI key pressed"});
        QCOMPARE(rig.take(), QStringList{});
        QCOMPARE(rig.controller.captureMode(), CaptureMode::paste);

        // Releasing another chord still ends the session; keys while working change nothing.
        rig.fake.backend.transcribeCall.hang = true;
        rig.controller.handleHoldStop(CaptureMode::ask);
        QCOMPARE(rig.controller.state(), SessionState::working);
        rig.take();
        rig.controller.handleHoldStart(CaptureMode::paste);
        rig.controller.handleHoldStop(CaptureMode::paste);
        rig.controller.handleHandsFreeStop();
        QCOMPARE(rig.log(), (QStringList{"▼ Dictation key pressed", "▲ Key released",
                                         "⊙ Hands-free stopped (Right Ctrl). Transcribing…"}));
        QCOMPARE(rig.take(), QStringList{});
        // No session may outlive the rig.
        rig.fake.backend.gate.release();
        QTRY_VERIFY(rig.fake.events.contains("backend.resumed"));
    }

    void handsFree()
    {
        Rig rig;
        rig.controller.handleHandsFreeStart();
        QVERIFY(rig.controller.handsFree());
        QCOMPARE(rig.controller.captureMode(), CaptureMode::paste);
        QCOMPARE(rig.log().first(),
                 "⊙ Hands-free started (double-tap Right Ctrl). Tap Right Ctrl again to stop.");
        rig.controller.handleHandsFreeStop();
        QVERIFY(rig.idle());
        QVERIFY(rig.take().contains("paste hello world"));

        // A hands-free stop ends a held session like a release.
        rig.controller.handleHoldStart(CaptureMode::paste);
        rig.controller.handleHandsFreeStop();
        QVERIFY(rig.idle());
        QVERIFY(rig.take().contains("paste hello world"));

        // The log names the key the user chose to act as fn.
        FnKey::shared().setKey(QStringLiteral("Menu"));
        rig.controller.handleHandsFreeStart();
        rig.controller.handleHandsFreeStop();
        FnKey::shared().setKey(FnKey::choices().first());
        QCOMPARE(rig.log().first(),
                 "⊙ Hands-free started (double-tap Menu). Tap Menu again to stop.");
        QVERIFY(rig.log().contains("⊙ Hands-free stopped (Menu). Transcribing…"));
    }

    void noAudio()
    {
        Rig rig;
        rig.fake.recorder.take.reset();
        const QStringList events = rig.dictate();
        QVERIFY(rig.idle());
        QCOMPARE(rig.fake.shell.icons,
                 (QList<SessionState>{SessionState::recording, SessionState::working,
                                      SessionState::idle}));
        QCOMPARE(rig.log(), (QStringList{"▲ Key released", "No audio captured (empty buffer)."}));
        QCOMPARE(events,
                 (QStringList{"hud.show processing(paste)", "cue.stop", "recorder.stop", "hud.hide",
                              "status Transcribing…", "status No audio captured"}));
        rig.scheduler.advance(30);
        QCOMPARE(rig.take(), QStringList{}); // the watchdog went with the session
    }

    void dictationPastes()
    {
        Rig rig;
        rig.fake.settings.settings.cleanupEnabled = true;
        rig.fake.backend.transcribeCall.result = "  hello world \n";
        QCOMPARE(rig.dictate(),
                 (QStringList{
                     "hud.show processing(paste)", "cue.stop", "recorder.stop",
                     "backend.transcribe cleanup", "hud.hide", "cue.done", "paste hello world",
                     "corrections.start hello world", "backend.addHistory dictation | hello world",
                     "history.refresh transcripts", "status Transcribing…", "status Pasted ✓"}));
        QVERIFY(rig.idle());
        QCOMPARE(rig.fake.backend.lastWav, QByteArray("RIFF-take"));
        QCOMPARE(rig.model.lastTranscript(), "hello world");
        QCOMPARE(rig.log(),
                 (QStringList{"▲ Key released",
                              "■ Recording stopped — 9 bytes of WAV. Sending to backend…",
                              "✓ Transcript: \"hello world\"", "Pasted into focused app."}));

        rig.take();
        rig.fake.corrections.onCorrection("teh", "the");
        QCOMPARE(rig.log(), QStringList{"✎ Correction detected: \"teh\" → \"the\""});
        QCOMPARE(rig.take(), QStringList{"prompt.show teh -> the"});
    }

    void dictationOutcomes_data()
    {
        QTest::addColumn<bool>("pasteAutomatically");
        QTest::addColumn<QString>("transcript");
        QTest::addColumn<QString>("historyError");
        QTest::addColumn<QString>("lastLog");
        QTest::addColumn<QStringList>("lastEvents");
        QTest::newRow("copy only")
            << false << "hello" << QString() << "Copied to clipboard."
            << QStringList{"clipboard hello", "backend.addHistory dictation | hello",
                           "history.refresh transcripts", "status Transcribing…",
                           "status Copied to clipboard ✓"};
        QTest::newRow("blank transcript")
            << true << " \n\t\r\n " << QString() << "API returned empty transcript."
            << QStringList{"hud.error Nothing transcribed — no speech detected.", "cue.fail",
                           "status Transcribing…", "status Nothing transcribed"};
        // The user already has the text: a lost history line is not reported.
        QTest::newRow("history upload fails")
            << true << "hello"
            << "Backend error 503: busy"
            << "Pasted into focused app."
            << QStringList{"corrections.start hello", "backend.addHistory dictation | hello",
                           "status Transcribing…", "status Pasted ✓"};
    }
    void dictationOutcomes()
    {
        QFETCH(bool, pasteAutomatically);
        QFETCH(QString, transcript);
        QFETCH(QString, historyError);
        QFETCH(QString, lastLog);
        QFETCH(QStringList, lastEvents);
        Rig rig;
        rig.fake.settings.settings.pasteAutomatically = pasteAutomatically;
        rig.fake.backend.transcribeCall.result = transcript;
        if (!historyError.isEmpty())
            rig.fake.backend.historyError = historyError;
        const QStringList events = rig.dictate();
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), lastLog);
        QCOMPARE(events.mid(events.size() - lastEvents.size()), lastEvents);
        QCOMPARE(events.filter("corrections.start").isEmpty(),
                 !pasteAutomatically || lastEvents.contains("cue.fail"));
    }

    void backendFailure_data()
    {
        QTest::addColumn<CaptureMode>("mode");
        QTest::addColumn<QString>("prefix");
        QTest::newRow("dictation") << CaptureMode::paste << "Transcription failed: ";
        QTest::newRow("ask") << CaptureMode::ask << "Ask failed: ";
        QTest::newRow("screen") << CaptureMode::screen << "Read-screen failed: ";
    }
    void backendFailure()
    {
        QFETCH(CaptureMode, mode);
        QFETCH(QString, prefix);
        Rig rig;
        rig.fake.backend.transcribeCall.error = "Backend error 500: boom";
        const QStringList events = rig.dictate(mode);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "ERROR: Backend error 500: boom");
        QCOMPARE(events.mid(events.size() - 4),
                 (QStringList{"hud.error " + prefix + "Backend error 500: boom", "cue.fail",
                              "status Transcribing…", "status Backend error 500: boom"}));
    }

    void watchdogOutlivesLateAnswers_data()
    {
        QTest::addColumn<CaptureMode>("mode");
        QTest::addColumn<bool>("fails");
        QTest::newRow("dictation answer") << CaptureMode::paste << false;
        QTest::newRow("dictation failure") << CaptureMode::paste << true;
        QTest::newRow("ask answer") << CaptureMode::ask << false;
        QTest::newRow("screen failure") << CaptureMode::screen << true;
    }
    void watchdogOutlivesLateAnswers()
    {
        QFETCH(CaptureMode, mode);
        QFETCH(bool, fails);
        Rig rig;
        rig.fake.backend.transcribeCall.hang = true;
        if (fails)
            rig.fake.backend.transcribeCall.error = "Can't reach the backend.";
        rig.dictate(mode);
        rig.scheduler.advance(24.9);
        QCOMPARE(rig.controller.state(), SessionState::working);
        QCOMPARE(rig.take(), QStringList{});

        rig.scheduler.advance(0.1);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log(), QStringList{"⏱ Timed out — no response from the backend."});
        QCOMPARE(rig.take(),
                 (QStringList{"backend.cancelled",
                              "hud.error This is taking longer than expected. Make sure the "
                              "backend is running, then try again.",
                              "cue.fail"}));

        // Whatever the backend does later reaches nobody.
        rig.fake.backend.gate.release();
        QTRY_COMPARE(rig.fake.events, QStringList{"backend.resumed"});
        rig.scheduler.advance(60);
        QCOMPARE(rig.log(), QStringList{});
        QCOMPARE(rig.take(), QStringList{"backend.resumed"});
        QCOMPARE(rig.model.lastTranscript(), QString());

        rig.fake.backend.transcribeCall = ScriptedCall{"again"};
        QVERIFY(rig.dictate().contains("paste again"));
        rig.scheduler.advance(30);
        QCOMPARE(rig.scheduler.pendingCount(), 0); // a delivered result disarms the watchdog
    }

    void askUsesSelection_data()
    {
        QTest::addColumn<std::optional<QString>>("accessible");
        QTest::addColumn<std::optional<QString>>("copied");
        QTest::addColumn<QString>("logged");
        const QString sixty(60, 'a');
        using S = std::optional<QString>;
        QTest::newRow("accessibility") << S("pick me") << S("not me") << "(7 chars): \"pick me\"";
        QTest::newRow("copy fallback") << S() << S("copied") << "(6 chars): \"copied\"";
        QTest::newRow("60 whole") << S(sixty) << S() << "(60 chars): \"" + sixty + "\"";
        QTest::newRow("61 cut") << S(sixty + "b") << S() << "(61 chars): \"" + sixty + "…\"";
        QTest::newRow("none") << S() << S() << QString();
    }
    void askUsesSelection()
    {
        QFETCH(std::optional<QString>, accessible);
        QFETCH(std::optional<QString>, copied);
        QFETCH(QString, logged);
        Rig rig;
        rig.fake.selection.accessible = accessible;
        rig.fake.selection.copied = copied;
        rig.controller.handleHoldStart(CaptureMode::ask);
        QCOMPARE(rig.controller.askContext(), accessible.value_or(copied.value_or(QString())));
        QCOMPARE(rig.fake.selection.copyCalls, accessible ? 0 : 1);
        QCOMPARE(rig.log().filter("✎ Using selected text as context "),
                 logged.isEmpty() ? QStringList{}
                                  : QStringList{"✎ Using selected text as context " + logged});
    }

    void askStreamsAnswer()
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
        const QStringList events = rig.dictate(CaptureMode::ask);
        QVERIFY(rig.idle());
        QCOMPARE(rig.model.lastTranscript(), "what is this?");
        QCOMPARE(rig.log().mid(2),
                 (QStringList{"❓ Asked: \"what is this?\"", "⚠️ Couldn't find app: Nowhere",
                              "🚀 Opened Calendar", "✓ AI answered."}));
        QCOMPARE(events.mid(3),
                 (QStringList{"backend.transcribe", "hud.stream what is this?",
                              "backend.ask what is this? | selected | Calendar,Files",
                              "hud.delta It is ", "hud.delta a test.", "clipboard It is a test.",
                              "hud.finish Right Ctrl+Left Ctrl | It is a test.", "cue.done",
                              "history.refresh chat", "status Transcribing…",
                              "status Answered ✓ (copied to clipboard)"}));
    }

    void askSilenceAndEmptyAnswer()
    {
        Rig rig;
        rig.fake.backend.transcribeCall.result = "  ";
        QStringList events = rig.dictate(CaptureMode::ask);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "Nothing heard for the AI.");
        QVERIFY(events.filter("backend.ask").isEmpty());
        QCOMPARE(events.mid(events.size() - 4),
                 (QStringList{"hud.error Didn't catch that — no speech detected.", "cue.fail",
                              "status Transcribing…", "status Nothing heard"}));

        rig.fake.backend.transcribeCall.result = "question";
        rig.fake.backend.askCall.result = " \n ";
        events = rig.dictate(CaptureMode::ask);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "AI returned an empty answer.");
        QVERIFY(events.filter("clipboard").isEmpty());
        QCOMPARE(events.mid(events.size() - 5),
                 (QStringList{"hud.error The AI returned an empty answer.", "cue.fail",
                              "history.refresh chat", "status Transcribing…", "status No answer"}));
    }

    void screenSession()
    {
        Rig rig;
        rig.fake.backend.transcribeCall.result = "";
        QVERIFY(rig.dictate(CaptureMode::screen)
                    .contains("backend.askImage What's on my screen? | JPEG"));
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().at(2), "◳ Asking about the screen (no question)…");

        rig.fake.backend.transcribeCall.result = "what is this";
        const QStringList events = rig.dictate(CaptureMode::screen);
        QCOMPARE(rig.log().at(2), "◳ Asked about screen: \"what is this\"");
        QVERIFY(events.contains("backend.askImage what is this | JPEG"));
        QVERIFY(events.contains("history.refresh chat"));

        // Without a picture the audio is never sent.
        rig.fake.screenshots.jpeg.reset();
        QCOMPARE(rig.dictate(CaptureMode::screen).mid(3, 3),
                 (QStringList{
                     "hud.error Couldn't capture the screen. Read screen needs an X11 session — "
                     "log in to one, then try again.",
                     "privacy Privacy_ScreenCapture", "cue.fail"}));
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "Screen capture failed — likely not an X11 session.");
    }

    void copyTranscriptAndDeferredStatus()
    {
        Rig rig;
        rig.controller.copyTranscript(QVariant(QStringLiteral("from the menu")));
        QCOMPARE(rig.fake.events,
                 QStringList{"clipboard from the menu"}); // status comes a turn later
        QCOMPARE(rig.log(), QStringList{"Copied transcript from the system tray."});
        QCOMPARE(rig.take(), (QStringList{"clipboard from the menu", "status Copied ✓"}));

        rig.controller.copyTranscript(QVariant(42));
        rig.controller.copyTranscript(QVariant());
        QCOMPARE(rig.log(), QStringList{});
        QCOMPARE(rig.take(), QStringList{});
    }
};

QTEST_GUILESS_MAIN(TestCaptureSession)
#include "TestCaptureSession.moc"
