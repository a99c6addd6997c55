#pragma once

#include "core/CancellationToken.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class AudioRecorder;
class Backend;

// A dictation streamed to the server while the key is held, so that at release only the
// tail is left to decode. Chunks go up one at a time, about every 200 ms of audio. Any
// failure (a server that takes whole files only, a dropped connection) ends the stream
// quietly: finish() then gives nothing and the session sends the whole take, which the
// recorder keeps anyway, so nothing is lost.
class DictationStream : public QObject
{
    Q_OBJECT
public:
    static constexpr double chunkSeconds = 0.2;

    DictationStream(Backend &backend, int sampleRate, bool cleanup, QObject *parent = nullptr);
    // A stream of the recorder's take under way: what it already holds (the key-down's audio,
    // a warm microphone's pre-roll) first, then every block as it comes.
    static std::shared_ptr<DictationStream> follow(AudioRecorder &recorder, Backend &backend,
                                                   bool cleanup);
    ~DictationStream() override;

    // Mono samples at the stream's rate, in order from the take's start.
    void append(const QList<float> &mono);
    // Sends the rest and asks for the text; nothing when the stream failed or was cancelled.
    QCoro::Task<std::optional<QString>> finish(CancellationToken cancel);
    // The session ended without it: the server forgets it.
    void abandon();
    // Why it failed, for the log; empty while it works.
    const QString &problem() const { return m_problem; }
    // The server took the stream (one that refused it takes whole files only).
    bool opened() const { return !m_stream.isEmpty(); }

Q_SIGNALS:
    void ended();

private:
    QCoro::Task<void> open(int sampleRate, bool cleanup);
    // Sends a chunk, or without one asks for the text.
    QCoro::Task<void> step(std::optional<QByteArray> chunk, int seq);
    // Starts the next call when none is under way: a chunk, or at the end the text.
    void pump();
    void fail(const QString &problem);
    void end();

    Backend &m_backend;
    QByteArray m_pending; // 16-bit little-endian samples not yet sent
    qsizetype m_chunkBytes;
    QString m_stream;
    int m_seq = 0;
    bool m_finishing = false;
    bool m_abandoned = false;
    bool m_busy = true; // a call is under way (the first is the opening)
    bool m_ended = false;
    std::optional<QString> m_text;
    QString m_problem;
    CancellationToken m_cancel;
};
