#include "backend/PromptHttpExchange.h"

#include <QUrl>

namespace {

constexpr QByteArrayView lineEnd("\r\n");
constexpr QByteArrayView headEnd("\r\n\r\n");

} // namespace

PromptHttpExchange::PromptHttpExchange(BackendRequest request, QObject *parent)
    : QObject(parent), m_request(std::move(request))
{
    m_idle.setSingleShot(true);
    connect(&m_idle, &QTimer::timeout, this, &PromptHttpExchange::abort);
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_socket.write(head());
        m_socket.write(m_request.body);
        m_request.body.clear(); // the socket holds its own copy until it is sent
        m_socket.flush();       // out now, not on the next turn of the event loop
    });
    connect(&m_socket, &QTcpSocket::bytesWritten, this, [this] {
        if (m_idle.interval() > 0)
            m_idle.start();
    });
    connect(&m_socket, &QTcpSocket::readyRead, this, &PromptHttpExchange::received);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] {
        // The server's close ends a reply that runs until it; anything else cut it short.
        received();
        if (!m_finished && m_bodyStart >= 0 && !m_contentLength && !m_chunked &&
            m_socket.error() == QAbstractSocket::RemoteHostClosedError)
            finish(BackendResponse{true, m_status, m_received.mid(m_bodyStart)});
        finish(std::nullopt);
    });
}

bool PromptHttpExchange::canSend(const BackendRequest &request)
{
    const QUrl &url = request.request.url();
    return url.scheme() == QLatin1String("http") && !url.host().isEmpty();
}

void PromptHttpExchange::start()
{
    const int timeout = m_request.request.transferTimeout();
    m_idle.setInterval(timeout);
    if (timeout > 0)
        m_idle.start();
    const QUrl &url = m_request.request.url();
    m_socket.connectToHost(url.host(), quint16(url.port(80)));
}

void PromptHttpExchange::abort()
{
    finish(std::nullopt);
}

QByteArray PromptHttpExchange::head() const
{
    const QUrl &url = m_request.request.url();
    QByteArray target = url.path(QUrl::FullyEncoded).toLatin1();
    if (target.isEmpty())
        target = "/";
    if (url.hasQuery())
        target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    QByteArray bytes = m_request.method + ' ' + target +
                       " HTTP/1.1\r\nHost: " + url.authority(QUrl::FullyEncoded).toLatin1() +
                       "\r\n";
    for (const QByteArray &name : m_request.request.rawHeaderList()) {
        const QByteArray lower = name.toLower();
        if (lower == "host" || lower == "content-length" || lower == "connection")
            continue;
        bytes += name + ": " + m_request.request.rawHeader(name) + "\r\n";
    }
    if (m_request.method != "GET" || !m_request.body.isEmpty())
        bytes += "Content-Length: " + QByteArray::number(m_request.body.size()) + "\r\n";
    bytes += "Connection: close\r\n\r\n";
    return bytes;
}

void PromptHttpExchange::received()
{
    if (m_finished)
        return;
    if (m_idle.interval() > 0)
        m_idle.start();
    m_received += m_socket.readAll();
    if (m_received.size() > maxReplyBytes) {
        finish(BackendResponse{}); // not a reply this client takes
        return;
    }
    parse();
}

bool PromptHttpExchange::parse()
{
    while (m_bodyStart < 0) {
        if (!parseHead())
            return false;
        if (m_status >= 100 && m_status <= 199) { // an interim reply; the real one follows
            m_received.remove(0, m_bodyStart);
            m_bodyStart = -1;
        }
    }
    if (m_status < 0) {
        finish(BackendResponse{}); // not HTTP
        return true;
    }
    if (m_status == 204 || m_status == 304 || m_contentLength == 0) {
        finish(BackendResponse{true, m_status, {}});
        return true;
    }
    if (m_chunked)
        return parseChunkedBody();
    if (m_contentLength && m_received.size() - m_bodyStart >= *m_contentLength) {
        finish(BackendResponse{true, m_status, m_received.mid(m_bodyStart, *m_contentLength)});
        return true;
    }
    return false;
}

bool PromptHttpExchange::parseHead()
{
    const qsizetype end = m_received.indexOf(headEnd);
    if (end < 0)
        return false;
    m_bodyStart = end + headEnd.size();
    m_status = -1;
    m_contentLength.reset();
    m_chunked = false;
    const QList<QByteArray> lines = m_received.first(end).split('\n');
    const QList<QByteArray> statusLine = lines.value(0).trimmed().split(' ');
    bool number = false;
    const int status = statusLine.value(1).toInt(&number);
    if (!statusLine.value(0).startsWith("HTTP/1.") || !number || status < 100 || status > 999)
        return true;
    m_status = status;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon < 0)
            continue;
        const QByteArray name = lines[i].first(colon).trimmed().toLower();
        const QByteArray value = lines[i].mid(colon + 1).trimmed();
        if (name == "content-length") {
            bool valid = false;
            const qsizetype length = value.toLongLong(&valid);
            if (!valid || length < 0)
                m_status = -1;
            else
                m_contentLength = length;
        } else if (name == "transfer-encoding") {
            m_chunked = value.toLower().contains("chunked");
        }
    }
    if (m_chunked)
        m_contentLength.reset();
    return true;
}

bool PromptHttpExchange::parseChunkedBody()
{
    QByteArray body;
    qsizetype at = m_bodyStart;
    for (;;) {
        const qsizetype sizeEnd = m_received.indexOf(lineEnd, at);
        if (sizeEnd < 0)
            return false;
        QByteArray sizeText = m_received.sliced(at, sizeEnd - at);
        if (const qsizetype extension = sizeText.indexOf(';'); extension >= 0)
            sizeText.truncate(extension);
        bool valid = false;
        const qsizetype size = sizeText.trimmed().toLongLong(&valid, 16);
        if (!valid || size < 0) {
            finish(BackendResponse{});
            return true;
        }
        at = sizeEnd + lineEnd.size();
        if (size == 0) {
            // The last chunk, then optional trailer fields and an empty line.
            if (m_received.sliced(at).startsWith(lineEnd) || m_received.indexOf(headEnd, at) >= 0) {
                finish(BackendResponse{true, m_status, body});
                return true;
            }
            return false;
        }
        if (m_received.size() < at + size + lineEnd.size())
            return false;
        body += m_received.sliced(at, size);
        at += size;
        if (!m_received.sliced(at).startsWith(lineEnd)) {
            finish(BackendResponse{});
            return true;
        }
        at += lineEnd.size();
    }
}

void PromptHttpExchange::finish(std::optional<BackendResponse> result)
{
    if (m_finished)
        return;
    m_finished = true;
    m_result = std::move(result);
    m_idle.stop();
    m_socket.disconnect(this);
    m_socket.abort();
    Q_EMIT finished();
}
