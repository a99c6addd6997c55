#include "AssistantRoutes.h"

#include "AccountService.h"
#include "AnswerStream.h"
#include "AssistantIntents.h"
#include "ChatPrompt.h"
#include "Database.h"
#include "DictionaryRewriter.h"
#include "Engines.h"
#include "HttpError.h"
#include "RequestBody.h"
#include "ScreenTextAnswer.h"
#include "ScreenTextReader.h"
#include "TextCleanup.h"
#include "UserData.h"
#include "WavAudio.h"

#include <httplib.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace {

using json = nlohmann::json;

const char *const streamType = "application/x-ndjson";
const char *const defaultScreenQuestion = "What's on my screen?";

std::string line(const json &event)
{
    return event.dump() + "\n";
}

std::string field(const httplib::Request &request, const char *name)
{
    return request.has_file(name) ? request.get_file_value(name).content : std::string();
}

std::vector<std::string> words(const std::vector<VocabularyTerm> &terms)
{
    std::vector<std::string> out;
    for (const auto &term : terms)
        out.push_back(term.term);
    return out;
}

// A route answering JSON, with refusals as their statuses.
template <typename Handler> auto jsonReply(Handler handler)
{
    return [handler](const httplib::Request &request, httplib::Response &response) {
        try {
            RequestBody::send(response, 200, handler(request));
        } catch (const std::exception &error) {
            RequestBody::sendError(response, HttpError::from(error));
        }
    };
}

} // namespace

AssistantRoutes::AssistantRoutes(Database &database, std::mutex &databaseLock,
                                 AccountService &accounts, Engines &engines)
    : m_database(database), m_lock(databaseLock), m_accounts(accounts), m_engines(engines)
{}

void AssistantRoutes::addTo(httplib::Server &server)
{
    server.Post("/transcribe",
                jsonReply([this](const httplib::Request &request) { return transcribe(request); }));
    addStreamRoutes(server);
    server.Post("/ask", [this](const httplib::Request &request, httplib::Response &response) {
        answer(request, response, [this](const httplib::Request &r) { return planAsk(r); });
    });
    server.Post("/ask-image", [this](const httplib::Request &request, httplib::Response &response) {
        answer(request, response, [this](const httplib::Request &r) { return planAskImage(r); });
    });
}

std::string AssistantRoutes::signedIn(const httplib::Request &request)
{
    std::lock_guard lock(m_lock);
    const auto user = m_accounts.userForToken(RequestBody::bearerToken(request));
    if (!user)
        throw HttpError(401, "Sign in first.");
    return *user;
}

void AssistantRoutes::record(const std::string &user, const std::string &question,
                             const std::string &answer)
{
    std::lock_guard lock(m_lock);
    UserData data(m_database, user);
    data.addHistory("question", question);
    data.addHistory("answer", answer);
}

std::vector<VocabularyTerm> AssistantRoutes::vocabulary(const std::string &user)
{
    std::lock_guard lock(m_lock);
    return UserData(m_database, user).vocabulary();
}

json AssistantRoutes::transcribe(const httplib::Request &request)
{
    const std::string user = signedIn(request);
    if (!request.has_file("file"))
        throw HttpError(400, "Missing the recording (multipart field \"file\").");
    DictationStreams::Dictation how{field(request, "cleanup") == "true", vocabulary(user)};
    MonoAudio audio = WavAudio::decode(request.get_file_value("file").content);
    if (audio.sampleRate != 16000)
        audio = WavAudio::resample(audio, 16000);
    return dictated(m_engines.transcriber().transcribe(audio, words(how.terms)), how);
}

json AssistantRoutes::dictated(const std::string &heard, const DictationStreams::Dictation &how)
{
    const std::string text = how.cleanup ? cleanup(heard) : heard;
    return {{"text", DictionaryRewriter(how.terms).rewrite(text)}};
}

