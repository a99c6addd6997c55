#pragma once

#include "app/BackendHealth.h"

#include <QNetworkAccessManager>
#include <QUrl>

// GET <base>/health with a 3-second limit and no credentials.
class HttpBackendHealth : public BackendHealth
{
public:
    explicit HttpBackendHealth(QUrl baseUrl = QUrl(QStringLiteral("http://127.0.0.1:8787")));
    QCoro::Task<bool> health() override;

private:
    QUrl m_baseUrl;
    QNetworkAccessManager m_network;
};
