#include "Engines.h"

#include "OpenAiChatModel.h"
#include "OpenAiTranscriber.h"
#include "ScreenTextReader.h"
#include "SpeechMeetingProcessor.h"
#include "SphinxTranscriber.h"

namespace {

// `thorough`: for recordings nobody waits on, the offline engine takes its slower pass.
OnDemandTranscriber::Factory transcriberFactory(const ServerConfig &config, bool thorough)
{
    if (config.transcription.active()) {
        const ServerConfig::Upstream upstream = config.transcription;
        return [upstream] { return std::make_unique<OpenAiTranscriber>(upstream); };
    }
    return [thorough] {
        return std::make_unique<SphinxTranscriber>(thorough ? SphinxTranscriber::thoroughModel()
                                                            : SphinxTranscriber::defaultModel());
    };
}

std::string transcriberDescription(const ServerConfig &config)
{
    if (config.transcription.active())
        return config.transcription.model + " at " + config.transcription.url;
    return "pocketsphinx (en-us)";
}

} // namespace

Engines::Engines(ServerConfig config)
    : m_config(std::move(config)),
      m_chat(m_config.chat.active() ? std::make_unique<OpenAiChatModel>(m_config.chat) : nullptr),
      m_transcriber(transcriberFactory(m_config, false), transcriberDescription(m_config)),
      m_meetingTranscriber(transcriberFactory(m_config, true), transcriberDescription(m_config)),
      m_screenText(std::make_unique<ScreenTextReader>()),
      m_meetings(std::make_unique<SpeechMeetingProcessor>(m_meetingTranscriber, m_chat.get()))
{}

Engines::~Engines() = default;

std::string Engines::describe() const
{
    const std::string missing = SphinxTranscriber::missingReason();
    const std::string offline =
        missing.empty() ? "pocketsphinx (en-us)" : "unavailable \u2014 " + missing;
    return m_config.describe(offline, m_screenText->description());
}
