#include "FakeOpenAiServer.h"

FakeOpenAiServer::~FakeOpenAiServer()
{
    m_server.stop();
    if (m_thread.joinable())
        m_thread.join();
}

void FakeOpenAiServer::reply(int status, const std::string &body, const std::string &type)
{
    const std::lock_guard guard(m_lock);
    m_reply = {status, body, type};
    if (m_replying)
        return;
    m_replying = true;
    m_server.Post(".*", [this](const httplib::Request &request, httplib::Response &response) {
        const std::lock_guard guard(m_lock);
        m_lastRequest = request;
        response.status = m_reply.status;
        response.set_content(m_reply.body, m_reply.type);
    });
}

httplib::Request FakeOpenAiServer::lastRequest() const
{
    const std::lock_guard guard(m_lock);
    return m_lastRequest;
}

bool FakeOpenAiServer::start()
{
    m_port = m_server.bind_to_any_port("127.0.0.1");
    if (m_port <= 0)
        return false;
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    return true;
}
