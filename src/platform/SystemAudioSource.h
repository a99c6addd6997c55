#pragma once

#include <QtGlobal>

#include <functional>

// What the computer plays (the default output, as the speakers hear it), so a meeting has
// the other side of a call as well as the microphone.
class SystemAudioSource
{
public:
    // Mono float samples at the rate asked for, on the main thread.
    using BlockHandler = std::function<void(const float *samples, qsizetype count)>;
    using FailureHandler = std::function<void()>;

    virtual ~SystemAudioSource() = default;

    // False when recording can't even begin. A failure found later (no output to listen
    // to, the sound server gone) is reported once through `onFailure`, on the main thread,
    // and no block follows it.
    virtual bool start(int sampleRate, BlockHandler onBlock, FailureHandler onFailure) = 0;
    // No handler is called after this returns.
    virtual void stop() = 0;
};
