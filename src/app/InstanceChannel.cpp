#include "app/InstanceChannel.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QTimer>
#include <QtEndian>

#include <optional>

#include <unistd.h>

namespace {

constexpr qsizetype headerSize = 4;
// A command line is a few words or one URL; anything near this is not ours.
constexpr quint32 maxMessageSize = 64 * 1024;
constexpr char ackByte = 0x06;
// A client that connected but never finished its message is dropped after this.
constexpr int clientTimeoutMs = 5000;
// A live instance accepts at once; a refused or silent socket is a leftover.
constexpr int probeTimeoutMs = 500;
constexpr int lockTimeoutMs = 2000;

const QString argumentsKey = QStringLiteral("arguments");

// Where QLocalServer puts the socket: absolute names as given, others in the temp dir.
QString socketPath(const QString &serverName)
{
    if (QDir::isAbsolutePath(serverName))
        return serverName;
    return QDir::cleanPath(QDir::tempPath()) + QLatin1Char('/') + serverName;
}

QByteArray encode(const QStringList &arguments)
{
    const QJsonObject object{{argumentsKey, QJsonArray::fromStringList(arguments)}};
    const QByteArray body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    QByteArray message(headerSize, Qt::Uninitialized);
    qToBigEndian(quint32(body.size()), message.data());
    return message + body;
}

std::optional<QStringList> decode(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonValue list = document.object().value(argumentsKey);
    if (!list.isArray())
        return std::nullopt;
    QStringList arguments;
    for (const QJsonValue &item : list.toArray()) {
        if (!item.isString())
            return std::nullopt;
        arguments.append(item.toString());
    }
    return arguments;
}

void drop(QLocalSocket *client)
{
    client->abort();
    client->deleteLater();
}

} // namespace

QString InstanceChannel::defaultServerName()
{
    const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtimeDir) && QFileInfo(runtimeDir).isDir())
        return runtimeDir + QStringLiteral("/ovrin-instance");
    return QStringLiteral("ovrin-%1").arg(::getuid());
}

InstanceChannel::InstanceChannel(QString serverName, QObject *parent)
    : QObject(parent), m_serverName(std::move(serverName))
{}

bool InstanceChannel::forward(const QStringList &arguments, int timeoutMs) const
{
    // In a shared temp dir another user could listen under our name; the arguments may
    // carry a sign-in token.
    if (socketOwnedByOtherUser()) {
        qWarning("InstanceChannel: %s belongs to another user, not forwarding",
                 qPrintable(socketPath(m_serverName)));
        return false;
    }
    const QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    socket.connectToServer(m_serverName);
    if (!socket.waitForConnected(deadline.remainingTime()))
        return false;
    socket.write(encode(arguments));
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(deadline.remainingTime()))
            return false;
    }
    while (socket.bytesAvailable() == 0) {
        if (!socket.waitForReadyRead(deadline.remainingTime()))
            return false;
    }
    char answer = 0;
    return socket.getChar(&answer) && answer == ackByte;
}

bool InstanceChannel::listen()
{
    if (isListening())
        return true;
    // Two instances started together must not both decide the socket is stale.
    QLockFile lock(socketPath(m_serverName) + QStringLiteral(".lock"));
    if (!lock.tryLock(lockTimeoutMs)) {
        qWarning("InstanceChannel: cannot lock %s", qPrintable(lock.fileName()));
        return false;
    }
    return listenReplacingStale();
}

bool InstanceChannel::isListening() const
{
    return m_server != nullptr && m_server->isListening();
}

bool InstanceChannel::listenReplacingStale()
{
    auto *server = new QLocalServer(this);
    bool listening = server->listen(m_serverName);
    if (!listening && server->serverError() == QAbstractSocket::AddressInUseError &&
        !socketOwnedByOtherUser()) {
        QLocalSocket probe;
        probe.connectToServer(m_serverName);
        if (probe.waitForConnected(probeTimeoutMs)) {
            delete server;
            return false;
        }
        // Left behind by an instance that did not shut down cleanly.
        QLocalServer::removeServer(m_serverName);
        listening = server->listen(m_serverName);
    }
    if (!listening) {
        qWarning("InstanceChannel: cannot listen on %s: %s", qPrintable(m_serverName),
                 qPrintable(server->errorString()));
        delete server;
        return false;
    }
    delete m_server;
    m_server = server;
    connect(m_server, &QLocalServer::newConnection, this, &InstanceChannel::acceptClients);
    return true;
}

bool InstanceChannel::socketOwnedByOtherUser() const
{
    const QFileInfo info(socketPath(m_serverName));
    return info.exists() && info.ownerId() != ::getuid();
}

void InstanceChannel::acceptClients()
{
    while (QLocalSocket *client = m_server->nextPendingConnection()) {
        connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        connect(client, &QLocalSocket::readyRead, this, [this, client] { readFrom(client); });
        QTimer::singleShot(clientTimeoutMs, client, [client] {
            qWarning("InstanceChannel: dropping a client that sent no complete message");
            drop(client);
        });
    }
}

void InstanceChannel::readFrom(QLocalSocket *client)
{
    if (client->bytesAvailable() < headerSize)
        return;
    char header[headerSize];
    client->peek(header, headerSize);
    const quint32 size = qFromBigEndian<quint32>(header);
    if (size > maxMessageSize) {
        qWarning("InstanceChannel: dropping a %u-byte message", size);
        drop(client);
        return;
    }
    if (client->bytesAvailable() < headerSize + qsizetype(size))
        return;
    client->skip(headerSize);
    const std::optional<QStringList> arguments = decode(client->read(size));
    if (!arguments) {
        qWarning("InstanceChannel: dropping a malformed message");
        drop(client);
        return;
    }
    // One message per connection.
    disconnect(client, &QLocalSocket::readyRead, this, nullptr);
    client->write(&ackByte, 1);
    client->disconnectFromServer();
    Q_EMIT argumentsReceived(*arguments);
}
