#pragma once

#include "platform/SystemAudioSource.h"

#include <memory>

// Records the monitor of the default output from the PulseAudio server (or PipeWire's
// PulseAudio service), which resamples and folds the channels to what was asked for.
// The server's callbacks run on a thread of its own, which emits the signals.
class PulseSystemAudioSource : public SystemAudioSource
{
    Q_OBJECT
public:
    // Short fragments: the mix waits for the computer's side no longer than this.
    static constexpr int fragmentMilliseconds = 20;

    explicit PulseSystemAudioSource(QObject *parent = nullptr);
    ~PulseSystemAudioSource() override;

    bool start(int sampleRate) override;
    void stop() override;
    bool isRunning() const { return m_connection != nullptr; }

private:
    struct Connection;

    std::unique_ptr<Connection> m_connection;
};
