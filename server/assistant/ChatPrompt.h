#pragma once

#include "ChatModel.h"
#include "DeviceTime.h"

#include <string>
#include <vector>

class UserData;

// The conversation sent to a chat model for a question the offline intents don't answer:
// who the assistant is, the user's local time and memories, the last few exchanges, then the
// question with any selected text. Everything taken from storage is bounded so a long history
// or a huge selection can't crowd out the question.
class ChatPrompt
{
public:
    static constexpr std::size_t maxTurns = 6;
    static constexpr std::size_t maxHistoryBytes = 8 * 1024;
    static constexpr std::size_t maxMemories = 30;
    static constexpr std::size_t maxMemoryBytes = 4 * 1024;
    static constexpr std::size_t maxContextBytes = 16 * 1024;

    explicit ChatPrompt(UserData &data, DeviceTime::Clock clock = std::chrono::system_clock::now);

    // System message, past turns oldest first (user, assistant, …), then the question.
    std::vector<ChatModel::Message> messages(const std::string &question, const std::string &now,
                                             const std::string &context = {});

    // The answer when no chat model is configured.
    static std::string noModelExplanation();

private:
    std::string systemText(const DeviceTime &now);

    UserData &m_data;
    DeviceTime::Clock m_clock;
};
