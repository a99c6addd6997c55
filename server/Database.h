#pragma once

#include <SQLiteCpp/Database.h>

#include <string>
#include <utility>

// The server's SQLite file: WAL, foreign keys on, schema migrated to the newest version.
class Database
{
public:
    explicit Database(const std::string &path);
    SQLite::Database &db() { return m_db; }
    int schemaVersion();
    // Changes whenever anything is written, by this connection or another process: what was
    // read before is still current while it stays the same.
    std::pair<long long, long long> generation();

    // Current time as ISO 8601 UTC with milliseconds, the protocol's date form.
    static std::string now();

private:
    void migrate();

    SQLite::Database m_db;
};
