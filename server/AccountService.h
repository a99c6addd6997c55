#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

class Database;

// Sign-up, sign-in and the user behind a bearer token.
class AccountService
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    static constexpr int maxFailures = 5;
    static constexpr std::chrono::seconds failureWindow{60};
    static constexpr std::size_t minPasswordLength = 8;

    explicit AccountService(Database &database, Clock clock = std::chrono::steady_clock::now);

    // {"token", "user"}; throws HttpError with the text to show.
    nlohmann::json registerUser(const std::string &email, const std::string &password,
                                const std::string &name);
    nlohmann::json login(const std::string &email, const std::string &password);
    // The user id of a token, or nothing.
    std::optional<std::string> userForToken(const std::string &token);
    nlohmann::json user(const std::string &userId);
    // Addresses with failed sign-ins still counted.
    std::size_t trackedFailures() const { return m_failures.size(); }

private:
    nlohmann::json issueToken(const std::string &userId);
    void checkRateLimit(const std::string &email);

    Database &m_database;
    Clock m_clock;
    // Per address, oldest first; an entry is never empty.
    std::map<std::string, std::vector<std::chrono::steady_clock::time_point>> m_failures;
    std::chrono::steady_clock::time_point m_lastSweep;
};
