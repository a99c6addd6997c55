// Meeting endpoints of Backend, including the upload straight to the presigned address.
#include "backend/Backend.h"

#include "backend/JsonFields.h"

#include <QCoro/QCoroNetworkReply>
#include <QFile>
#include <QNetworkReply>
#include <QStringDecoder>

#include <memory>

namespace {

QUrl validAddress(const QJsonValue &value)
{
    if (!value.isString())
        return {};
    const QUrl url(value.toString(), QUrl::StrictMode);
    return url.isValid() && !url.isRelative() ? url : QUrl();
}

} // namespace

QCoro::Task<PresignedUpload> Backend::presignUpload()
{
    BackendRequest request = makeRequest(QStringLiteral("uploads/presign"), "POST");
    setJsonBody(request, QJsonObject{});
    const QJsonObject reply = co_await send(std::move(request));
    // Older backends name the address "url"; it is read when "uploadUrl" holds no string.
    const QJsonValue uploadUrl = reply.value(QLatin1String("uploadUrl"));
    const QUrl url =
        validAddress(uploadUrl.isString() ? uploadUrl : reply.value(QLatin1String("url")));
    const QJsonValue key = reply.value(QLatin1String("key"));
    if (url.isEmpty() || !key.isString())
        throw BackendError::badResponse();
    co_return PresignedUpload{url, key.toString()};
}

QCoro::Task<void> Backend::uploadRecording(QUrl url, QString filePath)
{
    auto file = std::make_unique<QFile>(filePath);
    if (!file->open(QIODevice::ReadOnly))
        throw DescribedError(
            QStringLiteral("Can't read the recording %1: %2").arg(filePath, file->errorString()));

    // Built on the presigned address itself: no base address, no credentials.
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("audio/wav"));
    request.setHeader(QNetworkRequest::ContentLengthHeader, file->size());
    request.setTransferTimeout(300 * 1000);

    // Qt reads the file as it sends, so the recording is never in memory whole.
    std::unique_ptr<QNetworkReply> reply(start(BackendRequest{request, "PUT", {}}, file.get()));
    if (!reply->isFinished())
        co_await qCoro(reply.get()).waitForFinished();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (isTransportFailure(*reply))
        throw BackendError::notReachable(m_baseURL);
    const int code = status.isValid() ? status.toInt() : -1;
    if (code >= 200 && code <= 299)
        co_return;
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString message = utf8.decode(reply->readAll());
    if (utf8.hasError())
        message.clear();
    throw BackendError::http(code, message);
}

QCoro::Task<Meeting> Backend::createMeeting(QString key, qint64 durationSec)
{
    BackendRequest request = makeRequest(QStringLiteral("meetings"), "POST");
    setJsonBody(request, QJsonObject{{QStringLiteral("key"), key},
                                     {QStringLiteral("durationSec"), durationSec}});
    const QJsonObject reply = co_await decodeObject(std::move(request));
    co_return Meeting::fromJson(reply.value(QLatin1String("meeting")));
}

QCoro::Task<QList<Meeting>> Backend::meetings()
{
    const QJsonObject reply = co_await decodeObject(makeRequest(QStringLiteral("meetings"), "GET"));
    co_return JsonFields::records<Meeting>(
        JsonFields::requiredArray(reply, QStringLiteral("meetings")));
}

QCoro::Task<void> Backend::deleteMeeting(QString id)
{
    co_await sendIgnoringResult(QStringLiteral("meetings/") + id, "DELETE");
}
