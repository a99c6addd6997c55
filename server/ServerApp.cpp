#include "ServerApp.h"

#include "DictationStreams.h"
#include "ElasticTaskQueue.h"
#include "HttpError.h"
#include "RequestBody.h"
#include "SlowReply.h"
#include "UserData.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include <sys/socket.h>

namespace {

using json = nlohmann::json;

// How large a request's body may be, by its kind.
struct BodyLimit
{
    std::size_t length = 0; // as announced
    std::size_t bytes = 0;
    bool upload = false;
    std::string refusal;
};

BodyLimit bodyLimit(const httplib::Request &request)
{
    BodyLimit limit;
    limit.length = std::strtoull(request.get_header_value("Content-Length").c_str(), nullptr, 10);
    limit.upload = request.method == "PUT" && request.path.rfind("/uploads/", 0) == 0;
    const bool multipart = request.get_header_value("Content-Type").rfind("multipart/", 0) == 0;
    const bool chunk = request.method == "POST" &&
                       request.path.rfind("/transcribe/stream/", 0) == 0 &&
                       request.path.ends_with("/audio");
    const auto [bytes, what] =
        limit.upload ? std::pair(ServerApp::maxUploadBytes, "uploads are limited to 4 GiB")
        : multipart
            ? std::pair(ServerApp::maxMultipartBytes, "audio and images are limited to 64 MiB")
        : chunk ? std::pair(DictationStreams::maxChunkBytes, "audio chunks are limited to 2 MiB")
                : std::pair(ServerApp::maxJsonBytes, "JSON bodies are limited to 1 MiB");
    limit.bytes = bytes;
    limit.refusal = std::string("Request too large: ") + what + ".";
    return limit;
}

std::optional<std::string> scopeOf(const httplib::Request &request)
{
    if (!request.has_param("scope"))
        return std::nullopt;
    return request.get_param_value("scope");
}

} // namespace

ServerApp::ServerApp(const std::string &dataDirectory, ServerConfig config)
    : m_dataDirectory(dataDirectory), m_database(dataDirectory + "/ovrin.db"),
      m_accounts(m_database), m_engines(std::move(config)),
      m_meetings(m_database, m_engines.meetingProcessor(), dataDirectory),
      m_assistant(m_database, m_lock, m_accounts, m_engines),
      m_server(std::make_unique<httplib::Server>())
{
    m_server->set_payload_max_length(maxUploadBytes);
    // Loopback clients reconnect in microseconds; a short idle time lets a stop finish fast.
    m_server->set_keep_alive_timeout(2);
    // Headers and body go out in separate writes; with Nagle's algorithm the second waits for
    // the client's delayed ACK, which put 40 ms on every reply.
    m_server->set_tcp_nodelay(true);
    // A connection keeps its worker while it lives, idle or not: workers are added as
    // connections come, so none waits behind another's idle keep-alive time.
    m_server->new_task_queue = [] { return new ElasticTaskQueue(keptWorkers, maxWorkers); };
    // In place of httplib's own options, which include SO_REUSEPORT: with it a second server
    // would share the port instead of failing to start.
    m_server->set_socket_options([this](int socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        m_listener = socket;
    });
    m_server->set_keep_alive_max_count(100);
    // Refuse an oversized body from its announced length, before reading any of it.
    // A body over its limit is refused with 413. Up to `drainBytes` it is read first (and
    // dropped with the request), so the client, still sending, reads the answer: closing on
    // unread data would reach it as a reset instead.
    m_server->set_pre_routing_handler(
        [](const httplib::Request &request, httplib::Response &response) {
            const BodyLimit limit = bodyLimit(request);
            if (limit.length <= limit.bytes || (!limit.upload && limit.length <= drainBytes))
                return httplib::Server::HandlerResponse::Unhandled;
            RequestBody::send(response, 413, {{"error", limit.refusal}});
            // The body is never read, so the connection can't carry another request.
            response.set_header("Connection", "close");
            return httplib::Server::HandlerResponse::Handled;
        });
    m_server->set_post_routing_handler(
        [](const httplib::Request &request, httplib::Response &response) {
            const BodyLimit limit = bodyLimit(request);
            if (limit.length > limit.bytes && response.status < 400)
                RequestBody::send(response, 413, {{"error", limit.refusal}});
        });
    // A failure no route caught still gets its status and a JSON error.
    m_server->set_exception_handler(
        [](const httplib::Request &, httplib::Response &response, std::exception_ptr failure) {
            try {
                std::rethrow_exception(failure);
            } catch (const std::exception &error) {
                RequestBody::sendError(response, HttpError::from(error));
            } catch (...) {
                RequestBody::send(response, 500, {{"error", "Server error."}});
            }
        });
    // Statuses that httplib answers by itself (404, 413, …) still carry a JSON error.
    m_server->set_error_handler([](const httplib::Request &, httplib::Response &response) {
        if (!response.body.empty())
            return;
        const std::string text = response.status == 413   ? "Request too large."
                                 : response.status == 404 ? "No such endpoint."
                                                          : "The request could not be handled.";
        RequestBody::send(response, response.status, {{"error", text}});
    });
    addRoutes();
}

