#include "FakeBackendServer.h"

#include "FakeConnection.h"

#include <QTcpSocket>

#include <algorithm>

FakeBackendServer::FakeBackendServer(QObject *parent) : QObject(parent)
{
    QObject::connect(&m_server, &QTcpServer::newConnection, this,
                     &FakeBackendServer::acceptConnections);
}

FakeBackendServer::~FakeBackendServer()
{
    // Connections call back into this object: they go while it is still whole.
    qDeleteAll(findChildren<FakeConnection *>(Qt::FindDirectChildrenOnly));
}

bool FakeBackendServer::listen()
{
    return m_server.listen(QHostAddress::LocalHost, 0);
}

QUrl FakeBackendServer::baseURL() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port()));
}

FakeReply &FakeBackendServer::on(const QByteArray &method, const QString &path)
{
    Route &route = m_routes[{method, path}];
    if (!route.standing)
        route.standing.emplace();
    return *route.standing;
}

FakeReply &FakeBackendServer::once(const QByteArray &method, const QString &path)
{
    return m_routes[{method, path}].queued.emplace_back();
}

bool FakeBackendServer::isHolding() const
{
    const auto connections = findChildren<FakeConnection *>(Qt::FindDirectChildrenOnly);
    return std::any_of(connections.begin(), connections.end(),
                       [](const FakeConnection *connection) { return connection->isHeld(); });
}

void FakeBackendServer::release()
{
    for (FakeConnection *connection : findChildren<FakeConnection *>(Qt::FindDirectChildrenOnly))
        connection->release();
}

void FakeBackendServer::acceptConnections()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        auto *connection = new FakeConnection(
            socket, [this](const FakeRequest &request) { return dispatch(request); }, this);
        QObject::connect(connection, &FakeConnection::held, this, &FakeBackendServer::held);
    }
}

FakeReply FakeBackendServer::dispatch(const FakeRequest &request)
{
    m_requests.append(request);
    Q_EMIT requestReceived(request);

    // A route scripted with its query ("/history?scope=chat") wins over the bare path.
    auto found = m_routes.find({request.method, request.target});
    if (found == m_routes.end())
        found = m_routes.find({request.method, request.path});
    if (found != m_routes.end()) {
        Route &route = found->second;
        if (!route.queued.empty()) {
            FakeReply reply = std::move(route.queued.front());
            route.queued.pop_front();
            return reply;
        }
        if (route.standing)
            return *route.standing;
    }
    return FakeReply().status(404).json(QJsonObject{{"error", "no route"}});
}
