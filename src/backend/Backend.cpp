#include "backend/Backend.h"

#include "backend/DeviceNow.h"
#include "backend/JsonFields.h"
#include "backend/PromptHttpExchange.h"
#include "backend/TokenProvider.h"
#include "core/ProcessWide.h"
#include "core/SystemClock.h"

#include <QCoreApplication>
#include <QCoro/QCoroNetworkReply>
#include <QCoro/QCoroSignal>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QPointer>
#include <QStringDecoder>
#include <QTimeZone>

#include <memory>

namespace {

const SystemClock &systemClock()
{
    static const SystemClock clock;
    return clock;
}

QUrl appendingPathComponent(QUrl url, const QString &component)
{
    QString path = url.path();
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    url.setPath(path + component);
    return url;
}

} // namespace

Backend &Backend::shared()
{
    return processWide<Backend>([] { return new Backend(); });
}

Backend::Backend() : Backend(QUrl(QStringLiteral("http://127.0.0.1:8787"))) {}

Backend::Backend(QUrl baseURL, const Clock *clock)
    : m_baseURL(std::move(baseURL)), m_clock(clock ? clock : &systemClock())
{
    // The backend is on loopback; a desktop proxy setting must not capture it.
    m_network.setProxy(QNetworkProxy::NoProxy);
    m_network.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
}

template <class Call> void Backend::endAll()
{
    QList<QPointer<Call>> calls;
    for (Call *call : m_network.findChildren<Call *>())
        calls.append(call);
    for (const QPointer<Call> &call : std::as_const(calls)) {
        if (call)
            call->abort();
        if (call)
            QCoreApplication::sendPostedEvents(call, QEvent::MetaCall);
    }
}

Backend::~Backend()
{
    // The manager deletes its replies with it, and a coroutine waiting on one would never
    // resume. Each request ends with an error first, and its waiter hears of it now: the
    // waiter resumes through a queued call that would otherwise die with the reply.
    endAll<QNetworkReply>();
    endAll<PromptHttpExchange>();
}

bool Backend::isTransportFailure(const QNetworkReply &reply)
{
    const QNetworkReply::NetworkError error = reply.error();
    if (error == QNetworkReply::NoError)
        return false;
    return error < QNetworkReply::ProxyConnectionRefusedError ||
           !reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
}

BackendRequest Backend::makeRequest(const QString &path, const QByteArray &method) const
{
    const qsizetype mark = path.indexOf(QLatin1Char('?'));
    const QString component = mark < 0 ? path : path.left(mark);

    QUrl url = appendingPathComponent(m_baseURL, component);
    if (mark >= 0) {
        // Tolerant: a character a query may not hold is percent-encoded instead of making
        // the URL invalid, which would send the request without its query (clearing one
        // history scope would clear them all). Escapes already there are kept.
        QUrl withQuery = url;
        withQuery.setQuery(path.mid(mark + 1), QUrl::TolerantMode);
        if (withQuery.isValid())
            url = withQuery;
    }

    BackendRequest request{QNetworkRequest(url), method, {}};
    request.setTimeoutSeconds(m_requestTimeoutSeconds);
    if (m_tokens) {
        const QString token = m_tokens->bearerToken();
        if (!token.isEmpty())
            request.request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    }
    return request;
}

void Backend::setJsonBody(BackendRequest &request, const QJsonObject &body)
{
    request.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    request.request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
}

QNetworkReply *Backend::start(const BackendRequest &request, QIODevice *upload)
{
    if (upload)
        return m_network.sendCustomRequest(request.request, request.method, upload);
    if (request.method == "GET")
        return m_network.get(request.request);
    return m_network.sendCustomRequest(request.request, request.method, request.body);
}

