// ovrin-server killed outright in the middle of a burst of writes: every write it acknowledged
// is there after a restart, and the database is intact.
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/Database.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include <signal.h>

namespace {

// Starts the server on a free port; 0 when it did not come up.
int startServer(QProcess &process, const QString &data)
{
    process.start(QStringLiteral(SERVER_BINARY), {"--port", "0", "--data", data});
    if (!process.waitForReadyRead(10000))
        return 0;
    const QString banner = QString::fromUtf8(process.readLine());
    return QRegularExpression("127\\.0\\.0\\.1:(\\d+)").match(banner).captured(1).toInt();
}

} // namespace

class TestServerDurability : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void acknowledgedWritesSurviveAKill()
    {
        QTemporaryDir data;
        QProcess server;
        int port = startServer(server, data.path());
        QVERIFY(port > 0);

        httplib::Client setup("127.0.0.1", port);
        const nlohmann::json account = {
            {"email", "ada@example.com"}, {"password", "correct horse"}, {"name", "Ada"}};
        const auto registered = setup.Post("/auth/register", account.dump(), "application/json");
        QVERIFY(registered && registered->status == 200);
        const std::string token = nlohmann::json::parse(registered->body)["token"];
        const httplib::Headers auth = {{"Authorization", "Bearer " + token}};

        std::mutex lock;
        std::set<std::string> acknowledged;
        std::atomic<bool> killed = false;
        std::vector<std::thread> writers;
        for (int writer = 0; writer < 4; ++writer) {
            writers.emplace_back([&, writer] {
                httplib::Client client("127.0.0.1", port);
                for (int i = 0; !killed; ++i) {
                    const std::string text = std::to_string(writer) + "-" + std::to_string(i);
                    const nlohmann::json body = {{"kind", "dictation"}, {"text", text}};
                    const auto reply =
                        client.Post("/history", auth, body.dump(), "application/json");
                    if (reply && reply->status == 200) {
                        std::lock_guard guard(lock);
                        acknowledged.insert(text);
                    }
                }
            });
        }
        const auto count = [&] {
            std::lock_guard guard(lock);
            return acknowledged.size();
        };
        QTRY_VERIFY_WITH_TIMEOUT(count() >= 300, 20000);
        ::kill(pid_t(server.processId()), SIGKILL);
        QVERIFY(server.waitForFinished(5000));
        killed = true;
        for (std::thread &writer : writers)
            writer.join();

        {
            SQLite::Database db(data.filePath("ovrin.db").toStdString(), SQLite::OPEN_READWRITE);
            QCOMPARE(db.execAndGet("PRAGMA integrity_check").getString(), std::string("ok"));
        }
        port = startServer(server, data.path());
        QVERIFY(port > 0);
        httplib::Client client("127.0.0.1", port);
        const auto listed = client.Get("/history", auth);
        QVERIFY(listed && listed->status == 200);
        std::set<std::string> kept;
        const nlohmann::json history = nlohmann::json::parse(listed->body);
        for (const auto &entry : history["entries"])
            kept.insert(entry["text"].get<std::string>());
        std::vector<std::string> lost;
        std::set_difference(acknowledged.begin(), acknowledged.end(), kept.begin(), kept.end(),
                            std::back_inserter(lost));
        qInfo("%zu writes acknowledged before the kill, %zu kept", acknowledged.size(),
              kept.size());
        QVERIFY2(lost.empty(), lost.empty() ? "" : lost.front().c_str());
        server.terminate();
        QVERIFY(server.waitForFinished(5000));
    }
};

QTEST_GUILESS_MAIN(TestServerDurability)
#include "TestServerDurability.moc"
