// The server under many connections and large requests: idle keep-alive connections hold no
// one up, workers come and go with the connections, the kept history reply follows every
// change, an oversized body gets its 413 rather than a reset, and a second server cannot
// share the port.
#include "ElasticTaskQueue.h"
#include "RunningServer.h"
#include "Secrets.h"

#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/Database.h>

#include <atomic>
#include <filesystem>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using nlohmann::json;

namespace {

// A raw keep-alive connection that sends one request and reads its reply, then stays open.
int askAndStayOpen(int port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(std::uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Under the server's two-second keep-alive time: a request that waits for another
    // connection's idle time to run out fails here.
    const timeval timeout{1, 500000};
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    if (::connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        return -1;
    const std::string request = "GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    char reply[512];
    if (::send(socket, request.data(), request.size(), MSG_NOSIGNAL) != ssize_t(request.size()) ||
        ::recv(socket, reply, sizeof reply, 0) <= 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

std::string dataDirectory(const QTemporaryDir &dir)
{
    const std::string data = dir.filePath(QStringLiteral("data")).toStdString();
    std::filesystem::create_directories(data);
    return data;
}

json history(httplib::Client &client, const std::string &query = {})
{
    const auto reply = client.Get("/history" + query);
    return reply && reply->status == 200 ? json::parse(reply->body)["entries"] : json();
}

} // namespace

class TestServerLoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(Secrets::initialise()); }

    void idleConnectionsHoldNoOneUp()
    {
        QTemporaryDir dir;
        RunningServer server(QString::fromStdString(dataDirectory(dir)), ServerConfig{});
        std::vector<int> idle;
        for (int i = 0; i < 150; ++i) {
            const int socket = askAndStayOpen(server.port());
            QVERIFY2(socket >= 0, qPrintable(QStringLiteral("connection %1 got no answer").arg(i)));
            idle.push_back(socket);
        }
        httplib::Client fresh("127.0.0.1", server.port());
        fresh.set_read_timeout(1, 500000);
        const auto health = fresh.Get("/health");
        for (int socket : idle)
            ::close(socket);
        QVERIFY(health);
        QCOMPARE(health->status, 200);
    }

    void workersComeAndGo()
    {
        ElasticTaskQueue queue(2, 8, std::chrono::milliseconds(20));
        std::atomic<bool> release{false};
        std::atomic<int> done{0};
        for (int i = 0; i < 12; ++i)
            queue.enqueue([&] {
                while (!release)
                    std::this_thread::yield();
                ++done;
            });
        QTRY_COMPARE(queue.workers(), std::size_t(8)); // no more than the limit
        release = true;
        QTRY_COMPARE(done.load(), 12);                 // the queued four ran too
        QTRY_COMPARE(queue.workers(), std::size_t(2)); // idle ones left, the kept stayed
        queue.shutdown();
        QCOMPARE(queue.workers(), std::size_t(0));
        queue.enqueue([&] { ++done; }); // after shutdown: dropped
        QCOMPARE(done.load(), 12);
    }

    void keptHistoryFollowsEveryChange()
    {
        QTemporaryDir dir;
        const std::string data = dataDirectory(dir);
        RunningServer server(QString::fromStdString(data), ServerConfig{});
        httplib::Client ada = server.client("ada@example.org");
        httplib::Client bob = server.client("bob@example.org");
        const auto add = [](httplib::Client &client, const char *kind, const char *text) {
            return client.Post("/history", json{{"kind", kind}, {"text", text}}.dump(),
                               "application/json");
        };

        QCOMPARE(history(ada).size(), std::size_t(0));
        QVERIFY(add(ada, "dictation", "One."));
        QVERIFY(add(ada, "question", "Two?"));
        QCOMPARE(history(ada).size(), std::size_t(2));
        QCOMPARE(history(ada, "?scope=transcripts").size(), std::size_t(1));
        QCOMPARE(history(bob).size(), std::size_t(0)); // each user's own

        // Another process writing the file counts too.
        {
            SQLite::Database other(data + "/ovrin.db", SQLite::OPEN_READWRITE);
            other.exec("DELETE FROM history WHERE kind = 'question'");
        }
        QCOMPARE(history(ada).size(), std::size_t(1));
        QVERIFY(ada.Delete("/history?scope=transcripts"));
        QCOMPARE(history(ada).size(), std::size_t(0));
        QCOMPARE(history(ada, "?scope=transcripts").size(), std::size_t(0));
    }

    // The client sends the whole body before it reads: a server that answers and closes
    // without reading it resets the connection under the client's send.
    void oversizedBodyGetsItsAnswer()
    {
        const qsizetype size = 8 << 20;
        QTemporaryDir dir;
        RunningServer server(QString::fromStdString(dataDirectory(dir)), ServerConfig{});
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(std::uint16_t(server.port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        QCOMPARE(::connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        const QByteArray request = "POST /auth/login HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                                   "Connection: close\r\n"
                                   "Content-Type: application/json\r\nContent-Length: " +
                                   QByteArray::number(size) + "\r\n\r\n" + QByteArray(size, ' ');
        qsizetype sent = 0;
        while (sent < request.size()) {
            const ssize_t n = ::send(socket, request.constData() + sent,
                                     std::size_t(request.size() - sent), MSG_NOSIGNAL);
            if (n <= 0)
                break;
            sent += n;
        }
        QByteArray reply;
        char buffer[4096];
        for (ssize_t n; (n = ::recv(socket, buffer, sizeof buffer, 0)) > 0;)
            reply.append(buffer, n);
        ::close(socket);
        QCOMPARE(sent, request.size());
        QVERIFY2(reply.startsWith("HTTP/1.1 413"), reply.left(200).constData());
        QVERIFY(reply.contains("Request too large: JSON bodies are limited to 1 MiB."));
    }

    void secondServerCannotShareThePort()
    {
        QTemporaryDir dir;
        RunningServer first(QString::fromStdString(dataDirectory(dir)), ServerConfig{});
        QTemporaryDir otherDir;
        ServerApp second(dataDirectory(otherDir), ServerConfig{});
        QCOMPARE(second.bind(first.port()), -1);
    }
};

QTEST_GUILESS_MAIN(TestServerLoad)
#include "TestServerLoad.moc"
