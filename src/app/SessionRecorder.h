#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

// The dictation recorder as a capture session sees it.
class SessionRecorder
{
public:
    virtual ~SessionRecorder() = default;
    // Receives one input level per audio block, on any thread.
    virtual void setLevelHandler(std::function<void(float)> handler) = 0;
    // Starts capturing. On failure returns false with the error's description.
    virtual bool start(QString &errorDescription) = 0;
    // Stops and returns the take as WAV bytes, or nothing when no audio was captured.
    virtual std::optional<QByteArray> stop() = 0;
};
