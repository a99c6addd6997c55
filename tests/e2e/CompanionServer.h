#pragma once

#include <QJsonDocument>
#include <QProcess>

// ovrin-server on the application's fixed address, 127.0.0.1:8787 (or another port), with its
// data in a folder of the test's own; plus a client of its API to check what the application
// stored.
class CompanionServer
{
public:
    static constexpr quint16 applicationPort = 8787;

    CompanionServer(QString binary, QString dataDir, quint16 port = applicationPort);
    ~CompanionServer();
    CompanionServer(const CompanionServer &) = delete;
    CompanionServer &operator=(const CompanionServer &) = delete;

    quint16 port() const { return m_port; }
    // True once it answers /health; false when the port is taken or it exits.
    bool start();
    void stop();
    // A hung server: the kernel still accepts connections, nothing reads or answers them.
    void pause();
    void resume();

    // Signs in with the API; later requests carry the token.
    bool signIn(const QString &email, const QString &password);
    // Creates the account and signs in with it.
    bool registerAccount(const QString &email, const QString &password);
    const QByteArray &token() const { return m_token; }
    // A JSON request; a null document when it failed.
    QJsonDocument get(const QString &path);

private:
    QJsonDocument request(const QByteArray &method, const QString &path, const QByteArray &body);

    QString m_binary;
    QString m_dataDir;
    quint16 m_port;
    QProcess m_process;
    QByteArray m_token;
};
