#include "CompanionServer.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <signal.h>

CompanionServer::CompanionServer(QString binary, QString dataDir, quint16 port)
    : m_binary(std::move(binary)), m_dataDir(std::move(dataDir)), m_port(port)
{
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    // Offline engines only: no upstream service from the developer's environment.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : environment.keys())
        if (name.startsWith(QStringLiteral("OVRIN_")))
            environment.remove(name);
    m_process.setProcessEnvironment(environment);
}

CompanionServer::~CompanionServer()
{
    stop();
}

bool CompanionServer::start()
{
    m_process.start(m_binary, {QStringLiteral("--port"), QString::number(m_port),
                               QStringLiteral("--data"), m_dataDir});
    if (!m_process.waitForStarted(5000))
        return false;
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired() && m_process.state() == QProcess::Running) {
        if (request("GET", QStringLiteral("/health"), {}).object().value(u"ok").toBool())
            return true;
        QEventLoop wait;
        QTimer::singleShot(100, &wait, &QEventLoop::quit);
        wait.exec();
    }
    return false;
}

void CompanionServer::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    resume();
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
}

void CompanionServer::pause()
{
    if (m_process.state() == QProcess::Running)
        ::kill(pid_t(m_process.processId()), SIGSTOP);
}

void CompanionServer::resume()
{
    if (m_process.state() == QProcess::Running)
        ::kill(pid_t(m_process.processId()), SIGCONT);
}

bool CompanionServer::signIn(const QString &email, const QString &password)
{
    const QJsonObject body{{u"email"_qs, email}, {u"password"_qs, password}};
    const QJsonDocument reply = request("POST", QStringLiteral("/auth/login"),
                                        QJsonDocument(body).toJson(QJsonDocument::Compact));
    m_token = reply.object().value(u"token").toString().toUtf8();
    return !m_token.isEmpty();
}

bool CompanionServer::registerAccount(const QString &email, const QString &password)
{
    const QJsonObject body{{u"email"_qs, email}, {u"password"_qs, password}};
    const QJsonDocument reply = request("POST", QStringLiteral("/auth/register"),
                                        QJsonDocument(body).toJson(QJsonDocument::Compact));
    m_token = reply.object().value(u"token").toString().toUtf8();
    return !m_token.isEmpty() || signIn(email, password);
}

QJsonDocument CompanionServer::get(const QString &path)
{
    return request("GET", path, {});
}

QJsonDocument CompanionServer::request(const QByteArray &method, const QString &path,
                                       const QByteArray &body)
{
    QNetworkAccessManager network;
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    if (!m_token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + m_token);
    request.setTransferTimeout(10000);
    QNetworkReply *reply = network.sendCustomRequest(request, method, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    const QJsonDocument document = reply->error() == QNetworkReply::NoError
                                       ? QJsonDocument::fromJson(reply->readAll())
                                       : QJsonDocument();
    reply->deleteLater();
    return document;
}
