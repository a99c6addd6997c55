// Whole HTTP requests to the server, parsed by the HTTP library (request line, headers,
// chunked bodies, multipart forms) and answered by the real handlers: dictation, questions,
// questions about the screen, and the user's data. Every answer must be an HTTP status with
// a JSON error or a body; nothing may crash, hang or leak.
//
// Input: the request's bytes; "$TOKEN" stands for the bearer token of a signed-in user.
#include "AccountService.h"
#include "AssistantRoutes.h"
#include "Database.h"
#include "Engines.h"
#include "HttpError.h"
#include "RequestBody.h"
#include "Secrets.h"
#include "UserData.h"

#include <SQLiteCpp/Transaction.h>
#include <httplib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

using json = nlohmann::json;

// Serves one request from memory; the response is thrown away.
class MemoryStream : public httplib::Stream
{
public:
    explicit MemoryStream(std::string request) : m_request(std::move(request)) {}

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char *ptr, std::size_t size) override
    {
        const std::size_t count = std::min(size, m_request.size() - m_position);
        std::memcpy(ptr, m_request.data() + m_position, count);
        m_position += count;
        return ssize_t(count);
    }
    ssize_t write(const char *, std::size_t size) override { return ssize_t(size); }
    void get_remote_ip_and_port(std::string &ip, int &port) const override
    {
        ip = "127.0.0.1";
        port = 40000;
    }
    void get_local_ip_and_port(std::string &ip, int &port) const override
    {
        ip = "127.0.0.1";
        port = 8787;
    }
    socket_t socket() const override { return INVALID_SOCKET; }

private:
    std::string m_request;
    std::size_t m_position = 0;
};

class MemoryServer : public httplib::Server
{
public:
    using httplib::Server::process_request;
};

// Upstreams at an address nothing can answer: the handlers run to the point where they would
// call a model, and that call fails at once instead of loading pocketsphinx or Tesseract.
ServerConfig unreachableUpstreams()
{
    ServerConfig config;
    config.transcription = {"http://127.0.0.1:0", "", "whisper-1"};
    config.chat.url = "http://127.0.0.1:0";
    config.chat.model = "model";
    config.chat.visionModel = "model";
    return config;
}

struct Harness
{
    Database database{":memory:"};
    std::mutex lock;
    AccountService accounts{database};
    Engines engines{unreachableUpstreams()};
    AssistantRoutes assistant{database, lock, accounts, engines};
    MemoryServer server;
    std::string token;

    Harness()
    {
        if (!Secrets::initialise())
            std::abort();
        token = accounts.registerUser("fuzz@example.com", "fuzz-password", "Fuzz")["token"];
        assistant.addTo(server);
        addDataRoutes();
    }

    // The user's data routes, answered as the server's own routes answer them.
    void addDataRoutes()
    {
        const auto route = [this](std::function<json(const httplib::Request &, UserData &)> h) {
            return [this, h](const httplib::Request &request, httplib::Response &response) {
                try {
                    const auto user = accounts.userForToken(RequestBody::bearerToken(request));
                    if (!user)
                        throw HttpError(401, "Sign in first.");
                    UserData data(database, *user);
                    RequestBody::send(response, 200, h(request, data));
                } catch (const HttpError &error) {
                    RequestBody::send(response, error.status(), {{"error", error.what()}});
                } catch (const std::exception &error) {
                    RequestBody::send(response, 500,
                                      {{"error", std::string("Server error: ") + error.what()}});
                }
            };
        };
        const auto scope = [](const httplib::Request &request) -> std::optional<std::string> {
            if (!request.has_param("scope"))
                return std::nullopt;
            return request.get_param_value("scope");
        };
        server.Get("/history", route([scope](const httplib::Request &r, UserData &data) {
                       return data.history(scope(r));
                   }));
        server.Post("/history", route([](const httplib::Request &r, UserData &data) {
                        const json body = RequestBody::json(r);
                        return data.addHistory(RequestBody::stringField(body, "kind"),
                                               RequestBody::stringField(body, "text"));
                    }));
        server.Delete("/history", route([scope](const httplib::Request &r, UserData &data) {
                          data.clearHistory(scope(r));
                          return json::object();
                      }));
        server.Get("/dictionary", route([](const httplib::Request &, UserData &data) {
                       return data.dictionary();
                   }));
        server.Post("/dictionary", route([](const httplib::Request &r, UserData &data) {
                        const json body = RequestBody::json(r);
                        return data.addDictionaryTerm(RequestBody::stringField(body, "term"),
                                                      body.value("variant", ""));
                    }));
        server.Post(R"(/tasks/([^/]+)/complete)",
                    route([](const httplib::Request &r, UserData &data) {
                        const json body = RequestBody::json(r);
                        const auto done = body.find("done");
                        if (done == body.end() || !done->is_boolean())
                            throw HttpError(400, "Missing \"done\".");
                        data.completeTask(r.matches[1], done->get<bool>());
                        return json::object();
                    }));
        server.Get("/tasks",
                   route([](const httplib::Request &, UserData &d) { return d.tasks(); }));
        server.Get("/reminders",
                   route([](const httplib::Request &, UserData &d) { return d.reminders(); }));
        server.Get("/memories",
                   route([](const httplib::Request &, UserData &d) { return d.memories(); }));
        server.Get("/projects",
                   route([](const httplib::Request &, UserData &d) { return d.projects(); }));
        server.Delete(R"(/(tasks|reminders|memories|dictionary)/([^/]+))",
                      route([](const httplib::Request &r, UserData &data) {
                          data.deleteRow(r.matches[1], r.matches[2]);
                          return json::object();
                      }));
    }
};

std::string withToken(std::string request, const std::string &token)
{
    const std::string placeholder = "$TOKEN";
    for (std::size_t at = request.find(placeholder); at != std::string::npos;
         at = request.find(placeholder, at + token.size()))
        request.replace(at, placeholder.size(), token);
    return request;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Harness *harness = new Harness; // lives as long as the process
    MemoryStream stream(
        withToken(std::string(reinterpret_cast<const char *>(data), size), harness->token));
    // Every input starts from the same data: what a request writes is rolled back.
    SQLite::Transaction transaction(harness->database.db());
    bool closed = false;
    harness->server.process_request(stream, true, closed, [](httplib::Request &) {});
    return 0;
}
