#include "AccountService.h"

#include "Database.h"
#include "HttpError.h"
#include "Secrets.h"

#include <SQLiteCpp/Statement.h>

#include <algorithm>
#include <cctype>

namespace {

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

std::string trimmed(const std::string &text)
{
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

// Unknown email and wrong password must read the same.
const char *const wrongCredentials = "Wrong email or password.";

} // namespace

AccountService::AccountService(Database &database, Clock clock)
    : m_database(database), m_clock(std::move(clock))
{}

nlohmann::json AccountService::registerUser(const std::string &emailIn, const std::string &password,
                                            const std::string &name)
{
    const std::string email = trimmed(emailIn);
    if (email.empty() || email.find('@') == std::string::npos)
        throw HttpError(400, "Enter a valid email address.");
    if (password.size() < minPasswordLength)
        throw HttpError(400, "Choose a password of at least 8 characters.");
    SQLite::Statement taken(m_database.db(), "SELECT 1 FROM users WHERE email = ?");
    taken.bind(1, email);
    if (taken.executeStep())
        throw HttpError(409, "Email taken");

    const std::string id = Secrets::newId();
    SQLite::Statement insert(m_database.db(),
                             "INSERT INTO users (id, email, name, password_hash, created_at) "
                             "VALUES (?, ?, ?, ?, ?)");
    insert.bind(1, id);
    insert.bind(2, email);
    insert.bind(3, trimmed(name));
    insert.bind(4, Secrets::hashPassword(password));
    insert.bind(5, Database::now());
    insert.exec();
    return issueToken(id);
}

void AccountService::checkRateLimit(const std::string &email)
{
    const auto now = m_clock();
    const auto cutoff = now - failureWindow;
    // Attempts on many addresses would otherwise each leave an entry behind for good.
    if (now - m_lastSweep >= failureWindow) {
        m_lastSweep = now;
        std::erase_if(m_failures, [&](const auto &entry) { return entry.second.back() < cutoff; });
    }
    const auto found = m_failures.find(lowered(email));
    if (found == m_failures.end())
        return;
    auto &failures = found->second;
    std::erase_if(failures, [&](auto when) { return when < cutoff; });
    if (failures.empty())
        m_failures.erase(found);
    else if (int(failures.size()) >= maxFailures)
        throw HttpError(429, "Too many sign-in attempts. Try again in a minute.");
}

nlohmann::json AccountService::login(const std::string &emailIn, const std::string &password)
{
    const std::string email = trimmed(emailIn);
    checkRateLimit(email);
    SQLite::Statement query(m_database.db(), "SELECT id, password_hash FROM users WHERE email = ?");
    query.bind(1, email);
    if (query.executeStep() && Secrets::verifyPassword(query.getColumn(1).getString(), password))
        return issueToken(query.getColumn(0).getString());
    m_failures[lowered(email)].push_back(m_clock());
    throw HttpError(401, wrongCredentials);
}

nlohmann::json AccountService::issueToken(const std::string &userId)
{
    const std::string token = Secrets::newToken();
    SQLite::Statement insert(
        m_database.db(), "INSERT INTO tokens (token_hash, user_id, created_at) VALUES (?, ?, ?)");
    insert.bind(1, Secrets::hashToken(token));
    insert.bind(2, userId);
    insert.bind(3, Database::now());
    insert.exec();
    return {{"token", token}, {"user", user(userId)}};
}

std::optional<std::string> AccountService::userForToken(const std::string &token)
{
    if (token.empty())
        return std::nullopt;
    SQLite::Statement query(m_database.db(), "SELECT user_id FROM tokens WHERE token_hash = ?");
    query.bind(1, Secrets::hashToken(token));
    if (!query.executeStep())
        return std::nullopt;
    return query.getColumn(0).getString();
}

nlohmann::json AccountService::user(const std::string &userId)
{
    SQLite::Statement query(m_database.db(),
                            "SELECT id, email, name, provider FROM users WHERE id = ?");
    query.bind(1, userId);
    if (!query.executeStep())
        throw HttpError(401, "Sign in again: this account no longer exists.");
    return {{"id", query.getColumn(0).getString()},
            {"email", query.getColumn(1).getString()},
            {"name", query.getColumn(2).getString()},
            {"picture", ""},
            {"provider", query.getColumn(3).getString()}};
}