ServerApp::~ServerApp() = default;

int ServerApp::bind(int port)
{
    m_port = port == 0 ? m_server->bind_to_any_port("127.0.0.1")
                       : (m_server->bind_to_port("127.0.0.1", port) ? port : -1);
    // httplib listens with a backlog of 5: clients reconnecting together overflowed it, and
    // each connection refused that way waited a second for its retry. Listening again only
    // changes the backlog.
    if (m_port > 0 && m_listener >= 0)
        ::listen(m_listener, SOMAXCONN);
    return m_port;
}

bool ServerApp::listen()
{
    return m_server->listen_after_bind();
}

void ServerApp::stop()
{
    m_server->stop();
}

ServerApp::HttpHandler ServerApp::jsonRoute(Handler handler)
{
    return [this, handler](const httplib::Request &request, httplib::Response &response) {
        try {
            json reply;
            {
                std::lock_guard lock(m_lock);
                reply = handler(request);
            }
            // Serialising a long list takes as long as reading it; other requests needn't wait.
            RequestBody::send(response, 200, reply);
        } catch (const std::exception &error) {
            RequestBody::sendError(response, HttpError::from(error));
        }
    };
}

std::string ServerApp::userOf(const httplib::Request &request)
{
    const auto user = m_accounts.userForToken(RequestBody::bearerToken(request));
    if (!user)
        throw HttpError(401, "Sign in first.");
    return *user;
}

