#pragma once

#include "ServerConfig.h"
#include "Transcriber.h"
#include "UpstreamClient.h"

// Speech to text by an OpenAI-compatible /v1/audio/transcriptions (a whisper.cpp server or a
// cloud API): the audio goes up as a 16-bit WAV, the user's terms as the spelling prompt.
class OpenAiTranscriber : public Transcriber
{
public:
    static UpstreamClient::Timeouts defaultTimeouts()
    {
        using namespace std::chrono_literals;
        // The reply comes only once the whole recording is recognised.
        return {.connect = 10s, .stall = 120s, .total = 120s};
    }

    explicit OpenAiTranscriber(const ServerConfig::Upstream &upstream,
                               UpstreamClient::Timeouts timeouts = defaultTimeouts());

    std::string transcribe(const MonoAudio &audio,
                           const std::vector<std::string> &vocabulary) override;
    // "<model> at <base address>"
    std::string description() const override;

private:
    UpstreamClient m_client;
    std::string m_model;
};
