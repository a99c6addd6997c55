#include "FakeConnection.h"

#include <QTcpSocket>
#include <QTimer>

#include <utility>

namespace {

// Longer request heads are refused rather than buffered without end.
constexpr qsizetype maxHeadSize = 64 * 1024;
// Generated bodies wait while the socket holds this much unsent.
constexpr qint64 maxUnsent = 1024 * 1024;

} // namespace

FakeConnection::FakeConnection(QTcpSocket *socket, Dispatch dispatch, QObject *parent)
    : QObject(parent), m_socket(socket), m_dispatch(std::move(dispatch))
{
    socket->setParent(this);
    QObject::connect(socket, &QTcpSocket::readyRead, this, &FakeConnection::readInput);
    QObject::connect(socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
    QObject::connect(socket, &QTcpSocket::bytesWritten, this, [this] {
        if (std::exchange(m_draining, false))
            advance();
    });
    readInput();
}

void FakeConnection::release()
{
    if (!m_held)
        return;
    m_held = false;
    advance();
}

void FakeConnection::readInput()
{
    // A test's slot run by dispatch() may spin an event loop; the outer call keeps reading.
    if (m_reading)
        return;
    m_reading = true;
    while (m_input != Input::closed && m_socket->bytesAvailable() > 0) {
        m_in.append(m_socket->readAll());
        parseInput();
    }
    m_reading = false;
}

void FakeConnection::parseInput()
{
    for (;;) {
        switch (m_input) {
        case Input::head: {
            const qsizetype end = m_in.indexOf("\r\n\r\n");
            if (end < 0) {
                if (m_in.size() > maxHeadSize)
                    fail("request head too long");
                return;
            }
            if (!parseHead(QByteArrayView(m_in).first(end)))
                return;
            m_in.remove(0, end + 4);
            break;
        }
        case Input::lengthBody: {
            const qint64 take = qMin<qint64>(m_remaining, m_in.size());
            m_request.body.append(m_in.constData(), take);
            m_in.remove(0, take);
            m_remaining -= take;
            if (m_remaining > 0)
                return;
            complete();
            break;
        }
        case Input::closed:
            return;
        }
    }
}

bool FakeConnection::parseHead(QByteArrayView head)
{
    const QList<QByteArray> lines = head.toByteArray().split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    if (requestLine.size() != 3 || !requestLine[2].startsWith("HTTP/1.")) {
        fail("bad request line");
        return false;
    }
    m_request = {};
    m_request.method = requestLine[0];
    QByteArray target = requestLine[1];
    if (!target.startsWith('/')) {
        // Absolute form: drop the scheme and authority.
        const qsizetype authority = target.indexOf("//");
        const qsizetype path = authority < 0 ? -1 : target.indexOf('/', authority + 2);
        target = path < 0 ? QByteArray("/") : target.mid(path);
    }
    m_request.target = QString::fromLatin1(target);
    const qsizetype question = target.indexOf('?');
    m_request.path = QString::fromLatin1(question < 0 ? target : target.left(question));
    m_request.query = question < 0 ? QString() : QString::fromLatin1(target.mid(question + 1));

    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].trimmed();
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            fail("bad header line");
            return false;
        }
        m_request.headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }

    const QByteArray connection = m_request.header("Connection").toLower();
    m_closeAfter =
        connection == "close" || (requestLine[2] == "HTTP/1.0" && connection != "keep-alive");
    // The client under test always announces its body's length.
    bool ok = true;
    const QByteArray length = m_request.header("Content-Length");
    m_remaining = length.isEmpty() ? 0 : length.toLongLong(&ok);
    if (!ok || m_remaining < 0) {
        fail("bad Content-Length");
        return false;
    }
    m_input = Input::lengthBody;
    if (m_request.header("Expect").toLower() == "100-continue")
        m_socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    return true;
}

void FakeConnection::complete()
{
    const bool close = m_closeAfter;
    m_input = close ? Input::closed : Input::head;
    FakeReply reply = m_dispatch(std::exchange(m_request, {}));
    m_queue.append({std::move(reply), close});
    playNext();
}

void FakeConnection::fail(const char *why)
{
    qWarning("fake backend server: %s", why);
    m_input = Input::closed;
    m_socket->write("HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    m_socket->disconnectFromHost();
}

void FakeConnection::playNext()
{
    if (m_playing || m_queue.isEmpty())
        return;
    m_playing = m_queue.takeFirst();
    m_step = 0;
    const FakeReply &reply = m_playing->reply;
    if (reply.framing() == FakeReply::Framing::silent)
        return; // stays "playing", so nothing queued behind it is answered either

    const int status = reply.statusCode();
    // Clients read the code, not the reason phrase.
    QByteArray head = "HTTP/1.1 " + QByteArray::number(status) + " Status\r\n";
    for (const auto &[name, value] : reply.headers())
        head += name + ": " + value + "\r\n";
    if (reply.framing() == FakeReply::Framing::chunked)
        head += "Transfer-Encoding: chunked\r\n";
    else if (status >= 200 && status != 204 && status != 304)
        head += "Content-Length: " + QByteArray::number(reply.contentLength()) + "\r\n";
    if (m_playing->close)
        head += "Connection: close\r\n";
    m_socket->write(head + "\r\n");
    advance();
}

void FakeConnection::advance()
{
    if (!m_playing || m_held)
        return;
    const FakeReply &reply = m_playing->reply;
    const bool chunked = reply.framing() == FakeReply::Framing::chunked;
    const QList<FakeReply::Step> &steps = reply.steps();
    while (m_step < steps.size()) {
        const FakeReply::Step &step = steps[m_step];
        if (step.kind == FakeReply::Step::Kind::generate) {
            if (!generate(step, chunked))
                return;
            ++m_step;
            continue;
        }
        if (step.delayMs > 0 && !m_delayed) {
            m_delayed = true;
            QTimer::singleShot(step.delayMs, this, &FakeConnection::advance);
            return;
        }
        m_delayed = false;
        ++m_step;
        switch (step.kind) {
        case FakeReply::Step::Kind::write:
            // An empty chunk would end a chunked body.
            writeBody(step.bytes, chunked);
            break;
        case FakeReply::Step::Kind::hold:
            m_held = true;
            Q_EMIT held();
            return;
        case FakeReply::Step::Kind::generate:
            break;
        case FakeReply::Step::Kind::drop:
            // Written bytes still go out before the close.
            m_input = Input::closed;
            m_socket->disconnectFromHost();
            return;
        }
    }
    if (chunked)
        m_socket->write("0\r\n\r\n");
    const bool close = m_playing->close;
    m_playing.reset();
    if (close)
        m_socket->disconnectFromHost();
    else
        playNext();
}

bool FakeConnection::generate(const FakeReply::Step &step, bool chunked)
{
    while (m_piece < step.count) {
        if (m_socket->bytesToWrite() >= maxUnsent) {
            m_draining = true;
            return false;
        }
        writeBody(step.piece(m_piece++), chunked);
    }
    m_piece = 0;
    return true;
}

void FakeConnection::writeBody(const QByteArray &bytes, bool chunked)
{
    // An empty chunk would end a chunked body.
    if (chunked && !bytes.isEmpty())
        m_socket->write(QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n");
    else if (!chunked)
        m_socket->write(bytes);
}
