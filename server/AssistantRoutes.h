#pragma once

#include "ChatModel.h"
#include "DictationStreams.h"
#include "IntentReply.h"
#include "VocabularyTerm.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class AccountService;
class Database;
class Engines;

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

// Dictation, questions and questions about the screen. Recognition and language models run
// without the database lock, so a slow answer never stalls the other routes; answers stream as
// one JSON object per line. Dictation comes as a whole recording or streamed while it is
// spoken; both end in the same text.
class AssistantRoutes
{
public:
    AssistantRoutes(Database &database, std::mutex &databaseLock, AccountService &accounts,
                    Engines &engines);

    void addTo(httplib::Server &server);

    // Asks the model for the dictation edit, and nothing more.
    static std::vector<ChatModel::Message> cleanupConversation(const std::string &text);

private:
    // An answer is either ready (offline) or a conversation for the chat model.
    struct Plan
    {
        std::string user;
        std::string question;
        std::optional<IntentReply> ready;
        std::vector<ChatModel::Message> conversation;
    };
    using Planner = std::function<Plan(const httplib::Request &)>;

    nlohmann::json transcribe(const httplib::Request &request);
    void addStreamRoutes(httplib::Server &server);
    nlohmann::json openStream(const httplib::Request &request);
    nlohmann::json appendToStream(const httplib::Request &request);
    // What the recogniser heard becomes the dictated text: cleanup when asked, then the user's
    // spellings.
    nlohmann::json dictated(const std::string &heard, const DictationStreams::Dictation &how);
    std::vector<VocabularyTerm> vocabulary(const std::string &user);
    std::string cleanup(const std::string &text);
    Plan planAsk(const httplib::Request &request);
    Plan planAskImage(const httplib::Request &request);
    // Plans under refusals-as-statuses, then sends the ready answer or streams the model's.
    void answer(const httplib::Request &request, httplib::Response &response,
                const Planner &planner);
    std::string signedIn(const httplib::Request &request);
    // Writes the exchange to the user's chat history.
    void record(const std::string &user, const std::string &question, const std::string &answer);

    Database &m_database;
    std::mutex &m_lock;
    AccountService &m_accounts;
    Engines &m_engines;
    DictationStreams m_streams;
};
