#pragma once

// Fakes for every neighbour of a capture session. Each records what it was asked to do in
// one shared, ordered event list, so a test can assert a whole row of effects at once.

#include "app/SessionServices.h"
#include "core/DescribedError.h"

#include <QCoro/QCoroSignal>
#include <QObject>
#include <QStringList>

#include <optional>

// Releases a fake call that was told to hang.
class Gate : public QObject
{
    Q_OBJECT
public:
    void release() { Q_EMIT released(); }
Q_SIGNALS:
    void released();
};

struct FakeRecorder : SessionRecorder
{
    explicit FakeRecorder(QStringList &events) : events(events) {}
    void setLevelHandler(std::function<void(float)> handler) override
    {
        levelHandler = std::move(handler);
    }
    bool start(QString &errorDescription) override
    {
        events << QStringLiteral("recorder.start");
        if (startError) {
            errorDescription = *startError;
            return false;
        }
        return true;
    }
    std::optional<QByteArray> stop() override
    {
        events << QStringLiteral("recorder.stop");
        return take;
    }

    QStringList &events;
    std::function<void(float)> levelHandler;
    std::optional<QString> startError;
    std::optional<QByteArray> take = QByteArray("RIFF-take");
};

struct FakeHud : SessionHud
{
    explicit FakeHud(QStringList &events) : events(events) {}
    void show(const HUDMode &mode) override
    {
        events << QStringLiteral("hud.show ") + mode.toString();
    }
    void setLevel(float level) override { levels << level; }
    void showError(const QString &message) override
    {
        events << QStringLiteral("hud.error ") + message;
    }
    void hide() override { events << QStringLiteral("hud.hide"); }
    void startStreaming(const QString &question) override
    {
        events << QStringLiteral("hud.stream ") + question;
    }
    void appendStreaming(const QString &delta) override
    {
        events << QStringLiteral("hud.delta ") + delta;
    }
    void finishStreaming(const QString &followUp, const QString &finalText) override
    {
        events << QStringLiteral("hud.finish %1 | %2").arg(followUp, finalText);
    }

    QStringList &events;
    QList<float> levels;
};

// A scripted backend call: an immediate answer or failure, or a hang until the gate opens.
struct ScriptedCall
{
    QString result{};
    std::optional<QString> error{};
    bool hang = false;
    QStringList deltas{};
    QList<QPair<QString, QString>> actions{};
};

struct FakeBackend : SessionBackend
{
    explicit FakeBackend(QStringList &events) : events(events) {}

    QCoro::Task<QString> transcribe(QByteArray wav, bool cleanup, CancellationToken token) override
    {
        events << QStringLiteral("backend.transcribe cleanup=%1").arg(cleanup ? u"true" : u"false");
        lastWav = wav;
        token.onCancel([this] { events << QStringLiteral("backend.cancelled"); });
        co_return co_await play(transcribeCall, {}, {});
    }
    QCoro::Task<QString> ask(QString question, QString context, QStringList apps,
                             DeltaHandler onDelta, ActionHandler onAction,
                             CancellationToken) override
    {
        events
            << QStringLiteral("backend.ask %1 | %2 | %3").arg(question, context, apps.join(u','));
        co_return co_await play(askCall, onDelta, onAction);
    }
    QCoro::Task<QString> askImage(QString question, QByteArray jpeg, DeltaHandler onDelta,
                                  CancellationToken) override
    {
        events << QStringLiteral("backend.askImage %1 | %2").arg(question, QString::fromUtf8(jpeg));
        co_return co_await play(askCall, onDelta, {});
    }
    QCoro::Task<void> addHistory(QString kind, QString text) override
    {
        events << QStringLiteral("backend.addHistory %1 | %2").arg(kind, text);
        if (historyError)
            throw DescribedError(*historyError);
        co_return;
    }

    QCoro::Task<QString> play(ScriptedCall call, DeltaHandler onDelta, ActionHandler onAction)
    {
        if (call.hang)
            co_await qCoro(&gate, &Gate::released);
        for (const auto &delta : call.deltas)
            onDelta(delta);
        for (const auto &[type, name] : call.actions)
            onAction(type, name);
        if (call.error)
            throw DescribedError(*call.error);
        co_return call.result;
    }

    QStringList &events;
    Gate gate;
    ScriptedCall transcribeCall{QStringLiteral("hello world")};
    ScriptedCall askCall{QStringLiteral("the answer")};
    std::optional<QString> historyError;
    QByteArray lastWav;
};

