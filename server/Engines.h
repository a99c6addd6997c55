#pragma once

#include "MeetingProcessor.h"
#include "OnDemandTranscriber.h"
#include "ServerConfig.h"

#include <memory>
#include <string>

class ChatModel;
class ScreenTextReader;

// The engines the configuration chose: an upstream where one is set, the offline one
// otherwise. Shared by every request; each engine serialises what it must.
class Engines
{
public:
    explicit Engines(ServerConfig config);
    ~Engines();

    const ServerConfig &config() const { return m_config; }
    Transcriber &transcriber() { return m_transcriber; }
    // Null when no chat upstream is configured.
    ChatModel *chat() { return m_chat.get(); }
    ScreenTextReader &screenText() { return *m_screenText; }
    MeetingProcessor &meetingProcessor() { return *m_meetings; }

    // What `ovrin-server --check` prints: each engine, and whether it can run.
    std::string describe() const;

private:
    ServerConfig m_config;
    std::unique_ptr<ChatModel> m_chat;
    OnDemandTranscriber m_transcriber;
    OnDemandTranscriber m_meetingTranscriber; // its own decoders, made when a meeting comes
    std::unique_ptr<ScreenTextReader> m_screenText;
    std::unique_ptr<MeetingProcessor> m_meetings;
};
