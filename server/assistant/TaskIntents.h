#pragma once

#include "DeviceTime.h"
#include "IntentReply.h"
#include "Phrase.h"

#include <nlohmann/json.hpp>

#include <optional>

class ProjectNames;
class UserData;

// Tasks and reminders said aloud: "add a task … (to the P project) (by Friday)", "add … to my
// list", "remind me to … (at 5 pm | in 10 minutes | tomorrow at 9 …)", "what are my tasks".
// Each command takes the words [begin, end) and answers nullopt when they aren't its own.
class TaskIntents
{
public:
    static constexpr std::chrono::hours reminderDelay{1}; // when a reminder names no time
    static constexpr std::size_t maxListed = 10;

    TaskIntents(UserData &data, ProjectNames &projects);

    std::optional<IntentReply> addTask(const Phrase &phrase, std::size_t begin, std::size_t end,
                                       const DeviceTime &now);
    std::optional<IntentReply> addReminder(const Phrase &phrase, std::size_t begin, std::size_t end,
                                           const DeviceTime &now);
    std::optional<IntentReply> listTasks(const Phrase &phrase, std::size_t begin, std::size_t end,
                                         const DeviceTime &now);

private:
    static std::string dueText(const nlohmann::json &dueAt, const DeviceTime &now);

    UserData &m_data;
    ProjectNames &m_projects;
};
