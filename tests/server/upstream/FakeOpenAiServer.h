#pragma once

#include <httplib.h>

#include <mutex>
#include <string>
#include <thread>

// An OpenAI-compatible service for tests: cpp-httplib on a free loopback port, serving on its
// own thread. Either reply() to every POST alike, or add routes to server() before start().
class FakeOpenAiServer
{
public:
    ~FakeOpenAiServer();

    // Answers every POST with this and keeps the request for lastRequest(). The first call
    // comes before start(); later ones change the reply.
    void reply(int status, const std::string &body, const std::string &type = "application/json");
    httplib::Request lastRequest() const;
    httplib::Server &server() { return m_server; }
    // False when no port could be bound.
    bool start();
    // "http://127.0.0.1:<port>"
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port); }

private:
    httplib::Server m_server;
    std::thread m_thread;
    int m_port = 0;
    mutable std::mutex m_lock;
    httplib::Request m_lastRequest;
    struct Reply
    {
        int status = 200;
        std::string body, type;
    } m_reply;
    bool m_replying = false;
};
