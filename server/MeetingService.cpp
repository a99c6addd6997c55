#include "MeetingService.h"

#include "Database.h"
#include "HttpError.h"
#include "MeetingProcessor.h"
#include "Secrets.h"
#include "UserData.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sodium.h>

#include <chrono>
#include <filesystem>
#include <fstream>

using json = nlohmann::json;
namespace fs = std::filesystem;

namespace {

bool isKey(const std::string &key)
{
    // Keys are ours (Secrets::newId): anything else, path characters included, is refused.
    return key.size() == 24 && key.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// The per-install secret of upload signatures, made once and readable only by us.
std::string loadSecret(const std::string &directory)
{
    const fs::path path = fs::path(directory) / "upload-secret";
    std::ifstream in(path);
    std::string secret;
    if (in >> secret && secret.size() == 64)
        return secret;
    secret = Secrets::newToken();
    std::ofstream out(path, std::ios::trunc);
    out << secret << '\n';
    out.close();
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    return secret;
}

} // namespace

MeetingService::MeetingService(Database &database, MeetingProcessor &processor,
                               std::string dataDirectory, Clock clock)
    : m_database(database), m_processor(processor), m_dataDirectory(std::move(dataDirectory)),
      m_secret(loadSecret(m_dataDirectory)), m_clock(std::move(clock))
{
    if (!m_clock)
        m_clock = [] {
            return std::chrono::duration_cast<std::chrono::seconds>(
                       std::chrono::system_clock::now().time_since_epoch())
                .count();
        };
    fs::create_directories(fs::path(m_dataDirectory) / "uploads");
    fs::create_directories(fs::path(m_dataDirectory) / "recordings");
    // Parts of uploads a killed server was receiving: nothing can finish them now.
    std::error_code ignored;
    for (const auto &file :
         fs::directory_iterator(fs::path(m_dataDirectory) / "uploads", ignored)) {
        if (file.path().extension() == ".part")
            fs::remove(file.path(), ignored);
    }
}

std::string MeetingService::signature(const std::string &key, long long expires) const
{
    const std::string message = key + ":" + std::to_string(expires);
    unsigned char mac[crypto_auth_hmacsha256_BYTES];
    crypto_auth_hmacsha256_state state;
    crypto_auth_hmacsha256_init(&state, reinterpret_cast<const unsigned char *>(m_secret.data()),
                                m_secret.size());
    crypto_auth_hmacsha256_update(&state, reinterpret_cast<const unsigned char *>(message.data()),
                                  message.size());
    crypto_auth_hmacsha256_final(&state, mac);
    char hex[sizeof mac * 2 + 1];
    sodium_bin2hex(hex, sizeof hex, mac, sizeof mac);
    return hex;
}

std::string MeetingService::uploadPath(const std::string &key) const
{
    return (fs::path(m_dataDirectory) / "uploads" / (key + ".wav")).string();
}

std::string MeetingService::recordingPath(const std::string &id) const
{
    return (fs::path(m_dataDirectory) / "recordings" / (id + ".wav")).string();
}

json MeetingService::presign(const std::string &userId, const std::string &baseAddress)
{
    const std::string key = Secrets::newId();
    const long long expires = m_clock() + uploadLifetimeSeconds;
    SQLite::Statement insert(m_database.db(),
                             "INSERT INTO uploads (key, user_id, expires) VALUES (?, ?, ?)");
    insert.bind(1, key);
    insert.bind(2, userId);
    insert.bind(3, static_cast<int64_t>(expires));
    insert.exec();
    return {{"uploadUrl", baseAddress + "/uploads/" + key + "?expires=" + std::to_string(expires) +
                              "&sig=" + signature(key, expires)},
            {"key", key}};
}

void MeetingService::checkUpload(const std::string &key, const std::string &expires,
                                 const std::string &sig)
{
    if (!isKey(key))
        throw HttpError(400, "That is not an upload key.");
    long long until = 0;
    try {
        until = std::stoll(expires);
    } catch (const std::exception &) {
        throw HttpError(403, "The upload address is not valid.");
    }
    const std::string expected = signature(key, until);
    if (sig.size() != expected.size() ||
        sodium_memcmp(sig.data(), expected.data(), expected.size()) != 0)
        throw HttpError(403, "The upload address is not valid.");
    if (until < m_clock())
        throw HttpError(403, "The upload address has expired; ask for a new one.");
}

json MeetingService::create(const std::string &userId, const std::string &key,
                            long long durationSec, std::unique_lock<std::mutex> &databaseLock)
{
    SQLite::Statement owner(m_database.db(), "SELECT 1 FROM uploads WHERE key = ? AND user_id = ?");
    owner.bind(1, key);
    owner.bind(2, userId);
    if (!isKey(key) || !owner.executeStep() || !fs::exists(uploadPath(key)))
        throw HttpError(404, "No upload with that key: upload the recording first.");
    if (durationSec < 0)
        throw HttpError(400, "\"durationSec\" can't be negative.");

    const std::string id = Secrets::newId();
    const std::string date = Database::now();
    const std::vector<VocabularyTerm> vocabulary = UserData(m_database, userId).vocabulary();
    databaseLock.unlock();
    MeetingProcessor::Result result;
    try {
        result = m_processor.process(uploadPath(key), durationSec, date, vocabulary);
    } catch (...) {
        databaseLock.lock();
        throw;
    }
    databaseLock.lock();

    SQLite::Transaction transaction(m_database.db());
    SQLite::Statement claim(m_database.db(), "DELETE FROM uploads WHERE key = ? AND user_id = ?");
    claim.bind(1, key);
    claim.bind(2, userId);
    if (claim.exec() == 0)
        throw HttpError(409, "That recording has already become a meeting.");
    SQLite::Statement insert(
        m_database.db(), "INSERT INTO meetings (id, user_id, title, transcript, segments, notes, "
                         "duration_sec, date) VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    insert.bind(1, id);
    insert.bind(2, userId);
    insert.bind(3, result.title);
    insert.bind(4, result.transcript);
    insert.bind(5, result.segments.dump());
    insert.bind(6, result.notes);
    insert.bind(7, static_cast<int64_t>(durationSec));
    insert.bind(8, date);
    insert.exec();
    fs::rename(uploadPath(key), recordingPath(id));
    transaction.commit();
    return {{"meeting",
             {{"id", id},
              {"title", result.title},
              {"transcript", result.transcript},
              {"segments", result.segments},
              {"notes", result.notes},
              {"durationSec", durationSec},
              {"date", date}}}};
}

json MeetingService::list(const std::string &userId)
{
    SQLite::Statement query(m_database.db(),
                            "SELECT id, title, transcript, segments, notes, duration_sec, date "
                            "FROM meetings WHERE user_id = ? ORDER BY date DESC, rowid DESC");
    query.bind(1, userId);
    json meetings = json::array();
    while (query.executeStep()) {
        json segments = json::parse(query.getColumn(3).getString(), nullptr, false);
        meetings.push_back({{"id", query.getColumn(0).getString()},
                            {"title", query.getColumn(1).getString()},
                            {"transcript", query.getColumn(2).getString()},
                            {"segments", segments.is_array() ? segments : json::array()},
                            {"notes", query.getColumn(4).getString()},
                            {"durationSec", query.getColumn(5).getInt64()},
                            {"date", query.getColumn(6).getString()}});
    }
    return {{"meetings", meetings}};
}

void MeetingService::remove(const std::string &userId, const std::string &id)
{
    SQLite::Statement remove(m_database.db(), "DELETE FROM meetings WHERE id = ? AND user_id = ?");
    remove.bind(1, id);
    remove.bind(2, userId);
    if (remove.exec() == 0)
        throw HttpError(404, "Nothing to delete: no such meeting.");
    std::error_code error;
    fs::remove(recordingPath(id), error);
}
