#pragma once

#include "app/SessionRecorder.h"

class AudioRecorder;

// The dictation recorder as a capture session uses it.
class RecorderAdapter : public SessionRecorder
{
public:
    explicit RecorderAdapter(AudioRecorder &recorder) : m_recorder(recorder) {}

    void setLevelHandler(std::function<void(float)> handler) override;
    bool start(QString &errorDescription) override;
    std::optional<QByteArray> stop() override;

private:
    AudioRecorder &m_recorder;
};
