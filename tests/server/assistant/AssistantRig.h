#pragma once

#include "Database.h"
#include "DeviceTime.h"
#include "UserData.h"

#include <SQLiteCpp/Statement.h>
#include <nlohmann/json.hpp>

#include <QTemporaryDir>

#include <memory>

// A real database in a scratch folder with two users, and a fixed clock.
struct AssistantRig
{
    // 2026-11-15T17:23:30Z: 6:23 PM in Berlin, the "now" most tests send.
    static constexpr std::chrono::sys_seconds clockTime{
        std::chrono::sys_days{std::chrono::year{2026} / 11 / 15} + std::chrono::hours{17} +
        std::chrono::minutes{23} + std::chrono::seconds{30}};
    static constexpr const char *berlin =
        "Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)";

    QTemporaryDir dir;
    std::unique_ptr<Database> database;

    AssistantRig()
    {
        database = std::make_unique<Database>((dir.path() + "/ovrin.db").toStdString());
        for (const char *id : {"u1", "u2"}) {
            SQLite::Statement insert(database->db(),
                                     "INSERT INTO users (id, email, name, password_hash, "
                                     "created_at) VALUES (?, ?, '', '', '')");
            insert.bind(1, id);
            insert.bind(2, std::string(id) + "@example.com");
            insert.exec();
        }
    }

    static DeviceTime::Clock clock()
    {
        return [] { return std::chrono::system_clock::time_point(clockTime); };
    }

    UserData user(const std::string &id) { return UserData(*database, id); }

    std::string addProject(const std::string &user, const std::string &id, const std::string &name,
                           const nlohmann::json &aliases = nlohmann::json::array())
    {
        SQLite::Statement insert(database->db(), "INSERT INTO projects (id, user_id, name, "
                                                 "aliases) VALUES (?, ?, ?, ?)");
        insert.bind(1, id);
        insert.bind(2, user);
        insert.bind(3, name);
        insert.bind(4, aliases.dump());
        insert.exec();
        return id;
    }
};
