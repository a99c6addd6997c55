#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;
class QLocalSocket;

// One running Ovrin per user. The first process listens on a local socket; a later one
// hands its command line over and exits. A message is a 4-byte big-endian length and a
// JSON object {"arguments": [...]}; the receiver answers one acknowledgement byte.
class InstanceChannel : public QObject
{
    Q_OBJECT

public:
    // $XDG_RUNTIME_DIR/ovrin-instance when a runtime directory exists (private to the
    // user), otherwise "ovrin-<uid>", which QLocalServer places in the temp directory.
    static QString defaultServerName();

    explicit InstanceChannel(QString serverName = defaultServerName(), QObject *parent = nullptr);

    const QString &serverName() const { return m_serverName; }

    // Sends the arguments to the running instance and waits for its acknowledgement. False
    // when nothing listens, the instance does not answer within timeoutMs, or the socket
    // belongs to another user. Blocks the calling thread, so a listener on that same
    // thread cannot answer.
    bool forward(const QStringList &arguments, int timeoutMs = 2000) const;

    // Becomes the running instance, replacing a socket a crashed instance left behind.
    // False when a live instance already listens or the socket cannot be created.
    bool listen();
    bool isListening() const;

Q_SIGNALS:
    void argumentsReceived(const QStringList &arguments);

private:
    void acceptClients();
    void readFrom(QLocalSocket *client);
    bool listenReplacingStale();
    bool socketOwnedByOtherUser() const;

    QString m_serverName;
    QLocalServer *m_server = nullptr;
};
