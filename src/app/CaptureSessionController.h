#pragma once

#include "app/SessionServices.h"
#include "app/SessionState.h"
#include "core/CancellationToken.h"
#include "core/TimerHandle.h"
#include "hotkeys/CaptureMode.h"
#include "stores/Settings.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QVariant>

#include <optional>

class AppModel;
class PermissionProbe;
class Scheduler;

// Turns hotkey events into capture sessions: records, sends the take to the backend under
// a watchdog, and delivers the result (pasted, copied, or streamed as an answer). At most one
// session exists at a time; every failure ends idle with one log line, one status line and
// one HUD error. Main thread only.
class CaptureSessionController : public QObject
{
    Q_OBJECT
public:
    static constexpr double watchdogSeconds = 25.0;
    static constexpr double screenshotMaxDimension = 1568;
    static constexpr double screenshotQuality = 0.6;

    CaptureSessionController(SessionServices services, AppModel &model,
                             PermissionProbe &permissions, Scheduler &scheduler,
                             QObject *parent = nullptr);
    ~CaptureSessionController() override;

    SessionState state() const { return m_state; }
    CaptureMode captureMode() const { return m_captureMode; }
    bool handsFree() const { return m_handsFree; }
    QString askContext() const { return m_askContext; }

    // The hotkey engine's four callbacks.
    void handleHoldStart(CaptureMode mode);
    void handleHoldStop(CaptureMode mode);
    void handleHandsFreeStart();
    void handleHandsFreeStop();

    void startRecording(CaptureMode mode, bool handsFree);
    void stopAndTranscribe();
    void handleResult(const QString &text, const Settings &settings);
    void finishAskStream(const QString &answer);
    void armWatchdog();
    // Sets the menu's status line on a later turn of the event loop, so any caller may use it.
    void setStatus(const QString &text);
    // Action of a recent-transcript menu item: copies the item's text.
    void copyTranscript(const QVariant &representedObject);

Q_SIGNALS:
    void stateChanged(SessionState state);

private:
    using ScreenshotTask = QCoro::Task<std::optional<QByteArray>>;

    void setState(SessionState state);
    void endIdle();
    void readAskContext();
    void watchdogFired();
    void failSession(CaptureMode mode, const QString &description);
    static bool isGone(const QObject *self, const CancellationToken &token);

    QCoro::Task<void> runSession(CaptureMode mode, QByteArray wav, Settings settings,
                                 QString askContext, std::optional<ScreenshotTask> screenshot,
                                 CancellationToken token);
    QCoro::Task<void> runDictation(QByteArray wav, Settings settings, CancellationToken token);
    QCoro::Task<void> runAsk(QByteArray wav, QString askContext, CancellationToken token);
    QCoro::Task<void> runScreen(QByteArray wav, std::optional<ScreenshotTask> screenshot,
                                CancellationToken token);
    SessionBackend::DeltaHandler deltaHandler(const CancellationToken &token);
    SessionBackend::ActionHandler actionHandler(const CancellationToken &token);
    void onMainThread(std::function<void()> work);

    SessionServices m_services;
    AppModel &m_model;
    PermissionProbe &m_permissions;
    Scheduler &m_scheduler;

    SessionState m_state = SessionState::idle;
    CancellationToken m_transcribeTask;
    TimerHandle m_watchdog;
    CaptureMode m_captureMode = CaptureMode::paste;
    bool m_handsFree = false;
    QString m_askContext;
    std::optional<ScreenshotTask> m_screenshotTask;
};