struct FakeTextOutput : TextOutput
{
    explicit FakeTextOutput(QStringList &events) : events(events) {}
    void paste(const QString &text) override { events << QStringLiteral("paste ") + text; }
    void copyToClipboard(const QString &text) override
    {
        events << QStringLiteral("clipboard ") + text;
    }
    QStringList &events;
};

struct FakeSelection : SelectionSource
{
    std::optional<QString> viaAccessibility() override { return accessible; }
    std::optional<QString> viaCopy() override
    {
        ++copyCalls;
        return copied;
    }
    std::optional<QString> accessible;
    std::optional<QString> copied;
    int copyCalls = 0;
};

struct FakeScreenshots : ScreenshotSource
{
    explicit FakeScreenshots(QStringList &events) : events(events) {}
    QCoro::Task<std::optional<QByteArray>> captureActiveDisplay(double maxDimension,
                                                                double quality) override
    {
        events << QStringLiteral("screenshot %1 %2").arg(maxDimension).arg(quality);
        // A copy: QCoro's co_return of an lvalue moves from it.
        co_return std::optional<QByteArray>(jpeg);
    }
    QStringList &events;
    std::optional<QByteArray> jpeg = QByteArray("JPEG");
};

struct FakeApps : AppLauncher
{
    QStringList names() override { return installed; }
    bool open(const QString &name) override { return installed.contains(name); }
    QStringList installed{QStringLiteral("Calendar"), QStringLiteral("Files")};
};

struct FakeCorrections : CorrectionHooks
{
    explicit FakeCorrections(QStringList &events) : events(events) {}
    void stopWatching() override { events << QStringLiteral("corrections.stop"); }
    void hidePrompt() override { events << QStringLiteral("prompt.hide"); }
    void startWatching(const QString &insertedText, CorrectionHandler handler) override
    {
        events << QStringLiteral("corrections.start ") + insertedText;
        onCorrection = std::move(handler);
    }
    void showPrompt(const QString &heard, const QString &corrected) override
    {
        events << QStringLiteral("prompt.show %1 -> %2").arg(heard, corrected);
    }
    QStringList &events;
    CorrectionHandler onCorrection;
};

struct FakeCues : CuePlayer
{
    explicit FakeCues(QStringList &events) : events(events) {}
    void play(Cue cue) override
    {
        static const char *names[] = {"start", "stop", "done", "fail"};
        events << QStringLiteral("cue.") + QLatin1String(names[static_cast<int>(cue)]);
    }
    QStringList &events;
};

struct FakeSignIn : SignInState
{
    bool isSignedIn() const override { return signedIn; }
    bool signedIn = true;
};

struct FakeHistory : HistoryRefresher
{
    explicit FakeHistory(QStringList &events) : events(events) {}
    void refreshTranscripts() override { events << QStringLiteral("history.refresh transcripts"); }
    void refreshChat() override { events << QStringLiteral("history.refresh chat"); }
    QStringList &events;
};

struct FakeSettings : SettingsSource
{
    Settings current() const override { return settings; }
    Settings settings;
};

struct FakeShell : StatusShell
{
    explicit FakeShell(QStringList &events) : events(events) {}
    void setStatusText(const QString &text) override { events << QStringLiteral("status ") + text; }
    void updateStatusIcon(SessionState state) override { icons << state; }
    void showMainWindow() override { events << QStringLiteral("window.show"); }
    void openPrivacySettings(const QString &page) override
    {
        events << QStringLiteral("privacy ") + page;
    }
    QStringList &events;
    QList<SessionState> icons;
};

// All fakes, wired into the SessionServices a controller takes.
struct FakeSession
{
    QStringList events;
    FakeRecorder recorder{events};
    FakeHud hud{events};
    FakeBackend backend{events};
    FakeTextOutput text{events};
    FakeSelection selection;
    FakeScreenshots screenshots{events};
    FakeApps apps;
    FakeCorrections corrections{events};
    FakeCues cues{events};
    FakeSignIn signIn;
    FakeHistory history{events};
    FakeSettings settings;
    FakeShell shell{events};

    SessionServices services()
    {
        return {recorder,    hud,  backend, text,    selection, screenshots, apps,
                corrections, cues, signIn,  history, settings,  shell};
    }
};
