#include "app/HttpBackendHealth.h"

#include <QCoro/QCoroNetworkReply>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <memory>

HttpBackendHealth::HttpBackendHealth(QUrl baseUrl) : m_baseUrl(std::move(baseUrl))
{
    // Answers come from loopback only; a system proxy would only get in the way.
    m_network.setProxy(QNetworkProxy::NoProxy);
}

QCoro::Task<bool> HttpBackendHealth::health()
{
    QUrl url = m_baseUrl;
    url.setPath(QStringLiteral("/health"));
    QNetworkRequest request(url);
    request.setTransferTimeout(3000);
    std::unique_ptr<QNetworkReply> reply(m_network.get(request));
    co_await reply.get();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    co_return reply->error() == QNetworkReply::NoError &&status >= 200 && status <= 299;
}
