#include "UserData.h"

#include "Database.h"
#include "HttpError.h"
#include "Secrets.h"

#include <SQLiteCpp/Statement.h>

#include <algorithm>

using json = nlohmann::json;

namespace {

json optionalText(const SQLite::Column &column)
{
    return column.isNull() ? json(nullptr) : json(column.getString());
}

json jsonArray(const std::string &text)
{
    json value = json::parse(text, nullptr, false);
    return value.is_array() ? value : json::array();
}

// Which history kinds a scope lists.
std::string kindsOf(const std::optional<std::string> &scope)
{
    if (!scope)
        return "('dictation', 'question', 'answer')";
    if (*scope == "transcripts")
        return "('dictation')";
    if (*scope == "chat")
        return "('question', 'answer')";
    throw HttpError(400, "Unknown history scope \"" + *scope + "\": use transcripts or chat.");
}

} // namespace

UserData::UserData(Database &database, std::string userId)
    : m_database(database), m_userId(std::move(userId))
{}

json UserData::history(const std::optional<std::string> &scope)
{
    return {{"entries", newestHistory(scope, -1)}};
}

json UserData::addHistory(const std::string &kind, const std::string &text)
{
    if (kind != "dictation" && kind != "question" && kind != "answer")
        throw HttpError(400, "Unknown history kind \"" + kind + "\".");
    const json entry = {
        {"id", Secrets::newId()}, {"date", Database::now()}, {"kind", kind}, {"text", text}};
    insertRow("history", {{"id", entry["id"].get<std::string>()},
                          {"kind", kind},
                          {"text", text},
                          {"date", entry["date"].get<std::string>()}});
    return {{"entry", entry}};
}

void UserData::clearHistory(const std::optional<std::string> &scope)
{
    SQLite::Statement remove(m_database.db(),
                             "DELETE FROM history WHERE user_id = ? AND kind IN " + kindsOf(scope));
    remove.bind(1, m_userId);
    remove.exec();
}

json UserData::dictionary()
{
    SQLite::Statement query(m_database.db(), "SELECT id, term, variants FROM dictionary "
                                             "WHERE user_id = ? ORDER BY date DESC, rowid DESC");
    query.bind(1, m_userId);
    json terms = json::array();
    while (query.executeStep())
        terms.push_back({{"id", query.getColumn(0).getString()},
                         {"term", query.getColumn(1).getString()},
                         {"variants", jsonArray(query.getColumn(2).getString())}});
    return {{"terms", terms}};
}

std::vector<VocabularyTerm> UserData::vocabulary()
{
    std::vector<VocabularyTerm> terms;
    const json all = dictionary();
    for (const json &entry : all["terms"])
        terms.push_back(
            {entry["term"].get<std::string>(), entry["variants"].get<std::vector<std::string>>()});
    return terms;
}

json UserData::addDictionaryTerm(const std::string &term, const std::string &variant)
{
    if (term.empty())
        throw HttpError(400, "A dictionary term can't be empty.");
    SQLite::Statement existing(m_database.db(), "SELECT id, term, variants FROM dictionary "
                                                "WHERE user_id = ? AND term = ?");
    existing.bind(1, m_userId);
    existing.bind(2, term);
    if (existing.executeStep()) {
        const std::string id = existing.getColumn(0).getString();
        json variants = jsonArray(existing.getColumn(2).getString());
        if (!variant.empty() &&
            std::find(variants.begin(), variants.end(), variant) == variants.end()) {
            variants.push_back(variant);
            SQLite::Statement update(
                m_database.db(), "UPDATE dictionary SET variants = ? WHERE id = ? AND user_id = ?");
            update.bind(1, variants.dump());
            update.bind(2, id);
            update.bind(3, m_userId);
            update.exec();
        }
        return {
            {"term",
             {{"id", id}, {"term", existing.getColumn(1).getString()}, {"variants", variants}}}};
    }
    const json record = {{"id", Secrets::newId()},
                         {"term", term},
                         {"variants", variant.empty() ? json::array() : json::array({variant})}};
    insertRow("dictionary", {{"id", record["id"].get<std::string>()},
                             {"term", term},
                             {"variants", record["variants"].dump()},
                             {"date", Database::now()}});
    return {{"term", record}};
}

