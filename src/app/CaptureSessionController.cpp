#include "app/CaptureSessionController.h"

#include "app/AnswerFlow.h"
#include "app/DictationStream.h"
#include "audio/AudioRecorder.h"
#include "audio/Sounds.h"
#include "core/DescribedError.h"
#include "core/Scheduler.h"
#include "core/Text.h"
#include "correction/Corrections.h"
#include "desktop/ClipboardKeeper.h"
#include "desktop/Paster.h"
#include "desktop/SelectionReader.h"
#include "hud/RecordingHUD.h"
#include "platform/InstalledApps.h"
#include "platform/PermissionProbe.h"
#include "platform/linux/FnKey.h"
#include "screenshot/ScreenCapturer.h"
#include "state/AppModel.h"
#include "stores/AuthStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"

#include <QPointer>

namespace {

using Text::quoted;
using Sound = Sounds::Sound;

QString failurePrefix(CaptureMode mode)
{
    switch (mode) {
    case CaptureMode::ask:
        return QStringLiteral("Ask failed: ");
    case CaptureMode::screen:
        return QStringLiteral("Read-screen failed: ");
    case CaptureMode::paste:
        break;
    }
    return QStringLiteral("Transcription failed: ");
}

} // namespace

CaptureSessionController::CaptureSessionController(CaptureServices services, QObject *parent)
    : QObject(parent), m_services(services),
      m_answers(new AnswerFlow(
          services,
          AnswerFlow::Session{
              .endIdle = [this] { endIdle(); },
              .setStatus = [this](const QString &text) { setStatus(text); },
              .privacyHelp = [this](const QString &page) { Q_EMIT privacyHelpNeeded(page); },
          },
          this))
{
    // The recorder only speaks while it records, and the pill shows its level.
    connect(&m_services.recorder, &AudioRecorder::levelChanged, &m_services.hud,
            &RecordingHUD::setLevel);
    connect(&m_services.corrections, &Corrections::correctionFound, this,
            [this](const QString &heard, const QString &corrected) {
                m_services.model.log(QStringLiteral("✎ Correction detected: %1 → %2")
                                         .arg(quoted(heard), quoted(corrected)));
            });
}

CaptureSessionController::~CaptureSessionController()
{
    // A task still in flight must not reach a destroyed controller.
    m_transcribeTask.cancel();
}

void CaptureSessionController::handleHoldStart(CaptureMode mode)
{
    m_services.model.setHotkeyIsDown(true);
    switch (mode) {
    case CaptureMode::paste:
        m_services.model.log(QStringLiteral("▼ Dictation key pressed"));
        break;
    case CaptureMode::ask:
        m_services.model.log(QStringLiteral("▼ Ask-AI key pressed"));
        break;
    case CaptureMode::screen:
        m_services.model.log(QStringLiteral("▼ Read-screen key pressed"));
        break;
    }
    startRecording(mode, false);
}

void CaptureSessionController::handleHoldStop(CaptureMode)
{
    // Whatever chord is released ends the session that is recording.
    m_services.model.setHotkeyIsDown(false);
    m_services.model.log(QStringLiteral("▲ Key released"));
    stopAndTranscribe();
}

void CaptureSessionController::handleHandsFreeStart()
{
    m_services.model.log(
        QStringLiteral("⊙ Hands-free started (double-tap %1). Tap %1 again to stop.")
            .arg(FnKey::shared().label()));
    startRecording(CaptureMode::paste, true);
}

void CaptureSessionController::handleHandsFreeStop()
{
    m_services.model.log(
        QStringLiteral("⊙ Hands-free stopped (%1). Transcribing…").arg(FnKey::shared().label()));
    stopAndTranscribe();
}

void CaptureSessionController::handleCaptureArmed()
{
    // Where the start would refuse, it says why once the mode is known.
    if (m_state != SessionState::idle || m_armed || !signedIn() || microphoneRefused())
        return;
    try {
        m_services.recorder.start();
    } catch (...) {
        return; // the start reports it
    }
    m_armed = true;
    // A hold never decided (the engine stopped meanwhile) must not leave the microphone on.
    m_armedLimit =
        m_services.scheduler.schedule(armedLimitSeconds, [this] { handleCaptureDisarmed(); });
}

