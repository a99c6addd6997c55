#pragma once

#include "backend/BackendRequest.h"
#include "backend/BackendResponse.h"

#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <optional>

// One plain HTTP/1.1 request on a connection of its own, with Nagle's algorithm off. Qt's
// HTTP client leaves TCP_NODELAY unset and cannot be told otherwise, so the last segment of a
// large upload can wait for the server's delayed acknowledgement (40 ms on Linux) before it
// leaves; the user waits on the transcription upload at the key's release, so that one goes
// here. http:// only; the reply is read whole, up to `maxReplyBytes`.
class PromptHttpExchange : public QObject
{
    Q_OBJECT
public:
    static constexpr qsizetype maxReplyBytes = 16 * 1024 * 1024;

    PromptHttpExchange(BackendRequest request, QObject *parent = nullptr);

    static bool canSend(const BackendRequest &request);
    void start();
    // Ends it now as a failed exchange.
    void abort();

    bool isFinished() const { return m_finished; }
    // The reply; nothing when the exchange failed on the way: no connection, a time-out, a
    // cancellation, a reply cut short, too large or not HTTP.
    const std::optional<BackendResponse> &result() const { return m_result; }

Q_SIGNALS:
    void finished();

private:
    QByteArray head() const;
    void received();
    // Whether `m_received` holds a whole reply; sets the result when it does.
    bool parse();
    bool parseHead();
    bool parseChunkedBody();
    void finish(std::optional<BackendResponse> result);

    BackendRequest m_request;
    QTcpSocket m_socket;
    QTimer m_idle;
    QByteArray m_received;
    qsizetype m_bodyStart = -1;
    int m_status = -1;
    std::optional<qsizetype> m_contentLength;
    bool m_chunked = false;
    bool m_finished = false;
    std::optional<BackendResponse> m_result;
};
