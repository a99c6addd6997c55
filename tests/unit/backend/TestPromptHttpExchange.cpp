// The plain HTTP exchange of the transcription upload, against a loopback listener that answers
// with bytes written by hand: what goes out, every framing of a reply, and every way it fails.
#include "backend/PromptHttpExchange.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

// Reads one request whole (headers and Content-Length body), keeps it, then writes `reply`
// and closes the connection unless told to keep it open.
class CannedServer : public QObject
{
    Q_OBJECT
public:
    QByteArray reply;
    bool closeAfterReply = true;
    QByteArray request;

    CannedServer()
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = m_server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        });
    }
    QUrl url(const QString &path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
    }

private:
    void read(QTcpSocket *socket)
    {
        request += socket->readAll();
        const qsizetype headEnd = request.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return;
        const qsizetype field = request.toLower().indexOf("content-length:");
        const qsizetype length =
            field < 0 ? 0 : request.mid(field + 15, 20).trimmed().split('\r')[0].toLongLong();
        if (request.size() < headEnd + 4 + length)
            return;
        socket->write(reply);
        if (closeAfterReply)
            socket->disconnectFromHost();
    }

    QTcpServer m_server;
};

BackendRequest post(const QUrl &url, QByteArray body = "hello", int timeoutMs = 5000)
{
    BackendRequest request{QNetworkRequest(url), "POST", std::move(body)};
    request.request.setTransferTimeout(timeoutMs);
    return request;
}

// Runs one exchange to its end; fails the test if it never ends.
std::optional<BackendResponse> exchange(BackendRequest request)
{
    PromptHttpExchange exchange(std::move(request));
    QSignalSpy finished(&exchange, &PromptHttpExchange::finished);
    exchange.start();
    if (!finished.wait(10000))
        qFatal("the exchange never finished");
    if (finished.count() != 1)
        qFatal("finished more than once");
    return exchange.result();
}

} // namespace

class TestPromptHttpExchange : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sendsTheRequestWhole()
    {
        CannedServer server;
        server.reply = "HTTP/1.1 200 OK\r\nContent-Length: 11\r\n\r\n{\"text\":1}\n";
        QByteArray body(3 * 1024 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < body.size(); ++i)
            body[i] = char(i * 7);
        BackendRequest request = post(server.url(QStringLiteral("/transcribe/a%20b?seq=3")), body);
        request.request.setRawHeader("Authorization", "Bearer t0k");
        request.request.setHeader(QNetworkRequest::ContentTypeHeader, "audio/wav");

        const auto response = exchange(std::move(request));
        QVERIFY(response && response->isHttp);
        QCOMPARE(response->status, 200);
        QCOMPARE(response->body, QByteArray("{\"text\":1}\n"));

        const qsizetype headEnd = server.request.indexOf("\r\n\r\n");
        const QByteArray head = server.request.first(headEnd);
        QVERIFY2(head.startsWith("POST /transcribe/a%20b?seq=3 HTTP/1.1\r\n"), head.constData());
        for (const char *line : {"\r\nHost: 127.0.0.1:", "\r\nAuthorization: Bearer t0k",
                                 "\r\nContent-Type: audio/wav", "\r\nContent-Length: 3145728",
                                 "\r\nConnection: close"})
            QVERIFY2(head.contains(line), line);
        QVERIFY(server.request.sliced(headEnd + 4) == body);
    }

    void readsEveryFraming_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("close");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("length, connection kept")
            << QByteArray("HTTP/1.1 201 Created\r\ncontent-length: 2\r\n\r\nokEXTRA") << false
            << 201 << QByteArray("ok");
        QTest::newRow("chunked, extension and trailer")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                          "4;x=y\r\n{\"a\"\r\n3\r\n:1}\r\n0\r\nX-Sum: 1\r\n\r\n")
            << false << 200 << QByteArray("{\"a\":1}");
        QTest::newRow("interim reply first")
            << QByteArray("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 413 Payload Too Large\r\n"
                          "Content-Length: 5\r\n\r\nlarge")
            << false << 413 << QByteArray("large");
        QTest::newRow("until the close")
            << QByteArray("HTTP/1.1 500 Internal Server Error\r\n\r\nbroken") << true << 500
            << QByteArray("broken");
        QTest::newRow("no content")
            << QByteArray("HTTP/1.1 204 No Content\r\n\r\n") << false << 204 << QByteArray();
    }

    void readsEveryFraming()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, close);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        CannedServer server;
        server.reply = reply;
        server.closeAfterReply = close;
        const auto response = exchange(post(server.url(QStringLiteral("/x"))));
        QVERIFY(response && response->isHttp);
        QCOMPARE(response->status, status);
        QCOMPARE(response->body, body);
    }

    // A reply that is not HTTP is a reply all the same: the caller says it was unexpected.
    void rejectsWhatIsNotAReply_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("not HTTP") << QByteArray("SSH-2.0-OpenSSH_9.2\r\n\r\n");
        QTest::newRow("bad length") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n");
        QTest::newRow("bad chunk size")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n");
        QTest::newRow("chunk overrun")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nab\r\n");
        QTest::newRow("too large") << QByteArray("HTTP/1.1 200 OK\r\n\r\n") +
                                          QByteArray(PromptHttpExchange::maxReplyBytes + 1, 'a');
    }

    void rejectsWhatIsNotAReply()
    {
        QFETCH(QByteArray, reply);
        CannedServer server;
        server.reply = reply;
        server.closeAfterReply = false;
        const auto response = exchange(post(server.url(QStringLiteral("/x"))));
        QVERIFY(response);
        QVERIFY(!response->isHttp);
    }

    // No reply at all: the caller says the backend cannot be reached.
    void failsOnTheWay()
    {
        CannedServer cut;
        cut.reply = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this";
        QVERIFY(!exchange(post(cut.url(QStringLiteral("/x")))));

        CannedServer chunksCut;
        chunksCut.reply = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n";
        QVERIFY(!exchange(post(chunksCut.url(QStringLiteral("/x")))));

        CannedServer silent;
        silent.reply = "";
        silent.closeAfterReply = false;
        QVERIFY(!exchange(post(silent.url(QStringLiteral("/x")), "hello", 200)));

        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        const QUrl nobody(QStringLiteral("http://127.0.0.1:%1/x").arg(probe.serverPort()));
        probe.close();
        QVERIFY(!exchange(post(nobody)));
    }

    void abortEndsItOnce()
    {
        CannedServer silent;
        silent.closeAfterReply = false;
        PromptHttpExchange exchange(post(silent.url(QStringLiteral("/x"))));
        QSignalSpy finished(&exchange, &PromptHttpExchange::finished);
        exchange.start();
        QTRY_VERIFY(!silent.request.isEmpty());
        exchange.abort();
        exchange.abort();
        QCOMPARE(finished.count(), 1);
        QVERIFY(exchange.isFinished());
        QVERIFY(!exchange.result());
    }

    void takesPlainHttpOnly()
    {
        QVERIFY(PromptHttpExchange::canSend(post(QUrl(QStringLiteral("http://127.0.0.1:8787/t")))));
        QVERIFY(!PromptHttpExchange::canSend(post(QUrl(QStringLiteral("https://example.org/t")))));
        QVERIFY(!PromptHttpExchange::canSend(post(QUrl(QStringLiteral("file:///tmp/t")))));
    }
};

QTEST_GUILESS_MAIN(TestPromptHttpExchange)
#include "TestPromptHttpExchange.moc"
