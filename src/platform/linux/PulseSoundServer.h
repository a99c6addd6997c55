#pragma once

#include "platform/SoundServer.h"

// Asks the PulseAudio server (or PipeWire's PulseAudio service) on a short-lived connection
// of its own, so every answer is current; a server that does not answer in time gives nothing.
class PulseSoundServer : public SoundServer
{
public:
    static constexpr int timeoutMilliseconds = 250;

    std::optional<QByteArray> defaultInputId() override;
};
