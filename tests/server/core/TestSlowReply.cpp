// Replies that take longer than the client waits for silence: kept alive with whitespace the
// application's JSON reader skips, and finished even when the client has gone.
#include "HttpError.h"
#include "SlowReply.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <httplib.h>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;

class TestSlowReply : public QObject
{
    Q_OBJECT

    httplib::Server m_server;
    std::thread m_thread;
    int m_port = 0;
    std::atomic<bool> m_finished = false;
    // Short enough for a test; the client below waits 100 ms for silence.
    const SlowReply::Timing m_timing{50ms, 20ms};

    httplib::Result post(const char *path, std::chrono::milliseconds silence = 100ms)
    {
        httplib::Client client("127.0.0.1", m_port);
        client.set_read_timeout(silence);
        return client.Post(path, "{}", "application/json");
    }

private Q_SLOTS:
    void initTestCase()
    {
        const auto route = [this](const char *path, std::chrono::milliseconds work, bool fail) {
            m_server.Post(path, [=, this](const httplib::Request &, httplib::Response &response) {
                SlowReply::send(
                    response,
                    [=, this]() -> nlohmann::json {
                        std::this_thread::sleep_for(work);
                        m_finished = true;
                        if (fail)
                            throw HttpError(409, "That recording has already become a meeting.");
                        return {{"meeting", {{"id", "m1"}}}};
                    },
                    m_timing);
            });
        };
        route("/quick", 0ms, false);
        route("/quick-refusal", 0ms, true);
        route("/slow", 300ms, false);
        route("/slow-refusal", 150ms, true);
        m_port = m_server.bind_to_any_port("127.0.0.1");
        QVERIFY(m_port > 0);
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
    }

    void cleanupTestCase()
    {
        m_server.stop();
        m_thread.join();
    }

    void quickWorkIsAnsweredWithItsOwnStatus()
    {
        const auto done = post("/quick");
        QVERIFY(done);
        QCOMPARE(done->status, 200);
        QCOMPARE(done->body, std::string("{\"meeting\":{\"id\":\"m1\"}}"));
        const auto refused = post("/quick-refusal");
        QCOMPARE(refused->status, 409);
        QCOMPARE(refused->body,
                 std::string("{\"error\":\"That recording has already become a meeting.\"}"));
    }

    void slowWorkKeepsTheConnectionAlive()
    {
        // 300 ms of work against a client that gives up after 100 ms of silence.
        const auto done = post("/slow");
        QVERIFY2(done, httplib::to_string(done.error()).c_str());
        QCOMPARE(done->status, 200);
        QVERIFY(done->body.size() > 5 && done->body.front() == ' ');
        const QJsonDocument json = QJsonDocument::fromJson(QByteArray::fromStdString(done->body));
        QCOMPARE(json["meeting"]["id"].toString(), QStringLiteral("m1"));

        // Once the status is out, a refusal can only travel in the body.
        const auto refused = post("/slow-refusal");
        QCOMPARE(refused->status, 200);
        QCOMPARE(
            QJsonDocument::fromJson(QByteArray::fromStdString(refused->body))["error"].toString(),
            QStringLiteral("That recording has already become a meeting."));
    }

    void workFinishesAfterTheClientLeaves()
    {
        m_finished = false;
        QVERIFY(!post("/slow", 10ms));
        QTRY_VERIFY_WITH_TIMEOUT(m_finished, 5000);
    }
};

QTEST_GUILESS_MAIN(TestSlowReply)
#include "TestSlowReply.moc"