void UserData::deleteDictionaryTerm(const std::string &id)
{
    deleteRow("dictionary", id);
}

json UserData::tasks()
{
    SQLite::Statement query(
        m_database.db(), "SELECT id, title, project, done, due_at, date, completed_at, description "
                         "FROM tasks WHERE user_id = ? ORDER BY date DESC, rowid DESC");
    query.bind(1, m_userId);
    json tasks = json::array();
    while (query.executeStep())
        tasks.push_back({{"id", query.getColumn(0).getString()},
                         {"title", query.getColumn(1).getString()},
                         {"project", optionalText(query.getColumn(2))},
                         {"done", query.getColumn(3).getInt() != 0},
                         {"dueAt", optionalText(query.getColumn(4))},
                         {"date", query.getColumn(5).getString()},
                         {"completedAt", optionalText(query.getColumn(6))},
                         {"description", query.getColumn(7).getString()}});
    return {{"tasks", tasks}};
}

void UserData::completeTask(const std::string &id, bool done)
{
    SQLite::Statement update(
        m_database.db(),
        "UPDATE tasks SET done = ?, completed_at = ? WHERE id = ? AND user_id = ?");
    update.bind(1, done ? 1 : 0);
    if (done)
        update.bind(2, Database::now());
    else
        update.bind(2);
    update.bind(3, id);
    update.bind(4, m_userId);
    if (update.exec() == 0)
        throw HttpError(404, "No such task.");
}

json UserData::reminders()
{
    SQLite::Statement query(m_database.db(),
                            "SELECT id, title, due_at, date, description FROM reminders "
                            "WHERE user_id = ? ORDER BY due_at");
    query.bind(1, m_userId);
    const std::string now = Database::now();
    json reminders = json::array();
    while (query.executeStep()) {
        const std::string due = query.getColumn(2).getString();
        // Both are UTC in one fixed format, so the text order is the time order.
        reminders.push_back({{"id", query.getColumn(0).getString()},
                             {"title", query.getColumn(1).getString()},
                             {"dueAt", due},
                             {"fired", due <= now},
                             {"date", query.getColumn(3).getString()},
                             {"description", query.getColumn(4).getString()}});
    }
    return {{"reminders", reminders}};
}

json UserData::memories()
{
    SQLite::Statement query(m_database.db(),
                            "SELECT id, text, category, tier, projects, source, date FROM memories "
                            "WHERE user_id = ? ORDER BY date DESC, rowid DESC");
    query.bind(1, m_userId);
    json memories = json::array();
    while (query.executeStep())
        memories.push_back({{"id", query.getColumn(0).getString()},
                            {"text", query.getColumn(1).getString()},
                            {"category", query.getColumn(2).getString()},
                            {"tier", query.getColumn(3).getString()},
                            {"projects", jsonArray(query.getColumn(4).getString())},
                            {"source", query.getColumn(5).getString()},
                            {"date", query.getColumn(6).getString()}});
    return {{"memories", memories}};
}

json UserData::projects()
{
    SQLite::Statement query(m_database.db(), "SELECT id, name, aliases, summary FROM projects "
                                             "WHERE user_id = ? ORDER BY name COLLATE NOCASE");
    query.bind(1, m_userId);
    json projects = json::array();
    while (query.executeStep())
        projects.push_back({{"id", query.getColumn(0).getString()},
                            {"name", query.getColumn(1).getString()},
                            {"aliases", jsonArray(query.getColumn(2).getString())},
                            {"summary", query.getColumn(3).getString()}});
    return {{"projects", projects}};
}

void UserData::deleteRow(const std::string &table, const std::string &id)
{
    static const char *const allowed[] = {"tasks", "reminders", "memories", "dictionary"};
    if (std::find(std::begin(allowed), std::end(allowed), table) == std::end(allowed))
        throw HttpError(500, "Unknown table.");
    SQLite::Statement remove(m_database.db(),
                             "DELETE FROM " + table + " WHERE id = ? AND user_id = ?");
    remove.bind(1, id);
    remove.bind(2, m_userId);
    if (remove.exec() == 0)
        throw HttpError(404, "Nothing to delete: no such item.");
}