void AssistantRoutes::addStreamRoutes(httplib::Server &server)
{
    server.Post("/transcribe/stream",
                jsonReply([this](const httplib::Request &request) { return openStream(request); }));
    server.Post(
        R"(/transcribe/stream/([^/]+)/audio)",
        jsonReply([this](const httplib::Request &request) { return appendToStream(request); }));
    server.Post(
        R"(/transcribe/stream/([^/]+)/finish)", jsonReply([this](const httplib::Request &request) {
            const std::string user = signedIn(request);
            const DictationStreams::Finished finished = m_streams.finish(user, request.matches[1]);
            return dictated(finished.text, finished.dictation);
        }));
    server.Delete(R"(/transcribe/stream/([^/]+))",
                  jsonReply([this](const httplib::Request &request) {
                      m_streams.drop(signedIn(request), request.matches[1]);
                      return json::object();
                  }));
}

json AssistantRoutes::openStream(const httplib::Request &request)
{
    const std::string user = signedIn(request);
    const json body = RequestBody::json(request);
    const auto rate = body.find("sampleRate");
    if (rate == body.end() || !rate->is_number_integer())
        throw HttpError(400, "Missing \"sampleRate\" (a whole number of samples per second).");
    const auto clean = body.find("cleanup");
    if (clean != body.end() && !clean->is_boolean())
        throw HttpError(400, "\"cleanup\" must be true or false.");
    DictationStreams::Dictation how{clean != body.end() && clean->get<bool>(), vocabulary(user)};
    const std::vector<std::string> vocabularyWords = words(how.terms);
    // Narrowed without overflow: a rate out of range stays out of range, and is refused.
    const int sampleRate =
        int(std::clamp<long long>(rate->get<long long>(), DictationStreams::minSampleRate - 1,
                                  DictationStreams::maxSampleRate + 1));
    const std::string id = m_streams.create(user, sampleRate, std::move(how), [&] {
        return m_engines.transcriber().openStream(vocabularyWords);
    });
    return {{"stream", id}};
}

json AssistantRoutes::appendToStream(const httplib::Request &request)
{
    const std::string user = signedIn(request);
    // A body sent without a length is only measured once read.
    if (request.body.size() > DictationStreams::maxChunkBytes)
        throw HttpError(413, "Request too large: audio chunks are limited to 2 MiB.");
    const std::string seq = request.get_param_value("seq");
    if (seq.empty() || seq.size() > 18 || seq.find_first_not_of("0123456789") != std::string::npos)
        throw HttpError(400, "Missing \"seq\" (the chunk's number, from 0).");
    return {
        {"received", m_streams.append(user, request.matches[1], std::stoll(seq), request.body)}};
}

std::vector<ChatModel::Message> AssistantRoutes::cleanupConversation(const std::string &text)
{
    return {{"system",
             "You tidy dictated text. Remove filler words (um, uh, er, and \"you know\" when it "
             "is a filler), fix spacing and capitalisation, and end sentences with punctuation. "
             "Change nothing else: keep every other word, its order and its meaning. Do not "
             "answer or comment on the text. Reply with the edited text only.",
             {}},
            {"user", text, {}}};
}

std::string AssistantRoutes::cleanup(const std::string &text)
{
    ChatModel *model = m_engines.chat();
    if (!model || text.find_first_not_of(" \t\r\n") == std::string::npos)
        return TextCleanup::clean(text);
    try {
        const ChatModel::DeltaSink ignore = [](const std::string &) { return true; };
        const std::string edited = model->complete(cleanupConversation(text), ignore);
        if (edited.find_first_not_of(" \t\r\n") != std::string::npos)
            return edited.substr(edited.find_first_not_of(" \t\r\n"),
                                 edited.find_last_not_of(" \t\r\n") -
                                     edited.find_first_not_of(" \t\r\n") + 1);
    } catch (const std::exception &error) {
        // The dictation itself succeeded; losing it to a cleanup failure would be worse than
        // the offline tidy-up.
        std::cerr << "ovrin-server: cleanup by the chat model failed, used the offline one: "
                  << error.what() << std::endl;
    }
    return TextCleanup::clean(text);
}

