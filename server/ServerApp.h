#pragma once

#include "AccountService.h"
#include "AssistantRoutes.h"
#include "Database.h"
#include "Engines.h"
#include "MeetingService.h"
#include "ReplyCache.h"
#include "RequestBody.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

// The HTTP face of the backend on 127.0.0.1: routes, JSON errors and request limits.
class ServerApp
{
public:
    static constexpr std::size_t maxJsonBytes = RequestBody::maxJsonBytes;
    static constexpr std::size_t maxMultipartBytes = 64u << 20;
    static constexpr std::size_t maxUploadBytes = std::size_t(4) << 30;
    // An oversized body up to this size is read before it is refused (uploads excepted).
    static constexpr std::size_t drainBytes = maxMultipartBytes;
    // Workers kept when idle, and the most at once (one per open connection).
    static constexpr std::size_t keptWorkers = 8;
    static constexpr std::size_t maxWorkers = 1024;

    ServerApp(const std::string &dataDirectory, ServerConfig config);
    ~ServerApp();

    // Binds 127.0.0.1:`port` (0 picks a free one); returns the port or -1.
    int bind(int port);
    // Serves until stop(); blocks.
    bool listen();
    void stop();

private:
    using Handler = std::function<nlohmann::json(const httplib::Request &)>;
    using HttpHandler = std::function<void(const httplib::Request &, httplib::Response &)>;

    void addRoutes();
    void addMeetingRoutes();
    // Runs `handler` under the lock and turns refusals and surprises into JSON errors.
    HttpHandler jsonRoute(Handler handler);
    // The signed-in user of a request; throws 401 without one.
    std::string userOf(const httplib::Request &request);

    std::string m_dataDirectory;
    std::mutex m_lock; // one request at a time touches the database
    Database m_database;
    ReplyCache m_replies; // under m_lock
    AccountService m_accounts;
    Engines m_engines;
    MeetingService m_meetings;
    AssistantRoutes m_assistant;
    int m_port = 0;
    int m_listener = -1;
    std::unique_ptr<httplib::Server> m_server;
};
