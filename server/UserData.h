#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

class Database;

// One user's history, dictionary, tasks, reminders, memories and projects. Every query
// is scoped to the user, so no route can reach another user's rows.
class UserData
{
public:
    UserData(Database &database, std::string userId);

    nlohmann::json history(const std::optional<std::string> &scope);
    nlohmann::json addHistory(const std::string &kind, const std::string &text);
    void clearHistory(const std::optional<std::string> &scope);

    nlohmann::json dictionary();
    // A term that exists (case-insensitively) gains the variant and is returned as is.
    nlohmann::json addDictionaryTerm(const std::string &term, const std::string &variant);
    void deleteDictionaryTerm(const std::string &id);

    nlohmann::json tasks();
    void completeTask(const std::string &id, bool done);
    nlohmann::json reminders();
    nlohmann::json memories();
    nlohmann::json projects();
    // "tasks", "reminders" or "memories".
    void deleteRow(const std::string &table, const std::string &id);

private:
    Database &m_database;
    std::string m_userId;
};
