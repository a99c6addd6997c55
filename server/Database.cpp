#include "Database.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <ctime>

namespace {

// Each entry moves the schema one version up; never edit a shipped entry, add one.
const char *const migrations[] = {
    R"(CREATE TABLE users (
           id TEXT PRIMARY KEY,
           email TEXT NOT NULL UNIQUE COLLATE NOCASE,
           name TEXT NOT NULL,
           password_hash TEXT NOT NULL,
           provider TEXT NOT NULL DEFAULT 'email',
           created_at TEXT NOT NULL);
       CREATE TABLE tokens (
           token_hash TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           created_at TEXT NOT NULL);)",
    R"(CREATE TABLE history (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           kind TEXT NOT NULL CHECK (kind IN ('dictation', 'question', 'answer')),
           text TEXT NOT NULL,
           date TEXT NOT NULL);
       CREATE INDEX history_by_user ON history(user_id, date);
       CREATE TABLE dictionary (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           term TEXT NOT NULL COLLATE NOCASE,
           variants TEXT NOT NULL DEFAULT '[]',
           date TEXT NOT NULL,
           UNIQUE (user_id, term));
       CREATE TABLE projects (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           name TEXT NOT NULL,
           aliases TEXT NOT NULL DEFAULT '[]',
           summary TEXT NOT NULL DEFAULT '');
       CREATE TABLE tasks (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           title TEXT NOT NULL,
           project TEXT REFERENCES projects(id) ON DELETE SET NULL,
           done INTEGER NOT NULL DEFAULT 0,
           due_at TEXT,
           date TEXT NOT NULL,
           completed_at TEXT,
           description TEXT NOT NULL DEFAULT '');
       CREATE TABLE reminders (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           title TEXT NOT NULL,
           due_at TEXT NOT NULL,
           date TEXT NOT NULL,
           description TEXT NOT NULL DEFAULT '');
       CREATE TABLE memories (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           text TEXT NOT NULL,
           category TEXT NOT NULL DEFAULT 'general',
           tier TEXT NOT NULL DEFAULT 'long',
           projects TEXT NOT NULL DEFAULT '[]',
           source TEXT NOT NULL DEFAULT 'chat',
           date TEXT NOT NULL);)",
    R"(CREATE TABLE uploads (
           key TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           expires INTEGER NOT NULL);
       CREATE TABLE meetings (
           id TEXT PRIMARY KEY,
           user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
           title TEXT NOT NULL,
           transcript TEXT NOT NULL,
           segments TEXT NOT NULL DEFAULT '[]',
           notes TEXT NOT NULL,
           duration_sec INTEGER NOT NULL,
           date TEXT NOT NULL);)",
};

} // namespace

Database::Database(const std::string &path)
    : m_db(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
{
    m_db.exec("PRAGMA journal_mode=WAL");
    m_db.exec("PRAGMA foreign_keys=ON");
    m_db.exec("PRAGMA synchronous=NORMAL");
    m_db.setBusyTimeout(5000);
    migrate();
}

std::pair<long long, long long> Database::generation()
{
    return {sqlite3_total_changes64(m_db.getHandle()),
            m_db.execAndGet("PRAGMA data_version").getInt64()};
}

int Database::schemaVersion()
{
    return m_db.execAndGet("PRAGMA user_version").getInt();
}

void Database::migrate()
{
    const int target = int(std::size(migrations));
    for (int version = schemaVersion(); version < target; ++version) {
        SQLite::Transaction transaction(m_db);
        m_db.exec(migrations[version]);
        m_db.exec("PRAGMA user_version=" + std::to_string(version + 1));
        transaction.commit();
    }
}

std::string Database::now()
{
    const auto time = std::chrono::system_clock::now();
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() %
        1000;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, int(millis));
    return text;
}
