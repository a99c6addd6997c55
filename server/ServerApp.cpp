#include "ServerApp.h"

#include "HttpError.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <functional>

namespace {

using json = nlohmann::json;
using Handler = std::function<json(const httplib::Request &)>;

void sendJson(httplib::Response &response, int status, const json &body)
{
    response.status = status;
    response.set_content(body.dump(), "application/json");
}

json parseBody(const httplib::Request &request)
{
    if (request.body.size() > ServerApp::maxJsonBytes)
        throw HttpError(413, "Request too large: JSON bodies are limited to 1 MiB.");
    if (request.body.empty())
        return json::object();
    json body = json::parse(request.body, nullptr, false);
    if (body.is_discarded() || !body.is_object())
        throw HttpError(400, "The request body must be a JSON object.");
    return body;
}

std::string stringField(const json &body, const char *key)
{
    const auto it = body.find(key);
    if (it == body.end() || !it->is_string())
        throw HttpError(400, std::string("Missing \"") + key + "\".");
    return it->get<std::string>();
}

std::string bearerToken(const httplib::Request &request)
{
    const std::string header = request.get_header_value("Authorization");
    const std::string prefix = "Bearer ";
    return header.rfind(prefix, 0) == 0 ? header.substr(prefix.size()) : std::string();
}

} // namespace

ServerApp::ServerApp(const std::string &dataDirectory)
    : m_dataDirectory(dataDirectory), m_database(dataDirectory + "/ovrin.db"),
      m_accounts(m_database), m_server(std::make_unique<httplib::Server>())
{
    m_server->set_payload_max_length(maxMultipartBytes);
    // Statuses that httplib answers by itself (404, 413, …) still carry a JSON error.
    m_server->set_error_handler([](const httplib::Request &, httplib::Response &response) {
        if (!response.body.empty())
            return;
        const std::string text = response.status == 413   ? "Request too large."
                                 : response.status == 404 ? "No such endpoint."
                                                          : "The request could not be handled.";
        sendJson(response, response.status, {{"error", text}});
    });
    addRoutes();
}

ServerApp::~ServerApp() = default;

int ServerApp::bind(int port)
{
    return port == 0 ? m_server->bind_to_any_port("127.0.0.1")
                     : (m_server->bind_to_port("127.0.0.1", port) ? port : -1);
}

bool ServerApp::listen()
{
    return m_server->listen_after_bind();
}

void ServerApp::stop()
{
    m_server->stop();
}

void ServerApp::addRoutes()
{
    // Runs a handler under the lock and turns refusals and surprises into JSON errors.
    const auto route = [this](Handler handler, int status = 200) {
        return [this, handler, status](const httplib::Request &request,
                                       httplib::Response &response) {
            std::lock_guard guard(m_lock);
            try {
                sendJson(response, status, handler(request));
            } catch (const HttpError &error) {
                sendJson(response, error.status(), {{"error", error.what()}});
            } catch (const std::exception &error) {
                sendJson(response, 500, {{"error", std::string("Server error: ") + error.what()}});
            }
        };
    };
    const auto signedIn = [this](const httplib::Request &request) {
        const auto user = m_accounts.userForToken(bearerToken(request));
        if (!user)
            throw HttpError(401, "Sign in first.");
        return *user;
    };

    m_server->Get("/health", route([](const httplib::Request &) { return json{{"ok", true}}; }));
    m_server->Post("/auth/register", route([this](const httplib::Request &request) {
                       const json body = parseBody(request);
                       return m_accounts.registerUser(stringField(body, "email"),
                                                      stringField(body, "password"),
                                                      body.value("name", ""));
                   }));
    m_server->Post("/auth/login", route([this](const httplib::Request &request) {
                       const json body = parseBody(request);
                       return m_accounts.login(stringField(body, "email"),
                                               stringField(body, "password"));
                   }));
    m_server->Get("/auth/me", route([this, signedIn](const httplib::Request &request) {
                      return json{{"user", m_accounts.user(signedIn(request))}};
                  }));
    m_server->Get("/auth/config", route([](const httplib::Request &) {
                      return json{{"google", false}};
                  }));
    m_server->Get("/auth/google", [](const httplib::Request &, httplib::Response &response) {
        response.set_content("<!doctype html><title>Ovrin</title><p>Browser sign-in is not "
                             "configured on this server. Sign in with your email and password "
                             "in Ovrin instead.</p>",
                             "text/html; charset=utf-8");
    });
}