void CaptureSessionController::handleCaptureDisarmed()
{
    if (!std::exchange(m_armed, false))
        return;
    m_armedLimit = {};
    if (m_state == SessionState::idle)
        m_services.recorder.stop(); // nobody asked for this audio
}

void CaptureSessionController::startRecording(CaptureMode mode, bool handsFree)
{
    if (m_state != SessionState::idle)
        return;
    // A recording begun at key-down goes on as this one's start.
    const bool armed = std::exchange(m_armed, false);
    m_armedLimit = {};

    m_services.corrections.dismiss();

    // Refused after all (signed out or the microphone taken away since the key went down):
    // the audio begun for it goes.
    if ((!signedIn() || microphoneRefused()) && armed)
        m_services.recorder.stop();

    if (!signedIn()) {
        m_services.model.log(QStringLiteral("Not signed in — opening Ovrin to log in."));
        m_services.hud.showError(QStringLiteral("Sign in to Ovrin to use dictation."));
        Q_EMIT signInNeeded();
        return;
    }

    if (microphoneRefused()) {
        m_services.model.log(QStringLiteral("Cannot record: microphone permission not granted."));
        setStatus(QStringLiteral("Microphone access needed"));
        m_services.hud.showError(
            QStringLiteral("Microphone access is required. Check that a microphone is "
                           "plugged in, not muted and chosen as input in Sound settings."));
        return;
    }

    m_captureMode = mode;
    m_handsFree = handsFree;

    // The selection and the screenshot are taken when the key goes down, while the
    // user still looks at what the question is about.
    m_askContext.clear();
    m_screenshotTask.reset();
    if (mode == CaptureMode::ask)
        readAskContext();
    else if (mode == CaptureMode::screen)
        // The question is about the user's screen, not about our last answer card.
        m_screenshotTask.emplace(m_services.screens.captureActiveDisplay(
            screenshotMaxDimension, screenshotQuality,
            {m_services.hud.window(), m_services.corrections.banner()}));

    QString error;
    try {
        m_services.recorder.start();
    } catch (...) {
        error = DescribedError::describe(std::current_exception());
    }
    if (!error.isNull()) {
        endIdle();
        m_services.model.log(QStringLiteral("ERROR starting recorder: ") + error);
        setStatus(QStringLiteral("Mic error: ") + error);
        m_services.hud.showError(QStringLiteral("Couldn't start the microphone: ") + error);
        m_services.sounds.play(Sound::fail);
        return;
    }

    setState(SessionState::recording);
    m_services.model.setActivity(Activity::recording);
    switch (mode) {
    case CaptureMode::paste:
        m_services.model.log(QStringLiteral("● Recording started"));
        setStatus(QStringLiteral("Listening…"));
        break;
    case CaptureMode::ask:
        m_services.model.log(QStringLiteral("● Recording (Ask AI)…"));
        setStatus(QStringLiteral("Listening (Ask AI)…"));
        break;
    case CaptureMode::screen:
        m_services.model.log(QStringLiteral("● Recording (Read screen)…"));
        setStatus(QStringLiteral("Listening (Read screen)…"));
        break;
    }
    m_services.hud.show(HUDMode::recording(mode));
    m_services.sounds.play(Sound::start);
    if (mode == CaptureMode::paste) {
        const Settings settings = m_services.settings.current();
        m_stream = DictationStream::follow(m_services.recorder, m_services.backend,
                                           settings.cleanupEnabled);
        // Read while the key is held: the clipboard is about to get the transcript.
        if (settings.pasteAutomatically && settings.restoreClipboard)
            m_services.clipboardKeeper.remember();
    }
}

void CaptureSessionController::readAskContext()
{
    auto selection = m_services.selection.viaAccessibility();
    if (!selection || selection->isEmpty())
        selection = m_services.selection.viaCopy();
    m_askContext = selection.value_or(QString());
    if (m_askContext.isEmpty())
        return;
    m_services.model.log(QStringLiteral("✎ Using selected text as context (%1 chars): %2")
                             .arg(Text::characterCount(m_askContext))
                             .arg(quoted(Text::truncated(m_askContext, 60))));
}