void ServerApp::addRoutes()
{
    const auto route = [this](Handler handler) { return jsonRoute(std::move(handler)); };
    const auto signedIn = [this](const httplib::Request &request) { return userOf(request); };

    m_server->Get("/health", route([](const httplib::Request &) { return json{{"ok", true}}; }));
    m_server->Post("/auth/register", route([this](const httplib::Request &request) {
                       const json body = RequestBody::json(request);
                       return m_accounts.registerUser(RequestBody::stringField(body, "email"),
                                                      RequestBody::stringField(body, "password"),
                                                      body.value("name", ""));
                   }));
    m_server->Post("/auth/login", route([this](const httplib::Request &request) {
                       const json body = RequestBody::json(request);
                       return m_accounts.login(RequestBody::stringField(body, "email"),
                                               RequestBody::stringField(body, "password"));
                   }));
    m_server->Get("/auth/me", route([this, signedIn](const httplib::Request &request) {
                      return json{{"user", m_accounts.user(signedIn(request))}};
                  }));
    // The user's own data; every handler sees only the signed-in user's rows.
    const auto data = [this, signedIn](const httplib::Request &request) {
        return UserData(m_database, signedIn(request));
    };
    const auto ok = json::object();
    // Clients poll the history: its reply is kept until the database changes.
    m_server->Get("/history", [this](const httplib::Request &request, httplib::Response &response) {
        try {
            std::string body;
            {
                std::lock_guard lock(m_lock);
                const std::string user = userOf(request);
                const auto scope = scopeOf(request);
                body = m_replies.get(m_database, user + '\n' + scope.value_or("*"), [&] {
                    return UserData(m_database, user).history(scope).dump();
                });
            }
            response.status = 200;
            response.set_content(body, "application/json");
        } catch (const std::exception &error) {
            RequestBody::sendError(response, HttpError::from(error));
        }
    });
    m_server->Post("/history", route([data](const httplib::Request &request) {
                       const json body = RequestBody::json(request);
                       return data(request).addHistory(RequestBody::stringField(body, "kind"),
                                                       RequestBody::stringField(body, "text"));
                   }));
    m_server->Delete("/history", route([data, ok](const httplib::Request &request) {
                         data(request).clearHistory(scopeOf(request));
                         return ok;
                     }));
    m_server->Get("/dictionary", route([data](const httplib::Request &request) {
                      return data(request).dictionary();
                  }));
    m_server->Post("/dictionary", route([data](const httplib::Request &request) {
                       const json body = RequestBody::json(request);
                       return data(request).addDictionaryTerm(
                           RequestBody::stringField(body, "term"), body.value("variant", ""));
                   }));
    m_server->Get("/tasks",
                  route([data](const httplib::Request &request) { return data(request).tasks(); }));
    m_server->Post(R"(/tasks/([^/]+)/complete)", route([data, ok](const httplib::Request &request) {
                       const json body = RequestBody::json(request);
                       const auto done = body.find("done");
                       if (done == body.end() || !done->is_boolean())
                           throw HttpError(400, "Missing \"done\".");
                       data(request).completeTask(request.matches[1], done->get<bool>());
                       return ok;
                   }));
    m_server->Get("/reminders", route([data](const httplib::Request &request) {
                      return data(request).reminders();
                  }));
    m_server->Get("/memories", route([data](const httplib::Request &request) {
                      return data(request).memories();
                  }));
    m_server->Get("/projects", route([data](const httplib::Request &request) {
                      return data(request).projects();
                  }));
    for (const char *table : {"tasks", "reminders", "memories", "dictionary"}) {
        m_server->Delete(std::string("/") + table + "/([^/]+)",
                         route([data, ok, table](const httplib::Request &request) {
                             data(request).deleteRow(table, request.matches[1]);
                             return ok;
                         }));
    }
    m_server->Get("/connections", route([signedIn](const httplib::Request &request) {
                      signedIn(request);
                      return json{{"apps", json::array()}}; // no provider is configured
                  }));
    m_server->Post(R"(/connections/([^/]+)/connect)",
                   route([signedIn](const httplib::Request &request) -> json {
                       signedIn(request);
                       throw HttpError(501, "No connection provider is configured on this server.");
                   }));
    m_server->Delete(R"(/connections/([^/]+))",
                     route([signedIn](const httplib::Request &request) -> json {
                         signedIn(request);
                         throw HttpError(404, "That app is not connected.");
                     }));

    addMeetingRoutes();
    m_assistant.addTo(*m_server);

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

namespace {

// A refused upload still reads a small body, so the client sees the answer rather than a
// broken connection; a large one is cut off.
void refuseUpload(const httplib::Request &request, httplib::Response &response,
                  const httplib::ContentReader &reader, const HttpError &error)
{
    const std::size_t length =
        std::strtoull(request.get_header_value("Content-Length").c_str(), nullptr, 10);
    if (length <= ServerApp::maxMultipartBytes)
        reader([](const char *, std::size_t) { return true; });
    else
        response.set_header("Connection", "close");
    RequestBody::sendError(response, error);
}

} // namespace

void ServerApp::addMeetingRoutes()
{
    const auto route =
        [this](std::function<json(const httplib::Request &, const std::string &)> handler) {
            return jsonRoute([this, handler](const httplib::Request &request) {
                return handler(request, userOf(request));
            });
        };
    m_server->Post(
        "/uploads/presign", route([this](const httplib::Request &, const std::string &user) {
            return m_meetings.presign(user, "http://127.0.0.1:" + std::to_string(m_port));
        }));
    // The recording itself: signed address, no bearer token, streamed to disk.
    m_server->Put(R"(/uploads/([^/]+))", [this](const httplib::Request &request,
                                                httplib::Response &response,
                                                const httplib::ContentReader &reader) {
        try {
            const std::string key = request.matches[1];
            m_meetings.checkUpload(key, request.get_param_value("expires"),
                                   request.get_param_value("sig"));
            const std::string path = m_meetings.uploadPath(key);
            std::ofstream out(path + ".part", std::ios::binary | std::ios::trunc);
            reader([&out](const char *data, std::size_t size) {
                out.write(data, std::streamsize(size));
                return bool(out);
            });
            out.close();
            if (!out) {
                // A part left behind would hold the space the disk lacks.
                std::error_code ignored;
                std::filesystem::remove(path + ".part", ignored);
                throw HttpError(507, "The server could not store the recording (disk full?).");
            }
            std::filesystem::rename(path + ".part", path);
            RequestBody::send(response, 200, json::object());
        } catch (const std::exception &error) {
            refuseUpload(request, response, reader, HttpError::from(error));
        }
    });
    // Transcribing a long meeting takes minutes: the reply keeps the connection alive meanwhile.
    m_server->Post("/meetings",
                   [this](const httplib::Request &request, httplib::Response &response) {
                       std::string user, key;
                       long long duration = 0;
                       try {
                           std::lock_guard lock(m_lock);
                           user = userOf(request);
                           const json body = RequestBody::json(request);
                           const auto seconds = body.find("durationSec");
                           if (seconds == body.end() || !seconds->is_number_integer())
                               throw HttpError(400, "Missing \"durationSec\" (whole seconds).");
                           key = RequestBody::stringField(body, "key");
                           duration = seconds->get<long long>();
                       } catch (const std::exception &error) {
                           return RequestBody::sendError(response, HttpError::from(error));
                       }
                       SlowReply::send(response, [this, user, key, duration] {
                           std::unique_lock lock(m_lock);
                           return m_meetings.create(user, key, duration, lock);
                       });
                   });
    m_server->Get("/meetings", route([this](const httplib::Request &, const std::string &user) {
                      return m_meetings.list(user);
                  }));
    m_server->Delete(R"(/meetings/([^/]+))",
                     route([this](const httplib::Request &request, const std::string &user) {
                         m_meetings.remove(user, request.matches[1]);
                         return json::object();
                     }));
}
