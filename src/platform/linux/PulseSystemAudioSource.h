#pragma once

#include "platform/SystemAudioSource.h"

#include <QObject>

#include <memory>

// Records the monitor of the default output from the PulseAudio server (or PipeWire's
// PulseAudio service), which resamples and folds the channels to what was asked for.
// The server's callbacks run on a thread of its own; blocks and failures cross to the
// main thread queued, and everything else stays there.
class PulseSystemAudioSource : public QObject, public SystemAudioSource
{
public:
    // Short fragments: the mix waits for the computer's side no longer than this.
    static constexpr int fragmentMilliseconds = 20;

    explicit PulseSystemAudioSource(QObject *parent = nullptr);
    ~PulseSystemAudioSource() override;

    bool start(int sampleRate, BlockHandler onBlock, FailureHandler onFailure) override;
    void stop() override;
    bool isRunning() const { return m_connection != nullptr; }

private:
    struct Connection;

    void deliver(quint64 generation, const QList<float> &samples);
    void fail(quint64 generation);

    std::unique_ptr<Connection> m_connection;
    BlockHandler m_onBlock;
    FailureHandler m_onFailure;
    // Blocks and failures of an earlier start still queued are recognised by this.
    quint64 m_generation = 0;
};
