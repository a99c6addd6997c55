// ovrin-server under fault: a full disk during an upload, a database another process has
// locked, an upstream service that never answers, and a kill in the middle of an upload.
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Transaction.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <thread>

#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using nlohmann::json;

namespace {

// A running ovrin-server on a free port, stopped (or found dead) at the end.
struct Server
{
    QProcess process;
    int port = 0;
    // The largest file it may write, in bytes; 0 for no limit.
    rlim_t fileSizeLimit = 0;

    ~Server()
    {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(5000)) {
                process.kill();
                process.waitForFinished(5000);
            }
        }
    }

    bool start(const QString &data, const QProcessEnvironment &environment = {})
    {
        QProcessEnvironment env =
            environment.isEmpty() ? QProcessEnvironment::systemEnvironment() : environment;
        process.setProcessEnvironment(env);
        const rlim_t limit = fileSizeLimit;
        process.setChildProcessModifier([limit] {
            if (limit == 0)
                return;
            // A write past the limit then fails with EFBIG, as on a full disk, instead of
            // killing the process.
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit size{limit, limit};
            ::setrlimit(RLIMIT_FSIZE, &size);
        });
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(SERVER_BINARY), {"--port", "0", "--data", data});
        if (!process.waitForReadyRead(10000))
            return false;
        const QString banner = QString::fromUtf8(process.readLine());
        port = QRegularExpression("127\\.0\\.0\\.1:(\\d+)").match(banner).captured(1).toInt();
        return port > 0;
    }

    void kill()
    {
        ::kill(pid_t(process.processId()), SIGKILL);
        process.waitForFinished(5000);
    }

    httplib::Client client() const
    {
        httplib::Client client("127.0.0.1", port);
        client.set_read_timeout(30, 0);
        return client;
    }
};

struct Account
{
    std::string token;
    httplib::Headers headers() const { return {{"Authorization", "Bearer " + token}}; }
};

Account signUp(const Server &server)
{
    const json account = {
        {"email", "ada@example.com"}, {"password", "correct horse"}, {"name", "Ada"}};
    auto client = server.client();
    const auto reply = client.Post("/auth/register", account.dump(), "application/json");
    if (!reply || reply->status != 200)
        return {};
    return {json::parse(reply->body)["token"].get<std::string>()};
}

// The upload address's path and query, for a client of the same server.
std::string presign(const Server &server, const Account &account)
{
    auto client = server.client();
    const auto reply = client.Post("/uploads/presign", account.headers(), "{}", "application/json");
    if (!reply || reply->status != 200)
        return {};
    const std::string url = json::parse(reply->body)["uploadUrl"];
    return url.substr(url.find("/uploads/"));
}

// A WAV head followed by `bytes` of silence.
std::string recording(std::size_t bytes)
{
    std::string wav(44 + bytes, '\0');
    const auto put32 = [&](std::size_t at, uint32_t value) {
        for (int i = 0; i < 4; ++i)
            wav[at + i] = char((value >> (8 * i)) & 0xff);
    };
    wav.replace(0, 4, "RIFF");
    put32(4, uint32_t(36 + bytes));
    wav.replace(8, 8, "WAVEfmt ");
    put32(16, 16);
    put32(20, 1 | (1 << 16)); // PCM, mono
    put32(24, 16000);
    put32(28, 32000);
    put32(32, 2 | (16 << 16));
    wav.replace(36, 4, "data");
    put32(40, uint32_t(bytes));
    return wav;
}

int rowCount(const QString &database, const char *table)
{
    SQLite::Database db(database.toStdString(), SQLite::OPEN_READONLY);
    return db.execAndGet(std::string("SELECT count(*) FROM ") + table).getInt();
}

QStringList filesIn(const QString &directory)
{
    return QDir(directory).entryList(QDir::Files | QDir::Hidden);
}

} // namespace

class TestServerFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void diskFullDuringUpload()
    {
        QTemporaryDir data;
        Server server;
        server.fileSizeLimit = 4 << 20;
        QVERIFY(server.start(data.path()));
        const Account account = signUp(server);
        QVERIFY(!account.token.empty());
        const std::string address = presign(server, account);
        QVERIFY(!address.empty());

        auto client = server.client();
        const auto reply = client.Put(address, recording(16 << 20), "audio/wav");
        QVERIFY2(reply, httplib::to_string(reply.error()).c_str());
        QCOMPARE(reply->status, 507);
        QCOMPARE(json::parse(reply->body)["error"].get<std::string>(),
                 std::string("The server could not store the recording (disk full?)."));

        // Nothing half-written is left, and no meeting can be made of it.
        QCOMPARE(filesIn(data.filePath("uploads")), QStringList());
        QCOMPARE(filesIn(data.filePath("recordings")), QStringList());
        const json create = {{"key", address.substr(9, address.find('?') - 9)}, {"durationSec", 5}};
        const auto created =
            client.Post("/meetings", account.headers(), create.dump(), "application/json");
        QVERIFY(created);
        QVERIFY2(created->body.find("upload the recording first") != std::string::npos,
                 created->body.c_str());
        QCOMPARE(rowCount(data.filePath("ovrin.db"), "meetings"), 0);
        QCOMPARE(client.Get("/health")->status, 200);
    }

    void lockedDatabase()
    {
        QTemporaryDir data;
        Server server;
        QVERIFY(server.start(data.path()));
        const Account account = signUp(server);
        QVERIFY(!account.token.empty());
        const json entry = {{"kind", "dictation"}, {"text", "after the lock"}};

        auto client = server.client();
        {
            // Another process's write transaction holds the database.
            SQLite::Database other(data.filePath("ovrin.db").toStdString(), SQLite::OPEN_READWRITE);
            other.exec("BEGIN EXCLUSIVE");
            other.exec("UPDATE users SET name = name");
            QElapsedTimer waited;
            waited.start();
            const auto refused =
                client.Post("/history", account.headers(), entry.dump(), "application/json");
            qInfo("a write against the locked database answered after %lld ms", waited.elapsed());
            QVERIFY2(refused, httplib::to_string(refused.error()).c_str());
            // A moment's wait for the client, not a server error.
            QCOMPARE(refused->status, 503);
            QCOMPARE(refused->get_header_value("Retry-After"), std::string("1"));
            QCOMPARE(json::parse(refused->body)["error"].get<std::string>(),
                     std::string("The server's database is busy. Try again in a moment."));
            QCOMPARE(server.process.state(), QProcess::Running);
            other.exec("ROLLBACK");
        }

        const auto added =
            client.Post("/history", account.headers(), entry.dump(), "application/json");
        QVERIFY(added);
        QCOMPARE(added->status, 200);
        const auto listed = client.Get("/history", account.headers());
        QVERIFY(listed && listed->status == 200);
        const json entries = json::parse(listed->body)["entries"];
        QCOMPARE(entries.size(), std::size_t(1));
        QCOMPARE(entries[0]["text"].get<std::string>(), std::string("after the lock"));
    }

    void upstreamThatNeverAnswers()
    {
        // Accepts connections (the kernel does, from its backlog) and never reads or answers.
        const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        QVERIFY(listener >= 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        QCOMPARE(::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        QCOMPARE(::listen(listener, 16), 0);
        socklen_t length = sizeof address;
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length);
        const QString upstream = QStringLiteral("http://127.0.0.1:%1").arg(ntohs(address.sin_port));

        QTemporaryDir data;
        Server server;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("OVRIN_CHAT_URL", upstream);
        env.insert("OVRIN_CHAT_MODEL", "silent");
        env.insert("XDG_CONFIG_HOME", data.filePath("config"));
        QVERIFY(server.start(data.path(), env));
        const Account account = signUp(server);
        QVERIFY(!account.token.empty());

        // The question waits on the upstream; the rest of the server must not. The server's
        // own upstream time-outs (a minute without a byte) are fixed, so the client gives up.
        std::thread question([&] {
            httplib::Client client("127.0.0.1", server.port);
            client.set_read_timeout(3, 0);
            const json body = {{"question", "Why is the sky blue?"},
                               {"now", "2026-11-15T18:23:00+01:00"}};
            client.Post("/ask", account.headers(), body.dump(), "application/json");
        });
        QTest::qWait(500);
        auto client = server.client();
        QElapsedTimer timer;
        timer.start();
        const auto health = client.Get("/health");
        const auto history = client.Get("/history", account.headers());
        const qint64 answeredMs = timer.elapsed();
        qInfo("health and history answered in %lld ms beside a hung upstream call", answeredMs);
        question.join();
        pollfd pending{listener, POLLIN, 0};
        QVERIFY2(::poll(&pending, 1, 0) == 1, "the question never reached the upstream");
        QVERIFY(health && health->status == 200);
        QVERIFY(history && history->status == 200);
        QVERIFY(answeredMs < 2000);
        QCOMPARE(server.process.state(), QProcess::Running);

        // A stop ends the call under way instead of waiting out the upstream's time-out.
        std::thread second([&] {
            httplib::Client client("127.0.0.1", server.port);
            client.set_read_timeout(10, 0);
            const json body = {{"question", "And the sea?"}, {"now", "2026-11-15T18:23:00+01:00"}};
            client.Post("/ask", account.headers(), body.dump(), "application/json");
        });
        QTest::qWait(500);
        timer.restart();
        server.process.terminate();
        const bool stopped = server.process.waitForFinished(5000);
        qInfo("SIGTERM stopped it in %lld ms beside a hung upstream call", timer.elapsed());
        if (!stopped)
            server.kill();
        second.join();
        ::close(listener);
        QVERIFY2(stopped, "SIGTERM left it running for 5 s while an upstream call hung");
    }

    void killedDuringUpload()
    {
        QTemporaryDir data;
        Server server;
        QVERIFY(server.start(data.path()));
        const Account account = signUp(server);
        QVERIFY(!account.token.empty());
        const std::string address = presign(server, account);
        QVERIFY(!address.empty());

        // An upload that announces 32 MB and sends it slowly, so the kill lands mid-body.
        const std::string wav = recording(32 << 20);
        std::atomic<bool> stop = false;
        std::thread upload([&] {
            httplib::Client client("127.0.0.1", server.port);
            client.Put(
                address, wav.size(),
                [&](std::size_t offset, std::size_t, httplib::DataSink &sink) {
                    if (stop)
                        return false;
                    const std::size_t piece = std::min<std::size_t>(64 << 10, wav.size() - offset);
                    sink.write(wav.data() + offset, piece);
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                    return true;
                },
                "audio/wav");
        });
        const QString uploads = data.filePath("uploads");
        QTRY_VERIFY_WITH_TIMEOUT(!filesIn(uploads).isEmpty() &&
                                     QFileInfo(uploads + "/" + filesIn(uploads).first()).size() >
                                         (1 << 20),
                                 10000);
        server.kill();
        stop = true;
        upload.join();
        qInfo("killed with %s in uploads/", qPrintable(filesIn(uploads).join(", ")));

        {
            SQLite::Database db(data.filePath("ovrin.db").toStdString(), SQLite::OPEN_READWRITE);
            QCOMPARE(db.execAndGet("PRAGMA integrity_check").getString(), std::string("ok"));
        }
        QVERIFY(server.start(data.path()));
        auto client = server.client();
        const auto listed = client.Get("/meetings", account.headers());
        QVERIFY(listed && listed->status == 200);
        QCOMPARE(json::parse(listed->body)["meetings"].size(), std::size_t(0));
        QCOMPARE(rowCount(data.filePath("ovrin.db"), "meetings"), 0);
        QCOMPARE(filesIn(uploads), QStringList());
        QCOMPARE(filesIn(data.filePath("recordings")), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestServerFaults)
#include "TestServerFaults.moc"
