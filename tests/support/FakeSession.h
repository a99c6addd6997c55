#pragma once

// Fakes for every neighbour of a capture session. Each writes what it was asked to do to
// one shared, ordered event list, so a test can assert a whole row of effects at once.

#include "app/SessionServices.h"
#include "core/DescribedError.h"

#include <QCoro/QCoroSignal>
#include <QObject>
#include <QStringList>

#include <optional>

// Releases the fake backend calls that were told to hang.
class Gate : public QObject
{
    Q_OBJECT
public:
    void release() { Q_EMIT released(); }
Q_SIGNALS:
    void released();
};

struct Noting
{
    QStringList *events = nullptr;
    void note(const QString &event) const { *events << event; }
};

struct FakeRecorder : SessionRecorder, Noting
{
    void setLevelHandler(std::function<void(float)> handler) override { levelHandler = handler; }
    bool start(QString &errorDescription) override
    {
        note("recorder.start");
        errorDescription = startError.value_or(QString());
        return !startError;
    }
    std::optional<QByteArray> stop() override
    {
        note("recorder.stop");
        return take;
    }

    std::function<void(float)> levelHandler;
    std::optional<QString> startError;
    std::optional<QByteArray> take = QByteArray("RIFF-take");
};

struct FakeHud : SessionHud, Noting
{
    void show(const HUDMode &mode) override { note("hud.show " + mode.toString()); }
    void setLevel(float level) override { levels << level; }
    void showError(const QString &message) override { note("hud.error " + message); }
    void hide() override { note("hud.hide"); }
    void startStreaming(const QString &question) override { note("hud.stream " + question); }
    void appendStreaming(const QString &delta) override { note("hud.delta " + delta); }
    void finishStreaming(const QString &followUp, const QString &text) override
    {
        note("hud.finish " + followUp + " | " + text);
    }
    QList<float> levels;
};

// One scripted backend call: an answer or a failure, at once or when the gate opens.
struct ScriptedCall
{
    QString result{};
    std::optional<QString> error{};
    bool hang = false;
    QStringList deltas{};
    QList<QPair<QString, QString>> actions{};
};

struct FakeBackend : SessionBackend, Noting
{
    QCoro::Task<QString> transcribe(QByteArray wav, bool cleanup, CancellationToken token) override
    {
        note(cleanup ? "backend.transcribe cleanup" : "backend.transcribe");
        lastWav = wav;
        token.onCancel([this] { note("backend.cancelled"); });
        co_return co_await play(transcribeCall, {}, {});
    }
    QCoro::Task<QString> ask(QString question, QString context, QStringList apps,
                             DeltaHandler onDelta, ActionHandler onAction,
                             CancellationToken) override
    {
        note("backend.ask " + question + " | " + context + " | " + apps.join(u','));
        co_return co_await play(askCall, onDelta, onAction);
    }
    QCoro::Task<QString> askImage(QString question, QByteArray jpeg, DeltaHandler onDelta,
                                  CancellationToken) override
    {
        note("backend.askImage " + question + " | " + QString::fromUtf8(jpeg));
        co_return co_await play(askCall, onDelta, {});
    }
    QCoro::Task<void> addHistory(QString kind, QString text) override
    {
        note("backend.addHistory " + kind + " | " + text);
        if (historyError)
            throw DescribedError(*historyError);
        co_return;
    }

    QCoro::Task<QString> play(ScriptedCall call, DeltaHandler onDelta, ActionHandler onAction)
    {
        if (call.hang) {
            co_await qCoro(&gate, &Gate::released);
            note("backend.resumed");
        }
        for (const auto &delta : call.deltas)
            onDelta(delta);
        for (const auto &[type, name] : call.actions)
            onAction(type, name);
        if (call.error)
            throw DescribedError(*call.error);
        co_return call.result;
    }

    Gate gate;
    ScriptedCall transcribeCall{"hello world"};
    ScriptedCall askCall{"the answer"};
    std::optional<QString> historyError;
    QByteArray lastWav;
};

struct FakeTextOutput : TextOutput, Noting
{
    void paste(const QString &text) override { note("paste " + text); }
    void copyToClipboard(const QString &text) override { note("clipboard " + text); }
};

struct FakeSelection : SelectionSource
{
    std::optional<QString> viaAccessibility() override { return accessible; }
    std::optional<QString> viaCopy() override
    {
        ++copyCalls;
        return copied;
    }
    std::optional<QString> accessible, copied;
    int copyCalls = 0;
};

struct FakeScreenshots : ScreenshotSource, Noting
{
    QCoro::Task<std::optional<QByteArray>> captureActiveDisplay(double maxDimension,
                                                                double quality) override
    {
        note(QStringLiteral("screenshot %1 %2").arg(maxDimension).arg(quality));
        // A copy: QCoro's co_return of an lvalue moves from it.
        co_return std::optional<QByteArray>(jpeg);
    }
    std::optional<QByteArray> jpeg = QByteArray("JPEG");
};

struct FakeApps : AppLauncher
{
    QStringList names() override { return {"Calendar", "Files"}; }
    bool open(const QString &name) override { return names().contains(name); }
};

struct FakeCorrections : CorrectionHooks, Noting
{
    void stopWatching() override { note("corrections.stop"); }
    void hidePrompt() override { note("prompt.hide"); }
    void startWatching(const QString &text, CorrectionHandler handler) override
    {
        note("corrections.start " + text);
        onCorrection = handler;
    }
    void showPrompt(const QString &heard, const QString &corrected) override
    {
        note("prompt.show " + heard + " -> " + corrected);
    }
    CorrectionHandler onCorrection;
};

struct FakeCues : CuePlayer, Noting
{
    void play(Cue cue) override
    {
        note(QStringList{"cue.start", "cue.stop", "cue.done", "cue.fail"}.at(int(cue)));
    }
};

struct FakeSignIn : SignInState
{
    bool isSignedIn() const override { return signedIn; }
    bool signedIn = true;
};

struct FakeHistory : HistoryRefresher, Noting
{
    void refreshTranscripts() override { note("history.refresh transcripts"); }
    void refreshChat() override { note("history.refresh chat"); }
};

struct FakeSettings : SettingsSource
{
    Settings current() const override { return settings; }
    Settings settings;
};

struct FakeShell : StatusShell, Noting
{
    void setStatusText(const QString &text) override { note("status " + text); }
    void updateStatusIcon(SessionState state) override { icons << state; }
    void showMainWindow() override { note("window.show"); }
    void openPrivacySettings(const QString &page) override { note("privacy " + page); }
    QList<SessionState> icons;
};

// All fakes, wired into the SessionServices a controller takes.
struct FakeSession
{
    QStringList events;
    FakeRecorder recorder;
    FakeHud hud;
    FakeBackend backend;
    FakeTextOutput text;
    FakeSelection selection;
    FakeScreenshots screenshots;
    FakeApps apps;
    FakeCorrections corrections;
    FakeCues cues;
    FakeSignIn signIn;
    FakeHistory history;
    FakeSettings settings;
    FakeShell shell;

    FakeSession()
    {
        for (Noting *fake :
             std::initializer_list<Noting *>{&recorder, &hud, &backend, &text, &screenshots,
                                             &corrections, &cues, &history, &shell})
            fake->events = &events;
    }
    SessionServices services()
    {
        return {recorder,    hud,  backend, text,    selection, screenshots, apps,
                corrections, cues, signIn,  history, settings,  shell};
    }
};
