#pragma once

#include "audio/MicDevice.h"

#include <QList>

#include <optional>

class SoundServer;

// The microphones of this session, asked afresh on every call (no cache, no listener).
class AudioDevices
{
public:
    // Where the default input comes from; without a server (or when it can't answer),
    // the audio layer's own default. Not owned; the application sets it for its run.
    static void setSoundServer(SoundServer *server);

    // In the sound server's order. Monitors of outputs and devices without a name or id
    // are not inputs a user means.
    static QList<MicDevice> inputDevices();
    static std::optional<QAudioDevice> deviceID(const QString &uid);
    // The input chosen as the default in Sound settings.
    static std::optional<QAudioDevice> defaultInputDeviceID();
    // `micUID`'s device, else the default input, else nothing at all.
    static std::optional<QAudioDevice> preferredInput(const QString &micUID);
};
