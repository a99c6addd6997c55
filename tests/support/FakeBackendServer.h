#pragma once

#include "FakeReply.h"
#include "FakeRequest.h"

#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QUrl>

#include <list>
#include <map>
#include <optional>
#include <utility>

// An HTTP/1.1 server on 127.0.0.1 for client tests, driven by the test's event loop.
// Replies are scripted per method and path; unscripted routes get 404 {"error":"no route"}.
// Every request is recorded in arrival order.
class FakeBackendServer : public QObject
{
    Q_OBJECT
public:
    explicit FakeBackendServer(QObject *parent = nullptr);
    ~FakeBackendServer() override;

    // Listens on an ephemeral port.
    bool listen();
    quint16 port() const { return m_server.serverPort(); }
    // "http://127.0.0.1:<port>", no path.
    QUrl baseURL() const;

    // The reply of every request to the route that finds no queued reply. `path` starts
    // with '/'; with a query it matches only that exact query, and wins over the bare path. The
    // reference stays valid for the server's lifetime.
    FakeReply &on(const QByteArray &method, const QString &path);
    // A reply for one request only; several are used in the order they were queued. The
    // reference is valid until a request uses it.
    FakeReply &once(const QByteArray &method, const QString &path);

    const QList<FakeRequest> &requests() const { return m_requests; }
    FakeRequest lastRequest() const { return m_requests.value(m_requests.size() - 1); }
    int requestCount() const { return int(m_requests.size()); }

    // Whether a reply waits at a hold() step.
    bool isHolding() const;
    // Lets every held reply go on.
    void release();

Q_SIGNALS:
    // A request was received whole; its reply starts after this.
    void requestReceived(const FakeRequest &request);
    // A reply reached a hold() step.
    void held();

private:
    struct Route
    {
        std::optional<FakeReply> standing;
        std::list<FakeReply> queued;
    };

    void acceptConnections();
    FakeReply dispatch(const FakeRequest &request);

    QTcpServer m_server;
    std::map<std::pair<QByteArray, QString>, Route> m_routes;
    QList<FakeRequest> m_requests;
};
