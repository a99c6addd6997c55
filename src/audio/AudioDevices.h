#pragma once

#include "audio/MicDevice.h"

#include <QList>

#include <optional>

// The microphones of this session, asked afresh on every call (no cache, no listener).
class AudioDevices
{
public:
    // In the sound server's order. Monitors of outputs and devices without a name or id
    // are not inputs a user means.
    static QList<MicDevice> inputDevices();
    static std::optional<QAudioDevice> deviceID(const QString &uid);
    static std::optional<QAudioDevice> defaultInputDeviceID();
    // `micUID`'s device, else the default input, else nothing at all.
    static std::optional<QAudioDevice> preferredInput(const QString &micUID);
};
