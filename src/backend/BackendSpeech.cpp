// Speech and ask endpoints of Backend.
#include "backend/Backend.h"

#include "backend/JsonFields.h"
#include "backend/ReplyWaiter.h"

#include <QJsonArray>
#include <QNetworkReply>
#include <QPointer>

#include <memory>

namespace {

// The text of a transcription answer; an answer without one is malformed.
QString transcriptOf(const QJsonObject &reply)
{
    const QJsonValue text = reply.value(QLatin1String("text"));
    if (!text.isString())
        throw BackendError::badResponse();
    return text.toString();
}

} // namespace

QByteArray Backend::transcribeBody(MultipartBody &body, const QByteArray &wav, bool cleanup)
{
    body.reserve(wav.size());
    body.addFile(QStringLiteral("file"), QStringLiteral("audio.wav"), "audio/wav", wav);
    // The backend reads a missing field as "no cleanup"; "false" is never sent.
    if (cleanup)
        body.addField(QStringLiteral("cleanup"), QStringLiteral("true"));
    return body.finish();
}

QCoro::Task<QString> Backend::transcribe(QByteArray wav, bool cleanup, CancellationToken cancel)
{
    BackendRequest request = makeRequest(QStringLiteral("transcribe"), "POST");
    MultipartBody body;
    request.request.setHeader(QNetworkRequest::ContentTypeHeader, body.contentType());
    request.body = transcribeBody(body, wav, cleanup);
    wav.clear(); // the body holds its own copy; do not keep two for the whole upload
    request.setTimeoutSeconds(60);
    request.prompt = true;

    const QJsonObject reply = co_await send(std::move(request), std::move(cancel));
    co_return transcriptOf(reply);
}

QCoro::Task<QString> Backend::openTranscriptionStream(int sampleRate, bool cleanup,
                                                      CancellationToken cancel)
{
    BackendRequest request = makeRequest(QStringLiteral("transcribe/stream"), "POST");
    setJsonBody(request, QJsonObject{{QStringLiteral("sampleRate"), sampleRate},
                                     {QStringLiteral("cleanup"), cleanup}});
    const QJsonObject reply = co_await send(std::move(request), std::move(cancel));
    const QJsonValue stream = reply.value(QLatin1String("stream"));
    if (!stream.isString() || stream.toString().isEmpty())
        throw BackendError::badResponse();
    co_return stream.toString();
}

QCoro::Task<void> Backend::sendTranscriptionAudio(QString stream, int seq, QByteArray pcm16,
                                                  CancellationToken cancel)
{
    BackendRequest request = makeRequest(
        QStringLiteral("transcribe/stream/%1/audio?seq=%2").arg(stream).arg(seq), "POST");
    request.request.setHeader(QNetworkRequest::ContentTypeHeader,
                              QByteArrayLiteral("application/octet-stream"));
    request.body = std::move(pcm16);
    request.prompt = true;
    co_await send(std::move(request), std::move(cancel));
}

QCoro::Task<QString> Backend::finishTranscriptionStream(QString stream, CancellationToken cancel)
{
    BackendRequest request =
        makeRequest(QStringLiteral("transcribe/stream/%1/finish").arg(stream), "POST");
    request.setTimeoutSeconds(60);
    request.prompt = true;
    const QJsonObject reply = co_await send(std::move(request), std::move(cancel));
    co_return transcriptOf(reply);
}

void Backend::dropTranscriptionStream(QString stream)
{
    [](Backend *backend, QString stream) -> QCoro::Task<void> {
        try {
            co_await backend->sendIgnoringResult(QStringLiteral("transcribe/stream/%1").arg(stream),
                                                 "DELETE");
        } catch (...) {
            // The server forgets idle streams by itself.
        }
    }(this, std::move(stream));
}

QCoro::Task<QString> Backend::ask(QString question, QString context, QStringList apps,
                                  DeltaHandler onDelta, ActionHandler onAction,
                                  CancellationToken cancel)
{
    QJsonObject body{{QStringLiteral("question"), question}, {QStringLiteral("now"), deviceNow()}};
    if (!context.isEmpty())
        body.insert(QStringLiteral("context"), context);
    if (!apps.isEmpty())
        body.insert(QStringLiteral("apps"), QJsonArray::fromStringList(apps));

    BackendRequest request = makeRequest(QStringLiteral("ask"), "POST");
    setJsonBody(request, body);
    request.setTimeoutSeconds(300);
    co_return co_await streamAnswer(std::move(request), std::move(onDelta), std::move(onAction),
                                    std::move(cancel));
}

QCoro::Task<QString> Backend::askImage(QString question, QByteArray image, DeltaHandler onDelta,
                                       CancellationToken cancel)
{
    BackendRequest request = makeRequest(QStringLiteral("ask-image"), "POST");
    MultipartBody body;
    body.reserve(image.size());
    body.addFile(QStringLiteral("image"), QStringLiteral("screen.jpg"), "image/jpeg", image);
    if (!question.isEmpty())
        body.addField(QStringLiteral("question"), question);
    body.addField(QStringLiteral("now"), deviceNow());
    request.request.setHeader(QNetworkRequest::ContentTypeHeader, body.contentType());
    request.body = body.finish();
    request.setTimeoutSeconds(300);
    co_return co_await streamAnswer(std::move(request), std::move(onDelta), {}, std::move(cancel));
}

QCoro::Task<void> Backend::addHistory(QString kind, QString text)
{
    BackendRequest request = makeRequest(QStringLiteral("history"), "POST");
    setJsonBody(request,
                QJsonObject{{QStringLiteral("kind"), kind}, {QStringLiteral("text"), text}});
    co_await send(std::move(request));
}

QCoro::Task<QString> Backend::streamAnswer(BackendRequest request, DeltaHandler onDelta,
                                           ActionHandler onAction, CancellationToken cancel)
{
    std::unique_ptr<QNetworkReply> reply(start(request));
    QPointer<QNetworkReply> guard(reply.get());
    cancel.onCancel([guard] {
        if (guard)
            guard->abort();
    });
    ReplyWaiter waiter(reply.get());
    const auto status = [&] { return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute); };

    while (!reply->isFinished() && !status().isValid())
        co_await waiter.next();
    if (isTransportFailure(*reply))
        throw BackendError::notReachable(m_baseURL);
    if (!status().isValid())
        throw BackendError::badResponse();

    const int code = status().toInt();
    if (code < 200 || code > 299) {
        while (!reply->isFinished())
            co_await waiter.next();
        ensureOK(BackendResponse{true, code, reply->readAll()});
    }

    // Lines are handled as they arrive, so the caller shows deltas while the
    // backend is still writing. A fast stream is read in slices with the event loop
    // running between them: a whole buffer of deltas would hold the window still.
    constexpr qint64 slice = 16 * 1024;
    AnswerStreamReader reader(code, std::move(onDelta), std::move(onAction));
    for (;;) {
        if (reply->bytesAvailable() > 0)
            reader.feed(reply->read(slice));
        if (reply->bytesAvailable() > 0)
            co_await waiter.afterEvents();
        else if (reply->isFinished())
            break;
        else
            co_await waiter.next();
    }
    if (isTransportFailure(*reply))
        throw BackendError::notReachable(m_baseURL);
    reader.finish();
    co_return reader.answer();
}