QCoro::Task<BackendResponse> Backend::perform(BackendRequest request, CancellationToken cancel)
{
    if (request.prompt && PromptHttpExchange::canSend(request))
        co_return co_await performPromptly(std::move(request), std::move(cancel));
    std::unique_ptr<QNetworkReply> reply(start(request));
    QPointer<QNetworkReply> guard(reply.get());
    cancel.onCancel([guard] {
        if (guard)
            guard->abort();
    });
    // Read as it comes, so the reply is held once, and only up to a limit: a success up to
    // maxReplyBytes, an error only as far as its message needs.
    QByteArray body;
    bool tooLarge = false;
    bool cutShort = false;
    const auto take = [&body, &tooLarge, &cutShort, reply = reply.get()] {
        if (!reply->isOpen())
            return;
        const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        const bool success = status.toInt() >= 200 && status.toInt() <= 299;
        const qsizetype limit = success ? maxReplyBytes : maxErrorReplyBytes;
        body += reply->read(limit + 1 - body.size());
        if (body.size() <= limit)
            return;
        if (success) {
            tooLarge = true;
        } else {
            body.truncate(limit);
            cutShort = true;
        }
        reply->abort();
    };
    QObject::connect(reply.get(), &QNetworkReply::readyRead, reply.get(), take);
    if (!reply->isFinished())
        co_await qCoro(reply.get()).waitForFinished();
    if (!tooLarge && !cutShort)
        take();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (tooLarge)
        throw BackendError::tooLarge(maxReplyBytes);
    if (!cutShort && isTransportFailure(*reply))
        throw BackendError::notReachable(m_baseURL);
    BackendResponse response;
    response.isHttp = status.isValid();
    response.status = status.isValid() ? status.toInt() : -1;
    response.body = std::move(body);
    co_return response;
}

QCoro::Task<BackendResponse> Backend::performPromptly(BackendRequest request,
                                                      CancellationToken cancel)
{
    // A child of the manager, so that the destructor above ends it like the replies.
    auto *exchange = new PromptHttpExchange(std::move(request), &m_network);
    QPointer<PromptHttpExchange> guard(exchange);
    cancel.onCancel([guard] {
        if (guard)
            guard->abort();
    });
    exchange->start();
    if (!exchange->isFinished())
        co_await qCoro(exchange, &PromptHttpExchange::finished);
    const std::optional<BackendResponse> result = exchange->result();
    exchange->deleteLater();
    if (!result)
        throw BackendError::notReachable(m_baseURL);
    co_return *result;
}

void Backend::ensureOK(const BackendResponse &response)
{
    if (!response.isHttp)
        throw BackendError::badResponse();
    if (response.status >= 200 && response.status <= 299)
        return;
    // The message is shown to the user: a huge error page must not become a huge text.
    constexpr qsizetype maxMessage = 1000;
    QString message;
    const QJsonDocument document = QJsonDocument::fromJson(response.body);
    const QJsonValue error = document.object().value(QLatin1String("error"));
    if (document.isObject() && error.isString()) {
        message = error.toString();
    } else {
        // A character cut at the end of the slice stays in the decoder, not an error.
        QStringDecoder utf8(QStringDecoder::Utf8);
        message = utf8.decode(
            QByteArrayView(response.body).first(qMin(response.body.size(), 4 * (maxMessage + 1))));
        if (utf8.hasError())
            message.clear();
    }
    if (message.size() > maxMessage)
        message = message.first(maxMessage) + QChar(0x2026);
    throw BackendError::http(response.status, message);
}

QCoro::Task<QJsonObject> Backend::send(BackendRequest request, CancellationToken cancel)
{
    const BackendResponse response = co_await perform(std::move(request), std::move(cancel));
    ensureOK(response);
    if (response.body.isEmpty())
        co_return QJsonObject();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(response.body, &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodingError::notJson(error.errorString());
    if (!document.isObject())
        throw BackendError::badResponse();
    co_return document.object();
}

QCoro::Task<QJsonObject> Backend::decodeObject(BackendRequest request)
{
    const BackendResponse response = co_await perform(std::move(request));
    ensureOK(response);
    co_return JsonFields::parseObject(response.body);
}

QString Backend::deviceNow() const
{
    return DeviceNow::format(m_clock->wallTime(), QTimeZone::systemTimeZone());
}

QCoro::Task<bool> Backend::health()
{
    QNetworkRequest request(appendingPathComponent(m_baseURL, QStringLiteral("health")));
    request.setTransferTimeout(3000);
    std::unique_ptr<QNetworkReply> reply(m_network.get(request));
    if (!reply->isFinished())
        co_await qCoro(reply.get()).waitForFinished();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    co_return !isTransportFailure(*reply) && status.isValid() && status.toInt() >= 200 &&
        status.toInt() <= 299;
}
