#pragma once

#include "VocabularyTerm.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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
    // The dictionary as the speech engines take it.
    std::vector<VocabularyTerm> vocabulary();
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

    // The assistant's writes; each returns the record as its list shows it. A project must be
    // one of this user's.
    nlohmann::json addTask(const std::string &title, const std::optional<std::string> &project,
                           const std::optional<std::string> &dueAt);
    nlohmann::json addReminder(const std::string &title, const std::string &dueAt);
    nlohmann::json addMemory(const std::string &text, const std::vector<std::string> &projects,
                             const std::string &category = "general",
                             const std::string &tier = "long", const std::string &source = "chat");
    // Tasks not done, soonest due first, undated ones last.
    nlohmann::json openTasks();
    // The newest `limit` question and answer entries, oldest first.
    nlohmann::json recentChat(std::size_t limit);

private:
    // The scope's entries, newest first; at most `limit` of them when it isn't negative.
    nlohmann::json newestHistory(const std::optional<std::string> &scope, int64_t limit);
    // A column and its value; no value is NULL.
    using Column = std::pair<const char *, std::optional<std::string>>;
    // Adds a row of this user's to `table`.
    void insertRow(const char *table, const std::vector<Column> &columns);

    Database &m_database;
    std::string m_userId;
};
