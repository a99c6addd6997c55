#include "OpenAiTranscriber.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

// Services cap the prompt (about 224 tokens for the reference API); later terms would be cut.
constexpr std::size_t maxPromptLength = 800;
constexpr std::size_t maxReplyBytes = 16u << 20;

void put(std::string &out, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.push_back(char((value >> (8 * i)) & 0xff));
}

// 16-bit PCM WAV, the format every transcription service accepts.
std::string wav(const MonoAudio &audio)
{
    const auto dataBytes = std::uint32_t(audio.samples.size() * 2);
    const auto rate = std::uint32_t(audio.sampleRate > 0 ? audio.sampleRate : 16000);
    std::string out;
    out.reserve(44 + dataBytes);
    out += "RIFF";
    put(out, 36 + dataBytes, 4);
    out += "WAVEfmt ";
    put(out, 16, 4);
    put(out, 1, 2); // PCM
    put(out, 1, 2); // mono
    put(out, rate, 4);
    put(out, rate * 2, 4);
    put(out, 2, 2);
    put(out, 16, 2);
    out += "data";
    put(out, dataBytes, 4);
    for (const float sample : audio.samples) {
        const float clamped = std::isfinite(sample) ? std::clamp(sample, -1.0f, 1.0f) : 0.0f;
        put(out, std::uint16_t(std::int16_t(std::lround(clamped * 32767.0f))), 2);
    }
    return out;
}

std::string prompt(const std::vector<std::string> &vocabulary)
{
    std::string text;
    for (const std::string &term : vocabulary) {
        if (term.empty())
            continue;
        if (text.size() + term.size() + 2 > maxPromptLength)
            break;
        if (!text.empty())
            text += ", ";
        text += term;
    }
    return text;
}

} // namespace

OpenAiTranscriber::OpenAiTranscriber(const ServerConfig::Upstream &upstream,
                                     UpstreamClient::Timeouts timeouts)
    : m_client("transcription service", upstream.url, upstream.key, timeouts),
      m_model(upstream.model)
{}

std::string OpenAiTranscriber::description() const
{
    return m_model + " at " + m_client.baseUrl();
}

std::string OpenAiTranscriber::transcribe(const MonoAudio &audio,
                                          const std::vector<std::string> &vocabulary)
{
    // Name, data, file name, type.
    std::vector<UpstreamClient::FormPart> parts = {
        {"file", wav(audio), "audio.wav", "audio/wav"},
        {"model", m_model, {}, {}},
        {"response_format", "json", {}, {}},
    };
    if (const std::string terms = prompt(vocabulary); !terms.empty())
        parts.push_back({"prompt", terms, {}, {}});

    std::string body;
    m_client.postForm("/audio/transcriptions", parts, [&](std::string_view bytes) {
        if (body.size() + bytes.size() > maxReplyBytes)
            m_client.fail("its reply is larger than any transcript");
        body.append(bytes);
        return true;
    });
    const auto reply = nlohmann::json::parse(body, nullptr, false);
    if (reply.is_discarded() || !reply.is_object() || !reply.contains("text") ||
        !reply["text"].is_string())
        m_client.fail("its reply has no \"text\": " +
                      (body.size() > 200 ? body.substr(0, 200) + "…" : body));
    std::string text = reply["text"].get<std::string>();
    // Whisper starts its text with a space.
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}
