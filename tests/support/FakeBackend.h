#pragma once

// The backend client with its session calls and health check scripted, for unit tests of
// what uses them. Every other call goes to the address it was made with (a
// FakeBackendServer when the test needs them).

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "support/FakePlatform.h"

#include <QCoro/QCoroSignal>
#include <QObject>

// Releases the calls that were told to hang.
class Gate : public QObject
{
    Q_OBJECT
public:
    void release() { Q_EMIT released(); }
Q_SIGNALS:
    void released();
};

// One scripted call: an answer or a failure, at once or when the gate opens.
struct ScriptedCall
{
    QString result{};
    std::optional<QString> error{};
    bool hang = false;
    QStringList deltas{};
    QList<QPair<QString, QString>> actions{};
};

class FakeBackend : public Backend, public Noting
{
public:
    explicit FakeBackend(QUrl baseURL = QUrl(QStringLiteral("http://127.0.0.1:9")))
        : Backend(std::move(baseURL))
    {}

    QCoro::Task<bool> health() override
    {
        ++healthChecks;
        co_return reachable;
    }
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
    // Streaming: refused at once unless `streaming`, as a server that takes whole files only.
    QCoro::Task<QString> openTranscriptionStream(int sampleRate, bool cleanup,
                                                 CancellationToken) override
    {
        if (!streaming)
            throw DescribedError(QStringLiteral("Streaming needs the built-in engine."));
        note(QStringLiteral("backend.stream.open %1%2")
                 .arg(sampleRate)
                 .arg(cleanup ? QStringLiteral(" cleanup") : QString()));
        co_return QStringLiteral("s1");
    }
    QCoro::Task<void> sendTranscriptionAudio(QString, int seq, QByteArray pcm16,
                                             CancellationToken) override
    {
        note(QStringLiteral("backend.stream.audio %1 %2").arg(seq).arg(pcm16.size()));
        streamedBytes += pcm16.size();
        if (audioError)
            throw DescribedError(*audioError);
        co_return;
    }
    QCoro::Task<QString> finishTranscriptionStream(QString, CancellationToken token) override
    {
        note("backend.stream.finish");
        token.onCancel([this] { note("backend.cancelled"); });
        co_return co_await play(streamCall, {}, {});
    }
    void dropTranscriptionStream(QString) override { note("backend.stream.drop"); }

    QCoro::Task<void> addHistory(QString kind, QString text) override
    {
        note("backend.addHistory " + kind + " | " + text);
        if (historyError)
            throw DescribedError(*historyError);
        co_return;
    }

    Gate gate;
    ScriptedCall transcribeCall{"hello world"};
    ScriptedCall askCall{"the answer"};
    bool streaming = false;
    ScriptedCall streamCall{"streamed words"};
    std::optional<QString> audioError;
    qsizetype streamedBytes = 0;
    std::optional<QString> historyError;
    QByteArray lastWav;
    bool reachable = true;
    int healthChecks = 0;

private:
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
};
