// A capture session from hotkey to delivery: every refusal, outcome and failure, the
// watchdog, Ask AI's context and streamed answer, Read screen.
#include "CaptureRig.h"

#include <QMimeData>

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
        QStringList expected;
        if (mode == CaptureMode::ask)
            expected << "keys copy"; // nothing selected through accessibility
        if (mode == CaptureMode::screen)
            expected << "screenshot 1568 0.6"; // taken at key-down, while the user speaks
        expected << "recorder.start"
                 << "hud recording(" + captureModeName(mode) + ")"
                 << "cue.start"
                 << "status " + status;
        QCOMPARE(rig.take(), expected);

        Q_EMIT rig.recorder.levelChanged(0.25f);
        QCOMPARE(rig.hud.state()->level(), 0.25f);
    }

    void recordingBegunAtKeyDown()
    {
        // Armed: the microphone runs with nothing shown; the hold then goes on with it.
        Rig rig;
        rig.controller.handleCaptureArmed();
        QCOMPARE(rig.take(), QStringList{"recorder.start"});
        QCOMPARE(rig.controller.state(), SessionState::idle);
        rig.controller.handleHoldStart(CaptureMode::paste);
        QStringList held = rig.take();
        QVERIFY(held.contains("hud recording(paste)"));
        QVERIFY(held.contains("cue.start"));
        // The armed limit does not end a recording under way.
        rig.scheduler.advance(CaptureSessionController::armedLimitSeconds + 1);
        QVERIFY(!rig.take().contains("recorder.stop"));
        QCOMPARE(rig.controller.state(), SessionState::recording);

        // The chord came to nothing: the audio is dropped, nothing is shown or played.
        Rig discarded;
        discarded.controller.handleCaptureArmed();
        discarded.take();
        discarded.controller.handleCaptureDisarmed();
        QCOMPARE(discarded.take(), QStringList{"recorder.stop"});
        QVERIFY(discarded.idle());
        QVERIFY(discarded.backend.lastWav.isEmpty());

        // Never decided (the engine stopped meanwhile): the microphone goes off by itself.
        Rig forgotten;
        forgotten.controller.handleCaptureArmed();
        forgotten.take();
        forgotten.scheduler.advance(CaptureSessionController::armedLimitSeconds);
        QCOMPARE(forgotten.take(), QStringList{"recorder.stop"});
        forgotten.controller.handleCaptureDisarmed();
        QCOMPARE(forgotten.take(), QStringList{});

        // Signed out, or a microphone that will not start: nothing begins early; the start
        // says why once the mode is known.
        Rig signedOut(false);
        signedOut.controller.handleCaptureArmed();
        QCOMPARE(signedOut.take(), QStringList{});
        Rig broken;
        broken.recorder.startError = QStringLiteral("No input device");
        broken.controller.handleCaptureArmed();
        QCOMPARE(broken.take(), QStringList{"recorder.start"});
        broken.controller.handleCaptureDisarmed();
        QCOMPARE(broken.take(), QStringList{});
    }

    void startRefusals_data()
    {
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<MicrophoneAuthorization>("microphone");
        QTest::addColumn<QString>("recorderError");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QStringList>("events");
        const QString micLog = "Cannot record: microphone permission not granted.";
        const QStringList micRefused{"hud error(Microphone access is required. Check that a "
                                     "microphone is plugged in, not muted and chosen as input in "
                                     "Sound settings.)",
                                     "status Microphone access needed"};
        QTest::newRow("not signed in")
            << false << MicrophoneAuthorization::authorized << QString()
            << "Not signed in — opening Ovrin to log in."
            << QStringList{"hud error(Sign in to Ovrin to use dictation.)", "window.show"};
        QTest::newRow("mic denied")
            << true << MicrophoneAuthorization::denied << QString() << micLog << micRefused;
        QTest::newRow("mic restricted")
            << true << MicrophoneAuthorization::restricted << QString() << micLog << micRefused;
        QTest::newRow("recorder fails")
            << true << MicrophoneAuthorization::authorized << "No input device"
            << "ERROR starting recorder: No input device"
            << QStringList{"recorder.start",
                           "hud error(Couldn't start the microphone: No input device)", "cue.fail",
                           "status Mic error: No input device"};
    }
    void startRefusals()
    {
        QFETCH(bool, signedIn);
        QFETCH(MicrophoneAuthorization, microphone);
        QFETCH(QString, recorderError);
        QFETCH(QString, log);
        QFETCH(QStringList, events);
        Rig rig(signedIn);
        rig.permissions.microphone = microphone;
        rig.model.refreshPermissions();
        if (!recorderError.isEmpty())
            rig.recorder.startError = recorderError;

        rig.controller.startRecording(CaptureMode::paste, false);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log(), QStringList{log});
        QCOMPARE(rig.take(), events);
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
        rig.backend.transcribeCall.hang = true;
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
        rig.backend.gate.release();
        QTRY_VERIFY(rig.events.contains("backend.resumed"));
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
        rig.scheduler.advance(Paster::pasteDelay);
        QVERIFY(rig.take().contains("keys paste"));

        // A hands-free stop ends a held session like a release.
        rig.controller.handleHoldStart(CaptureMode::paste);
        rig.controller.handleHandsFreeStop();
        QVERIFY(rig.idle());
        rig.scheduler.advance(Paster::pasteDelay);
        QVERIFY(rig.take().contains("keys paste"));

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
        rig.recorder.take.reset();
        const QStringList events = rig.dictate();
        QVERIFY(rig.idle());
        QCOMPARE(rig.states, (QList<SessionState>{SessionState::recording, SessionState::working,
                                                  SessionState::idle}));
        QCOMPARE(rig.log(), (QStringList{"▲ Key released", "No audio captured (empty buffer)."}));
        QCOMPARE(events,
                 (QStringList{"hud processing(paste)", "cue.stop", "recorder.stop", "hud.hide",
                              "status Transcribing…", "status No audio captured"}));
        rig.scheduler.advance(30);
        QCOMPARE(rig.take(), QStringList{}); // the watchdog went with the session
    }

    void dictationPastes()
    {
        Rig rig;
        rig.setSettings(true, true);
        rig.backend.transcribeCall.result = "  hello world \n";
        QCOMPARE(rig.dictate(),
                 (QStringList{"hud processing(paste)", "cue.stop", "recorder.stop",
                              "backend.transcribe cleanup", "hud.hide", "cue.done",
                              "clipboard hello world", "backend.addHistory dictation | hello world",
                              "status Transcribing…", "status Pasted ✓", "keys paste"}));
        QVERIFY(rig.idle());
        QCOMPARE(rig.backend.lastWav, QByteArray("RIFF-take"));
        QCOMPARE(rig.model.lastTranscript(), "hello world");
        QCOMPARE(rig.log(),
                 (QStringList{"▲ Key released",
                              "■ Recording stopped — 9 bytes of WAV. Sending to backend…",
                              "✓ Transcript: \"hello world\"", "Pasted into focused app."}));
        // The list is out of date whatever its age: fetched again at once.
        QTRY_COMPARE(rig.historyRequests(), QStringList{"transcripts"});
    }

    void dictationStreamedWhileHeld()
    {
        // The key-down's audio goes first, then 200 ms chunks as they fill; at release the
        // rest, then the text: the whole take is never uploaded.
        Rig rig;
        rig.setSettings(true, true);
        rig.backend.streaming = true;
        rig.controller.handleHoldStart(CaptureMode::paste);
        QVERIFY(rig.take().contains("backend.stream.open 16000 cleanup"));
        const QList<float> block(1600, 0.25f); // 100 ms at 16 kHz
        QStringList notes;
        Q_EMIT rig.recorder.samplesCaptured(block);
        QTest::qWait(20);
        QVERIFY(!(notes << rig.take()).contains("backend.stream.audio 0 6400"));
        Q_EMIT rig.recorder.samplesCaptured(block);
        QTRY_VERIFY((notes << rig.take()).contains("backend.stream.audio 0 6400"));
        Q_EMIT rig.recorder.samplesCaptured(block);
        rig.controller.handleHoldStop(CaptureMode::paste);
        QTRY_VERIFY((notes << rig.take()).contains("clipboard streamed words"));
        rig.scheduler.advance(Paster::pasteDelay);
        notes << rig.take();
        QVERIFY2(notes.contains("backend.stream.audio 1 3200"), qPrintable(notes.join(u'|')));
        QVERIFY(notes.contains("backend.stream.finish"));
        QVERIFY(!notes.contains("backend.transcribe cleanup"));
        QVERIFY(notes.contains("clipboard streamed words"));
        QVERIFY(notes.contains("keys paste"));
        QCOMPARE(rig.backend.streamedBytes, 9600);
        QVERIFY(rig.idle());
    }

    void streamFailureSendsTheWholeTake_data()
    {
        QTest::addColumn<bool>("audioFails");
        QTest::newRow("a chunk is refused") << true;
        QTest::newRow("the text never comes") << false;
    }
    void streamFailureSendsTheWholeTake()
    {
        QFETCH(bool, audioFails);
        Rig rig;
        rig.setSettings(false, true);
        rig.backend.streaming = true;
        if (audioFails)
            rig.backend.audioError = QStringLiteral("Backend error 500: lost");
        else
            rig.backend.streamCall.error = QStringLiteral("Backend error 502: gone");
        rig.controller.handleHoldStart(CaptureMode::paste);
        Q_EMIT rig.recorder.samplesCaptured(QList<float>(3200, 0.25f));
        rig.controller.handleHoldStop(CaptureMode::paste);
        QStringList notes, log;
        QTRY_VERIFY((log << rig.log(), notes << rig.take()).contains("clipboard hello world"));
        // Nothing lost: the recorder's whole take goes the old way.
        QVERIFY2(notes.contains("backend.transcribe"), qPrintable(notes.join(u'|')));
        QCOMPARE(rig.backend.lastWav, QByteArray("RIFF-take"));
        QVERIFY(notes.contains("backend.stream.drop")); // the server need not keep it
        const QString why = audioFails ? "Backend error 500: lost" : "Backend error 502: gone";
        QVERIFY2(log.contains("Streaming stopped (" + why + "); sending the whole recording."),
                 qPrintable(log.join(u'\n')));
        QVERIFY(rig.idle());
    }

    void pasteThatCannotBeSent()
    {
        // No keystroke reaches the focused application (a desktop without a way to send one):
        // the transcript stays on the clipboard and the user is told to paste it.
        Rig rig;
        rig.setSettings(true, true);
        rig.keys.delivers = false;
        rig.backend.transcribeCall.result = "hello world";
        const QStringList notes = rig.dictate();
        QVERIFY(notes.contains("clipboard hello world"));
        const QStringList after = notes.mid(notes.indexOf("keys paste"));
        QVERIFY2(after.contains("hud error(Copied — press Ctrl+V)"), qPrintable(after.join(u'|')));
        QVERIFY2(after.contains("status Copied to clipboard ✓"), qPrintable(after.join(u'|')));
        QVERIFY(rig.log().contains(
            "Could not send the paste keystroke; the transcript is on the clipboard."));
    }

    // After the keystroke the field is looked at: what arrived is logged, what did not is
    // left on the clipboard with the HUD saying so.
    void pasteIsChecked_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("log");
        QTest::addColumn<bool>("told");
        QTest::newRow("arrives") << "takes it"
                                 << "Paste checked: the text is in the field." << false;
        QTest::newRow("arrives late") << "late"
                                      << "Paste checked: the text is in the field." << false;
        QTest::newRow("ignores it")
            << "ignores it"
            << "The paste did not reach the focused field; the transcript is on the clipboard."
            << true;
        QTest::newRow("unreadable")
            << "unreadable"
            << "Paste not checked: the focused field does not show its text." << false;
        QTest::newRow("password") << "password"
                                  << "Paste not checked: the focused field does not show its text."
                                  << false;
        QTest::newRow("nothing focused")
            << "none"
            << "Paste not checked: the focused field does not show its text." << false;
    }
    void pasteIsChecked()
    {
        QFETCH(QString, field);
        QFETCH(QString, log);
        QFETCH(bool, told);
        Rig rig;
        rig.setSettings(true, true);
        rig.backend.transcribeCall.result = "hello world";
        rig.heldClipboard = ClipboardContents{{"UTF8_STRING", "before"}, {"text/html", "<b>b</b>"}};
        // The same words already there before do not count as the paste.
        rig.focus.focused->text = QStringLiteral("Earlier: hello\nworld. ");
        if (field == "ignores it" || field == "late" || field == "none")
            rig.keys.onPaste = {};
        rig.focus.focused->readable = field != "unreadable";
        rig.focus.focused->secret = field == "password";
        if (field == "none")
            rig.focus.focused.reset();
        QStringList notes = rig.dictate();
        if (field == "late") {
            rig.scheduler.advance(Paster::firstCheck);
            rig.focus.focused->text += QStringLiteral("hello world");
        }
        rig.scheduler.advance(Paster::restoreDeadline + 0.1);
        const QStringList logged = rig.log();
        notes << rig.take();
        QVERIFY2(logged.endsWith(log), qPrintable(logged.join(u'\n')));
        QCOMPARE(notes.contains("hud error(Copied — press Ctrl+V)"), told);
        // What the user had copied comes back, unless the paste did not arrive.
        const QMimeData *clipboard = QGuiApplication::clipboard()->mimeData();
        QCOMPARE(clipboard->text(),
                 told ? QStringLiteral("hello world") : QStringLiteral("before"));
        QCOMPARE(clipboard->data("text/html"), told ? QByteArray() : QByteArray("<b>b</b>"));
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
                           "status Transcribing…", "status Copied to clipboard ✓"};
        QTest::newRow("blank transcript")
            << true << " \n\t\r\n " << QString() << "API returned empty transcript."
            << QStringList{"hud error(Nothing transcribed — no speech detected.)", "cue.fail",
                           "status Transcribing…", "status Nothing transcribed"};
        // The user already has the text: a lost history line is not reported.
        QTest::newRow("history upload fails")
            << true << "hello"
            << "Backend error 503: busy"
            << "Pasted into focused app."
            << QStringList{"clipboard hello", "backend.addHistory dictation | hello",
                           "status Transcribing…", "status Pasted ✓", "keys paste"};
    }
    void dictationOutcomes()
    {
        QFETCH(bool, pasteAutomatically);
        QFETCH(QString, transcript);
        QFETCH(QString, historyError);
        QFETCH(QString, lastLog);
        QFETCH(QStringList, lastEvents);
        Rig rig;
        rig.setSettings(false, pasteAutomatically);
        rig.backend.transcribeCall.result = transcript;
        if (!historyError.isEmpty())
            rig.backend.historyError = historyError;
        rig.focus.focused->text = transcript;
        const QStringList events = rig.dictate();
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), lastLog);
        QCOMPARE(events.mid(events.size() - lastEvents.size()), lastEvents);
        // Only a pasted transcript is watched for corrections.
        rig.scheduler.advance(CorrectionWatcher::baselineDelay);
        QCOMPARE(rig.corrections.watcher().isWatching(),
                 pasteAutomatically && !lastEvents.contains("cue.fail"));
        if (historyError.isEmpty() && !lastEvents.contains("cue.fail"))
            QTRY_COMPARE(rig.historyRequests(), QStringList{"transcripts"});
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
        rig.backend.transcribeCall.error = "Backend error 500: boom";
        const QStringList events = rig.dictate(mode);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "ERROR: Backend error 500: boom");
        QCOMPARE(events.mid(events.size() - 4),
                 (QStringList{"hud error(" + prefix + "Backend error 500: boom)", "cue.fail",
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
        rig.backend.transcribeCall.hang = true;
        if (fails)
            rig.backend.transcribeCall.error = "Can't reach the backend.";
        rig.dictate(mode);
        rig.scheduler.advance(24.9 - Paster::pasteDelay);
        QCOMPARE(rig.controller.state(), SessionState::working);
        QCOMPARE(rig.take(), QStringList{});

        rig.scheduler.advance(0.1);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log(), QStringList{"⏱ Timed out — no response from the backend."});
        QCOMPARE(rig.take(), (QStringList{"backend.cancelled",
                                          "hud error(This is taking longer than expected. Make "
                                          "sure the backend is running, then try again.)",
                                          "cue.fail"}));

        // Whatever the backend does later reaches nobody.
        rig.backend.gate.release();
        QTRY_COMPARE(rig.events, QStringList{"backend.resumed"});
        rig.scheduler.advance(60);
        QCOMPARE(rig.log(), QStringList{});
        QCOMPARE(rig.take().filter(QRegularExpression("^(hud|cue|status|keys|clipboard)")),
                 QStringList{"hud.hide"}); // the error card's own countdown
        QCOMPARE(rig.model.lastTranscript(), QString());

        rig.backend.transcribeCall = ScriptedCall{"again"};
        QVERIFY(rig.dictate().contains("clipboard again"));
        rig.scheduler.advance(30);
        QVERIFY(rig.idle()); // a delivered result disarmed the watchdog
        QCOMPARE(rig.take().filter("hud error"), QStringList{});
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
        rig.focus.focused->selection = accessible;
        // The focused application copies its selection when asked; with none, nothing.
        rig.keys.onCopy = [&rig, copied] {
            if (!copied)
                return;
            ++rig.clipboard.count;
            rig.clipboard.ownerText = copied;
        };
        QGuiApplication::clipboard()->setText(QStringLiteral("the user's own"));
        rig.controller.handleHoldStart(CaptureMode::ask);
        QCOMPARE(rig.controller.askContext(), accessible.value_or(copied.value_or(QString())));
        QCOMPARE(rig.events.count("keys copy"), accessible ? 0 : 1);
        QCOMPARE(rig.log().filter("✎ Using selected text as context "),
                 logged.isEmpty() ? QStringList{}
                                  : QStringList{"✎ Using selected text as context " + logged});
        // The user's clipboard is as it was.
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("the user's own"));
    }

    void askStreamsAnswer()
    {
        Rig rig;
        rig.focus.focused->selection = "selected";
        rig.backend.transcribeCall.result = " what is this? ";
        rig.backend.askCall = {
            " It is a test. \n",
            {},
            false,
            {"It is ", "a test."},
            {{"open_app", "Nowhere"}, {"open_app", "Calendar"}, {"other", "Files"}}};
        const Settings defaults;
        rig.model.nameShortcuts(defaults.pushToTalkKey, defaults.askKey, defaults.screenKey,
                                QStringLiteral("Right Ctrl"));
        const QStringList events = rig.dictate(CaptureMode::ask);
        QVERIFY(rig.idle());
        QCOMPARE(rig.model.lastTranscript(), "what is this?");
        QCOMPARE(rig.log().mid(2),
                 (QStringList{"❓ Asked: \"what is this?\"", "⚠️ Couldn't find app: Nowhere",
                              "🚀 Opened Calendar", "✓ AI answered."}));
        QCOMPARE(
            events.mid(3),
            (QStringList{"backend.transcribe", "hud.question what is this?", "hud response(…)",
                         "backend.ask what is this? | selected | Calendar,Files",
                         "hud response(It is )", "hud response(It is a test.)",
                         "clipboard It is a test.", "hud.followUp Right Ctrl+Left Ctrl", "cue.done",
                         "status Transcribing…", "status Answered ✓ (copied to clipboard)"}));
        QTRY_COMPARE(rig.historyRequests(), QStringList{"chat"});
    }

    void askSilenceAndEmptyAnswer()
    {
        Rig rig;
        rig.backend.transcribeCall.result = "  ";
        QStringList events = rig.dictate(CaptureMode::ask);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "Nothing heard for the AI.");
        QVERIFY(events.filter("backend.ask").isEmpty());
        QCOMPARE(events.mid(events.size() - 4),
                 (QStringList{"hud error(Didn't catch that — no speech detected.)", "cue.fail",
                              "status Transcribing…", "status Nothing heard"}));

        rig.backend.transcribeCall.result = "question";
        rig.backend.askCall.result = " \n ";
        events = rig.dictate(CaptureMode::ask);
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "AI returned an empty answer.");
        QVERIFY(events.filter("clipboard").isEmpty());
        QCOMPARE(events.mid(events.size() - 4),
                 (QStringList{"hud error(The AI returned an empty answer.)", "cue.fail",
                              "status Transcribing…", "status No answer"}));
        QTRY_COMPARE(rig.historyRequests(), QStringList{"chat"});
    }

    void screenSession()
    {
        Rig rig;
        rig.backend.transcribeCall.result = "";
        QVERIFY(rig.dictate(CaptureMode::screen)
                    .contains("backend.askImage What's on my screen? | JPEG"));
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().at(2), "◳ Asking about the screen (no question)…");

        rig.backend.transcribeCall.result = "what is this";
        const QStringList events = rig.dictate(CaptureMode::screen);
        QCOMPARE(rig.log().at(2), "◳ Asked about screen: \"what is this\"");
        QVERIFY(events.contains("backend.askImage what is this | JPEG"));
        QTRY_COMPARE(rig.historyRequests(), (QStringList{"chat", "chat"}));

        // Without a picture the audio is never sent.
        rig.screens.jpeg.reset();
        QCOMPARE(rig.dictate(CaptureMode::screen).mid(3, 3),
                 (QStringList{"hud error(Couldn't capture the screen. Read screen needs an X11 "
                              "session — log in to one, then try again.)",
                              "privacy Privacy_ScreenCapture", "cue.fail"}));
        QVERIFY(rig.idle());
        QCOMPARE(rig.log().last(), "Screen capture failed — likely not an X11 session.");
    }

    void copyTranscriptAndDeferredStatus()
    {
        Rig rig;
        rig.controller.copyTranscript(QVariant(QStringLiteral("from the menu")));
        QCOMPARE(rig.events, QStringList{"clipboard from the menu"}); // status comes a turn later
        QCOMPARE(rig.log(), QStringList{"Copied transcript from the system tray."});
        QCOMPARE(rig.take(), (QStringList{"clipboard from the menu", "status Copied ✓"}));

        rig.controller.copyTranscript(QVariant(42));
        rig.controller.copyTranscript(QVariant());
        QCOMPARE(rig.log(), QStringList{});
        QCOMPARE(rig.take(), QStringList{});
    }
};

QTEST_MAIN(TestCaptureSession)
#include "TestCaptureSession.moc"
