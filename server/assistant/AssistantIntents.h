#pragma once

#include "DeviceTime.h"
#include "IntentReply.h"
#include "Phrase.h"
#include "ProjectNames.h"
#include "TaskIntents.h"

#include <optional>
#include <string>
#include <vector>

class UserData;

// The questions answered without a language model: opening an app, adding a task, a
// reminder or a memory, the time and date, what is remembered about something, and the
// open tasks. Matching is on whole commands, so a question that merely mentions one ("how do I
// add a task in Jira", "what time is it in Tokyo") is left to the model.
class AssistantIntents
{
public:
    // Longer text isn't a spoken command.
    static constexpr std::size_t maxCommandBytes = 500;
    static constexpr std::size_t maxListed = 10;

    explicit AssistantIntents(UserData &data,
                              DeviceTime::Clock clock = std::chrono::system_clock::now);

    // nullopt when the question is not one of these commands. Writes go to the user's rows.
    std::optional<IntentReply> answer(const std::string &question, const std::string &now,
                                      const std::vector<std::string> &apps);

private:
    using Reply = std::optional<IntentReply>;

    Reply openApp(const Phrase &phrase, std::size_t begin, std::size_t end,
                  const std::vector<std::string> &apps);
    Reply remember(const Phrase &phrase, std::size_t begin, std::size_t end);
    Reply tellTime(const Phrase &phrase, std::size_t begin, std::size_t end, const DeviceTime &now);
    Reply recall(const Phrase &phrase, std::size_t begin, std::size_t end);

    UserData &m_data;
    DeviceTime::Clock m_clock;
    ProjectNames m_projects;
    TaskIntents m_tasks;
};