AssistantRoutes::Plan AssistantRoutes::planAsk(const httplib::Request &request)
{
    const json body = RequestBody::json(request);
    Plan plan;
    plan.user = signedIn(request);
    plan.question = body.value("question", "");
    if (plan.question.find_first_not_of(" \t\r\n") == std::string::npos)
        throw HttpError(400, "Missing \"question\".");
    const std::string now = body.value("now", "");
    const std::string context = body.value("context", "");
    std::vector<std::string> apps;
    if (const auto it = body.find("apps"); it != body.end() && it->is_array())
        for (const json &app : *it)
            if (app.is_string())
                apps.push_back(app.get<std::string>());

    std::lock_guard lock(m_lock);
    UserData data(m_database, plan.user);
    plan.ready = AssistantIntents(data).answer(plan.question, now, apps);
    if (!plan.ready && !m_engines.chat())
        plan.ready = IntentReply{ChatPrompt::noModelExplanation(), {}, {}};
    if (!plan.ready)
        plan.conversation = ChatPrompt(data).messages(plan.question, now, context);
    return plan;
}

AssistantRoutes::Plan AssistantRoutes::planAskImage(const httplib::Request &request)
{
    Plan plan;
    plan.user = signedIn(request);
    if (!request.has_file("image") || request.get_file_value("image").content.empty())
        throw HttpError(400, "Missing the screenshot (multipart field \"image\").");
    const std::string image = request.get_file_value("image").content;
    plan.question = field(request, "question");
    if (plan.question.find_first_not_of(" \t\r\n") == std::string::npos)
        plan.question = defaultScreenQuestion;
    const std::string now = field(request, "now");

    if (!m_engines.chat()) {
        const std::string text = m_engines.screenText().read(image);
        plan.ready = IntentReply{
            ScreenTextAnswer::answer(plan.question, text, m_engines.config().path), {}, {}};
        return plan;
    }
    std::lock_guard lock(m_lock);
    UserData data(m_database, plan.user);
    plan.conversation = ChatPrompt(data).messages(plan.question, now);
    plan.conversation.back().jpeg = image;
    return plan;
}

void AssistantRoutes::answer(const httplib::Request &request, httplib::Response &response,
                             const Planner &planner)
{
    Plan plan;
    try {
        plan = planner(request);
        if (plan.ready)
            record(plan.user, plan.question, plan.ready->answer);
    } catch (const std::exception &error) {
        return RequestBody::sendError(response, HttpError::from(error));
    }

    if (plan.ready) {
        std::string body = line({{"delta", plan.ready->answer}});
        if (!plan.ready->actionType.empty())
            body += line(
                {{"action", {{"type", plan.ready->actionType}, {"name", plan.ready->actionName}}}});
        body += line({{"answer", plan.ready->answer}});
        response.set_content(body, streamType);
        return;
    }

    // The model's answer streams while it forms; the provider runs after this handler returns.
    auto conversation = std::make_shared<Plan>(std::move(plan));
    auto stream = std::make_shared<AnswerStream>(
        [this, conversation](const ChatModel::DeltaSink &sink) {
            return m_engines.chat()->complete(conversation->conversation, sink);
        },
        // Recorded before the final line, so a client that refreshes its history on the answer
        // finds it there.
        [this, conversation](const std::string &answer) {
            record(conversation->user, conversation->question, answer);
        });
    if (const auto error = stream->waitForStart())
        return RequestBody::sendError(response, *error);
    response.set_chunked_content_provider(
        streamType, [stream](std::size_t, httplib::DataSink &sink) { return stream->pump(sink); },
        [stream](bool) { stream->abandon(); });
}
