#pragma once

#include "ChatModel.h"
#include "ServerConfig.h"
#include "UpstreamClient.h"

// A chat model behind an OpenAI-compatible /v1/chat/completions, streamed as server-sent
// events. Conversations with an image go to the vision model.
class OpenAiChatModel : public ChatModel
{
public:
    static UpstreamClient::Timeouts defaultTimeouts() { return {}; }

    explicit OpenAiChatModel(const ServerConfig::ChatUpstream &upstream,
                             UpstreamClient::Timeouts timeouts = defaultTimeouts());

    // The answer so far when onDelta stopped it.
    std::string complete(const std::vector<Message> &messages, const DeltaSink &onDelta) override;
    // "<model> at <base address>"
    std::string description() const override;

private:
    std::string requestBody(const std::vector<Message> &messages) const;

    UpstreamClient m_client;
    std::string m_model;
    std::string m_visionModel;
};
