#pragma once

#include "ServerApp.h"

#include <QString>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <thread>

// A ServerApp on a free port, served from a thread of its own.
class RunningServer
{
public:
    RunningServer(const QString &data, ServerConfig config)
        : m_app(data.toStdString(), std::move(config)), m_port(m_app.bind(0)),
          m_thread([this] { m_app.listen(); })
    {}
    ~RunningServer()
    {
        m_app.stop();
        m_thread.join();
    }
    int port() const { return m_port; }

    // A client signed in as a new account `email`.
    httplib::Client client(const std::string &email) const
    {
        httplib::Client client("127.0.0.1", m_port);
        const auto signedUp =
            client.Post("/auth/register",
                        nlohmann::json{{"email", email}, {"password", "correct horse"}}.dump(),
                        "application/json");
        if (signedUp && signedUp->status == 200)
            client.set_bearer_token_auth(
                nlohmann::json::parse(signedUp->body)["token"].get<std::string>());
        return client;
    }

private:
    ServerApp m_app;
    int m_port;
    std::thread m_thread;
};
