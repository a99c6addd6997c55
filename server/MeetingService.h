#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <mutex>
#include <string>

class Database;
class MeetingProcessor;

// Presigned uploads and the meetings made from them. Upload addresses point back at this
// server, are signed with a per-install secret and expire after 15 minutes.
class MeetingService
{
public:
    static constexpr long long uploadLifetimeSeconds = 15 * 60;

    using Clock = std::function<long long()>; // seconds since the epoch

    MeetingService(Database &database, MeetingProcessor &processor, std::string dataDirectory,
                   Clock clock = {});

    nlohmann::json presign(const std::string &userId, const std::string &baseAddress);
    // Throws HttpError unless `key`, `expires` and `sig` are what presign gave out.
    void checkUpload(const std::string &key, const std::string &expires, const std::string &sig);
    std::string uploadPath(const std::string &key) const;

    // Processing a recording takes long, so the database lock (held on entry) is released
    // meanwhile; a second create for the same key then finds the upload gone.
    nlohmann::json create(const std::string &userId, const std::string &key, long long durationSec,
                          std::unique_lock<std::mutex> &databaseLock);
    nlohmann::json list(const std::string &userId);
    void remove(const std::string &userId, const std::string &id);

private:
    std::string signature(const std::string &key, long long expires) const;
    std::string recordingPath(const std::string &id) const;

    Database &m_database;
    MeetingProcessor &m_processor;
    std::string m_dataDirectory;
    std::string m_secret;
    Clock m_clock;
};
