#pragma once

#include <QJsonDocument>
#include <QProcess>

// ovrin-server on the application's fixed address, 127.0.0.1:8787, with its data in a
// folder of the test's own; plus a client of its API to check what the application stored.
class CompanionServer
{
public:
    CompanionServer(QString binary, QString dataDir);
    ~CompanionServer();
    CompanionServer(const CompanionServer &) = delete;
    CompanionServer &operator=(const CompanionServer &) = delete;

    static constexpr quint16 port = 8787;
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
    QProcess m_process;
    QByteArray m_token;
};