json UserData::addTask(const std::string &title, const std::optional<std::string> &project,
                       const std::optional<std::string> &dueAt)
{
    if (title.empty())
        throw HttpError(400, "A task needs a title.");
    if (project) {
        SQLite::Statement owned(m_database.db(),
                                "SELECT 1 FROM projects WHERE id = ? AND user_id = ?");
        owned.bind(1, *project);
        owned.bind(2, m_userId);
        if (!owned.executeStep())
            throw HttpError(404, "No such project.");
    }
    const json task = {{"id", Secrets::newId()},
                       {"title", title},
                       {"project", project ? json(*project) : json(nullptr)},
                       {"done", false},
                       {"dueAt", dueAt ? json(*dueAt) : json(nullptr)},
                       {"date", Database::now()},
                       {"completedAt", nullptr},
                       {"description", ""}};
    insertRow("tasks", {{"id", task["id"].get<std::string>()},
                        {"title", title},
                        {"project", project},
                        {"due_at", dueAt},
                        {"date", task["date"].get<std::string>()}});
    return task;
}

json UserData::addReminder(const std::string &title, const std::string &dueAt)
{
    if (title.empty())
        throw HttpError(400, "A reminder needs a title.");
    const std::string now = Database::now();
    const json reminder = {{"id", Secrets::newId()}, {"title", title}, {"dueAt", dueAt},
                           {"fired", dueAt <= now},  {"date", now},    {"description", ""}};
    insertRow("reminders", {{"id", reminder["id"].get<std::string>()},
                            {"title", title},
                            {"due_at", dueAt},
                            {"date", now}});
    return reminder;
}

json UserData::addMemory(const std::string &text, const std::vector<std::string> &projects,
                         const std::string &category, const std::string &tier,
                         const std::string &source)
{
    if (text.empty())
        throw HttpError(400, "There is nothing to remember.");
    const json memory = {{"id", Secrets::newId()}, {"text", text},         {"category", category},
                         {"tier", tier},           {"projects", projects}, {"source", source},
                         {"date", Database::now()}};
    insertRow("memories", {{"id", memory["id"].get<std::string>()},
                           {"text", text},
                           {"category", category},
                           {"tier", tier},
                           {"projects", memory["projects"].dump()},
                           {"source", source},
                           {"date", memory["date"].get<std::string>()}});
    return memory;
}

json UserData::openTasks()
{
    json open = json::array();
    const json all = tasks();
    for (const json &task : all["tasks"])
        if (!task["done"].get<bool>())
            open.push_back(task);
    // Dates are UTC in one fixed form, so text order is time order.
    std::stable_sort(open.begin(), open.end(), [](const json &a, const json &b) {
        if (a["dueAt"].is_null() || b["dueAt"].is_null())
            return !a["dueAt"].is_null() && b["dueAt"].is_null();
        return a["dueAt"].get<std::string>() < b["dueAt"].get<std::string>();
    });
    return open;
}

json UserData::recentChat(std::size_t limit)
{
    json entries = newestHistory(std::string("chat"), static_cast<int64_t>(limit));
    std::reverse(entries.begin(), entries.end());
    return entries;
}

json UserData::newestHistory(const std::optional<std::string> &scope, int64_t limit)
{
    SQLite::Statement query(
        m_database.db(), "SELECT id, date, kind, text FROM history WHERE user_id = ? AND kind IN " +
                             kindsOf(scope) + " ORDER BY date DESC, rowid DESC LIMIT ?");
    query.bind(1, m_userId);
    query.bind(2, limit); // a negative limit is none
    json entries = json::array();
    while (query.executeStep())
        entries.push_back({{"id", query.getColumn(0).getString()},
                           {"date", query.getColumn(1).getString()},
                           {"kind", query.getColumn(2).getString()},
                           {"text", query.getColumn(3).getString()}});
    return entries;
}

void UserData::insertRow(const char *table, const std::vector<Column> &columns)
{
    std::string names = "user_id", marks = "?";
    for (const auto &[name, value] : columns) {
        names += std::string(", ") + name;
        marks += ", ?";
    }
    SQLite::Statement insert(m_database.db(), std::string("INSERT INTO ") + table + " (" + names +
                                                  ") VALUES (" + marks + ")");
    insert.bind(1, m_userId);
    int index = 2;
    for (const auto &[name, value] : columns) {
        if (value)
            insert.bind(index, *value);
        else
            insert.bind(index);
        ++index;
    }
    insert.exec();
}