void CaptureSessionController::stopAndTranscribe()
{
    if (m_state != SessionState::recording)
        return;

    setState(SessionState::working);
    m_services.model.setActivity(Activity::transcribing);
    setStatus(QStringLiteral("Transcribing…"));
    m_services.hud.show(HUDMode::processing(m_captureMode));
    m_services.sounds.play(Sound::stop);

    const std::optional<QByteArray> wav = m_services.recorder.stop();
    std::shared_ptr<DictationStream> stream = std::exchange(m_stream, {});
    if (stream)
        disconnect(&m_services.recorder, nullptr, stream.get(), nullptr);
    if (!wav || wav->isEmpty()) {
        if (stream)
            stream->abandon();
        endIdle();
        m_services.model.log(QStringLiteral("No audio captured (empty buffer)."));
        setStatus(QStringLiteral("No audio captured"));
        m_services.hud.hide();
        return;
    }

    m_services.model.log(
        QStringLiteral("■ Recording stopped — %1 bytes of WAV. Sending to backend…")
            .arg(wav->size()));

    m_transcribeTask = CancellationToken();
    std::optional<ScreenshotTask> screenshot = std::move(m_screenshotTask);
    m_screenshotTask.reset();
    // The coroutine frame outlives the returned handle; it ends on its own.
    runSession(m_captureMode, *wav, m_services.settings.current(), m_askContext,
               std::move(screenshot), std::move(stream), m_transcribeTask);
}

QCoro::Task<void> CaptureSessionController::runSession(CaptureMode mode, QByteArray wav,
                                                       Settings settings, QString askContext,
                                                       std::optional<ScreenshotTask> screenshot,
                                                       std::shared_ptr<DictationStream> stream,
                                                       CancellationToken token)
{
    QPointer<CaptureSessionController> self(this);
    std::exception_ptr failure;
    try {
        switch (mode) {
        case CaptureMode::paste:
            co_await runDictation(std::move(wav), std::move(settings), std::move(stream), token);
            break;
        case CaptureMode::ask:
            co_await m_answers->ask(std::move(wav), std::move(askContext), token);
            break;
        case CaptureMode::screen:
            co_await m_answers->screen(std::move(wav), std::move(screenshot), token);
            break;
        }
    } catch (...) {
        failure = std::current_exception();
    }
    // A session the watchdog cancelled has already been reported; it ends silently.
    if (failure && !isGone(self, token))
        failSession(mode, DescribedError::describe(failure));
}

QCoro::Task<void> CaptureSessionController::runDictation(QByteArray wav, Settings settings,
                                                         std::shared_ptr<DictationStream> stream,
                                                         CancellationToken token)
{
    QPointer<CaptureSessionController> self(this);
    std::optional<QString> streamed;
    if (stream) {
        streamed = co_await stream->finish(token);
        if (isGone(self, token))
            co_return;
        // A server that takes whole files only refuses at once; that is no news.
        if (!streamed && stream->opened())
            m_services.model.log(QStringLiteral("Streaming stopped (%1); sending the whole "
                                                "recording.")
                                     .arg(stream->problem()));
    }
    QString raw;
    if (streamed) {
        raw = *streamed;
    } else {
        raw =
            co_await m_services.backend.transcribe(std::move(wav), settings.cleanupEnabled, token);
        if (isGone(self, token))
            co_return;
    }
    const QString text = Text::trimmed(raw);
    deliverTranscript(text, settings);
    if (text.isEmpty())
        co_return;

    // Best effort: the user already has the text, a lost history line is not worth a message.
    try {
        co_await m_services.backend.addHistory(QStringLiteral("dictation"), text);
    } catch (...) {
        co_return;
    }
    // The cached list is out of date whatever its age, so a second dictation within the
    // refresh interval still shows up.
    if (self)
        m_services.history.refresh({HistoryScope::transcripts}, true);
}

