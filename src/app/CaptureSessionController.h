#pragma once

#include "app/SessionState.h"
#include "backend/Backend.h"
#include "core/CancellationToken.h"
#include "core/TimerHandle.h"
#include "desktop/Paster.h"
#include "hotkeys/CaptureMode.h"
#include "stores/Settings.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QVariant>

#include <optional>

class AnswerFlow;
class AppModel;
class AudioRecorder;
class AuthStore;
class ClipboardKeeper;
class Corrections;
class HistoryStore;
class InstalledApps;
class PermissionProbe;
class RecordingHUD;
class Scheduler;
class ScreenCapturer;
class SelectionReader;
class SettingsStore;
class Sounds;

// What a capture session works with. The first five reach the outside world (the microphone,
// the backend, the screen, other applications, the system's permissions) and are what unit
// tests fake; the rest of the application is used as it is. All outlive the controller.
struct CaptureServices
{
    AudioRecorder &recorder;
    Backend &backend;
    ScreenCapturer &screens;
    InstalledApps &apps;
    PermissionProbe &permissions;
    Paster &paster;
    ClipboardKeeper &clipboardKeeper;
    SelectionReader &selection;
    RecordingHUD &hud;
    Corrections &corrections;
    Sounds &sounds;
    AuthStore &auth;
    HistoryStore &history;
    SettingsStore &settings;
    AppModel &model;
    Scheduler &scheduler;
};

// Turns hotkey gestures into capture sessions: records, sends the take to the backend under
// a watchdog, and delivers the result (pasted, copied, or streamed as an answer). At most one
// session exists at a time; every failure ends idle with one log line, one status line and
// one HUD error.
class DictationStream;

class CaptureSessionController : public QObject
{
    Q_OBJECT
public:
    static constexpr double watchdogSeconds = 25.0;
    static constexpr double screenshotMaxDimension = 1568;
    static constexpr double screenshotQuality = 0.6;

    explicit CaptureSessionController(CaptureServices services, QObject *parent = nullptr);
    ~CaptureSessionController() override;

    SessionState state() const { return m_state; }
    CaptureMode captureMode() const { return m_captureMode; }
    bool handsFree() const { return m_handsFree; }
    QString askContext() const { return m_askContext; }

    // How long a recording begun at key-down waits for the hold to be decided.
    static constexpr double armedLimitSeconds = 1.0;

    // The hotkey engine's gestures. Arming starts the microphone before the chord debounce
    // decides the mode, so the first syllable is in the take; disarming drops that audio.
    void handleCaptureArmed();
    void handleCaptureDisarmed();
    void handleHoldStart(CaptureMode mode);
    void handleHoldStop(CaptureMode mode);
    void handleHandsFreeStart();
    void handleHandsFreeStop();

    void startRecording(CaptureMode mode, bool handsFree);
    void stopAndTranscribe();
    // Action of a recent-transcript menu item: copies the item's text.
    void copyTranscript(const QVariant &representedObject);

Q_SIGNALS:
    // On every assignment of the state, also when it does not change.
    void stateChanged(SessionState state);
    // The tray menu's status line; always on a later turn of the event loop.
    void statusChanged(const QString &text);
    // Nobody is signed in: the window, where the user signs in, comes forward.
    void signInNeeded();
    // A permission is missing; `page` names it ("Privacy_ScreenCapture", …).
    void privacyHelpNeeded(const QString &page);

private:
    using ScreenshotTask = QCoro::Task<std::optional<QByteArray>>;

    void setState(SessionState state);
    bool signedIn() const;
    // The microphone is not to be used (a denial or restriction the model has not overruled).
    bool microphoneRefused() const;
    void endIdle();
    void readAskContext();
    void deliverTranscript(const QString &text, const Settings &settings);
    void watchdogFired();
    void failSession(CaptureMode mode, const QString &description);
    // Logs how a paste went; one that did not arrive leaves the HUD saying so.
    void pasteChecked(Paster::Outcome outcome);
    void setStatus(const QString &text);
    static bool isGone(const QObject *self, const CancellationToken &token);

    QCoro::Task<void> runSession(CaptureMode mode, QByteArray wav, Settings settings,
                                 QString askContext, std::optional<ScreenshotTask> screenshot,
                                 std::shared_ptr<DictationStream> stream, CancellationToken token);
    QCoro::Task<void> runDictation(QByteArray wav, Settings settings,
                                   std::shared_ptr<DictationStream> stream,
                                   CancellationToken token);

    CaptureServices m_services;
    AnswerFlow *m_answers; // a child: gone with the controller

    SessionState m_state = SessionState::idle;
    CancellationToken m_transcribeTask;
    TimerHandle m_watchdog;
    bool m_armed = false; // the recorder runs for a hold not yet decided
    TimerHandle m_armedLimit;
    CaptureMode m_captureMode = CaptureMode::paste;
    bool m_handsFree = false;
    QString m_askContext;
    std::optional<ScreenshotTask> m_screenshotTask;
    // A dictation's audio going up while the key is held.
    std::shared_ptr<DictationStream> m_stream;
};
