#pragma once

#include <QByteArray>

#include <optional>

// What the desktop's sound server knows that the audio layer's device list does not say.
class SoundServer
{
public:
    virtual ~SoundServer() = default;
    // The id of the input chosen as the default in Sound settings (a source name, as
    // QAudioDevice::id() has it); nothing when the server can't be asked.
    virtual std::optional<QByteArray> defaultInputId() = 0;
};
