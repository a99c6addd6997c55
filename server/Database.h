#pragma once

#include <SQLiteCpp/Database.h>

#include <string>

// The server's SQLite file: WAL, foreign keys on, schema migrated to the newest version.
class Database
{
public:
    explicit Database(const std::string &path);
    SQLite::Database &db() { return m_db; }
    int schemaVersion();

    // Current time as ISO 8601 UTC with milliseconds, the protocol's date form.
    static std::string now();

private:
    void migrate();

    SQLite::Database m_db;
};