void CaptureSessionController::deliverTranscript(const QString &rawText, const Settings &settings)
{
    endIdle();
    const QString text = Text::trimmed(rawText);
    if (text.isEmpty()) {
        m_services.model.log(QStringLiteral("API returned empty transcript."));
        setStatus(QStringLiteral("Nothing transcribed"));
        m_services.hud.showError(QStringLiteral("Nothing transcribed — no speech detected."));
        m_services.sounds.play(Sound::fail);
        return;
    }

    m_services.hud.hide();
    m_services.model.setLastTranscript(text);
    m_services.model.log(QStringLiteral("✓ Transcript: ") + quoted(text));
    m_services.sounds.play(Sound::done);

    if (!settings.pasteAutomatically) {
        m_services.paster.copy(text);
        m_services.model.log(QStringLiteral("Copied to clipboard."));
        setStatus(QStringLiteral("Copied to clipboard ✓"));
        return;
    }

    std::optional<ClipboardContents> previous;
    if (settings.restoreClipboard) {
        previous = m_services.clipboardKeeper.remembered();
        if (!previous)
            m_services.model.log(QStringLiteral("The clipboard will not be restored: %1.")
                                     .arg(m_services.clipboardKeeper.problem()));
        m_services.clipboardKeeper.forget();
    }
    m_services.paster.paste(
        text, [this](Paster::Outcome outcome) { pasteChecked(outcome); }, std::move(previous));
    m_services.model.log(QStringLiteral("Pasted into focused app."));
    setStatus(QStringLiteral("Pasted ✓"));
    m_services.corrections.watch(text);
}

void CaptureSessionController::pasteChecked(Paster::Outcome outcome)
{
    switch (outcome) {
    case Paster::Outcome::landed:
        m_services.model.log(QStringLiteral("Paste checked: the text is in the field."));
        return;
    case Paster::Outcome::unchecked:
        m_services.model.log(
            QStringLiteral("Paste not checked: the focused field does not show its text."));
        return;
    case Paster::Outcome::unsent:
        m_services.model.log(QStringLiteral(
            "Could not send the paste keystroke; the transcript is on the clipboard."));
        break;
    case Paster::Outcome::missing:
        m_services.model.log(QStringLiteral(
            "The paste did not reach the focused field; the transcript is on the clipboard."));
        break;
    }
    // Nothing may fail silently: the text is on the clipboard, the user pastes it.
    setStatus(QStringLiteral("Copied to clipboard ✓"));
    m_services.hud.showError(QStringLiteral("Copied — press Ctrl+V"));
}

void CaptureSessionController::failSession(CaptureMode mode, const QString &description)
{
    endIdle();
    m_services.model.log(QStringLiteral("ERROR: ") + description);
    setStatus(description);
    m_services.hud.showError(failurePrefix(mode) + description);
    m_services.sounds.play(Sound::fail);
}

void CaptureSessionController::watchdogFired()
{
    if (m_state != SessionState::working)
        return;
    m_transcribeTask.cancel();
    endIdle();
    m_services.model.log(QStringLiteral("⏱ Timed out — no response from the backend."));
    m_services.hud.showError(QStringLiteral(
        "This is taking longer than expected. Make sure the backend is running, then try again."));
    m_services.sounds.play(Sound::fail);
}

void CaptureSessionController::setStatus(const QString &text)
{
    QPointer<CaptureSessionController> self(this);
    m_services.scheduler.post([self, text] {
        if (self)
            Q_EMIT self->statusChanged(text);
    });
}

void CaptureSessionController::copyTranscript(const QVariant &representedObject)
{
    if (representedObject.typeId() != QMetaType::QString)
        return;
    m_services.paster.copy(representedObject.toString());
    m_services.model.log(QStringLiteral("Copied transcript from the system tray."));
    setStatus(QStringLiteral("Copied ✓"));
}

void CaptureSessionController::setState(SessionState state)
{
    // The observer runs on every assignment, also when the value does not change.
    m_state = state;
    if (state == SessionState::working)
        m_watchdog = m_services.scheduler.schedule(watchdogSeconds, [this] { watchdogFired(); });
    else
        m_watchdog.cancel();
    Q_EMIT stateChanged(state);
}

void CaptureSessionController::endIdle()
{
    setState(SessionState::idle);
    m_services.model.setActivity(Activity::idle);
}

bool CaptureSessionController::signedIn() const
{
    return m_services.auth.signedIn() && !m_services.auth.token().isEmpty();
}

bool CaptureSessionController::microphoneRefused() const
{
    if (m_services.model.micAuthorized())
        return false;
    const auto status = m_services.permissions.microphoneAuthorization();
    return status == MicrophoneAuthorization::restricted ||
           status == MicrophoneAuthorization::denied;
}

bool CaptureSessionController::isGone(const QObject *self, const CancellationToken &token)
{
    return !self || token.isCancelled();
}
