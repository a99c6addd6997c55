// The chat model against a fake OpenAI-compatible service: the request it sends, streamed
// deltas as they arrive, and every way the service can fail without the call hanging.
#include "FakeOpenAiServer.h"
#include "HttpError.h"
#include "OpenAiChatModel.h"

#include <QByteArray>
#include <QTest>

#include <nlohmann/json.hpp>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>

using namespace std::chrono_literals;

namespace {

std::string sseEvent(const std::string &content)
{
    const nlohmann::json data = {{"choices", {{{"index", 0}, {"delta", {{"content", content}}}}}}};
    return "data: " + data.dump() + "\n\n";
}

ServerConfig::ChatUpstream upstream(const std::string &url, const std::string &key = "sk-test")
{
    ServerConfig::ChatUpstream chat;
    chat.url = url;
    chat.key = key;
    chat.model = "small-model";
    chat.visionModel = "eyes-model";
    return chat;
}

// The answer, or the error text prefixed with "error: ".
std::string outcome(const std::string &url,
                    const std::vector<ChatModel::Message> &messages = {{"user", "Hi", {}}})
{
    // A quick stall watch and a long total, so the message tells which one fired.
    OpenAiChatModel model(upstream(url), {.connect = 5s, .stall = 500ms, .total = 30s});
    try {
        return model.complete(messages, [](const std::string &) { return true; });
    } catch (const HttpError &error) {
        return "error: " + std::to_string(error.status()) + " " + error.what();
    }
}

// A loopback port whose connections the kernel accepts but no one ever answers.
struct SilentSocket
{
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    int port = 0;

    SilentSocket()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(fd, reinterpret_cast<sockaddr *>(&address), length) == 0 &&
            ::listen(fd, 4) == 0 &&
            ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) == 0)
            port = ntohs(address.sin_port);
    }
    ~SilentSocket() { ::close(fd); }
};

} // namespace

class TestOpenAiChatModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void streamsDeltasAsTheyArrive()
    {
        FakeOpenAiServer fake;
        std::mutex lock;
        std::condition_variable changed;
        bool firstDeltasSeen = false;
        bool heldUntilSeen = false;
        fake.server().Post(".*", [&](const httplib::Request &, httplib::Response &response) {
            response.set_chunked_content_provider(
                "text/event-stream", [&](size_t, httplib::DataSink &sink) {
                    const std::string start =
                        ": keep-alive\n\n" + sseEvent("Hel") + sseEvent("lo, ");
                    sink.write(start.data(), start.size());
                    {
                        std::unique_lock guard(lock);
                        heldUntilSeen =
                            changed.wait_for(guard, 10s, [&] { return firstDeltasSeen; });
                    }
                    // The last event split across writes.
                    const std::string rest = sseEvent("world!") + "data: [DONE]\n\n";
                    sink.write(rest.data(), 10);
                    sink.write(rest.data() + 10, rest.size() - 10);
                    sink.done();
                    return true;
                });
        });
        QVERIFY(fake.start());

        OpenAiChatModel model(upstream(fake.url()));
        QCOMPARE(model.description(), "small-model at " + fake.url());
        std::vector<std::string> deltas;
        const auto answer = model.complete({{"system", "Be brief.", {}}, {"user", "Hi", {}}},
                                           [&](const std::string &delta) {
                                               deltas.push_back(delta);
                                               const std::lock_guard guard(lock);
                                               firstDeltasSeen = deltas.size() >= 2;
                                               changed.notify_all();
                                               return true;
                                           });
        QCOMPARE(answer, "Hello, world!");
        QCOMPARE(deltas, (std::vector<std::string>{"Hel", "lo, ", "world!"}));
        QVERIFY2(heldUntilSeen, "the first deltas came only after the stream ended");
    }

    void sendsTheConversation()
    {
        FakeOpenAiServer fake;
        fake.reply(200, sseEvent("A chart.") + "data: [DONE]\n\n", "text/event-stream");
        QVERIFY(fake.start());

        QCOMPARE(outcome(fake.url(), {{"system", "Be brief.", {}}, {"user", "Hi", {}}}),
                 "A chart.");
        auto request = fake.lastRequest();
        QCOMPARE(request.get_header_value("Authorization"), "Bearer sk-test");
        QCOMPARE(request.body, R"({"messages":[{"content":"Be brief.","role":"system"},)"
                               R"({"content":"Hi","role":"user"}],)"
                               R"("model":"small-model","stream":true})");

        // An image goes to the vision model as a data URL.
        const std::string jpeg("\xff\xd8\xff\xe0 JPEG \x00\x01", 11);
        QCOMPARE(outcome(fake.url(), {{"user", "What is this?", jpeg}}), "A chart.");
        const auto sent = nlohmann::json::parse(fake.lastRequest().body);
        QCOMPARE(sent["model"].dump(), "\"eyes-model\"");
        const auto &content = sent["messages"][0]["content"];
        QCOMPARE(content[0].dump(), R"({"text":"What is this?","type":"text"})");
        QCOMPARE(content[1]["type"].dump(), "\"image_url\"");
        const QByteArray url = QByteArray::fromStdString(content[1]["image_url"]["url"]);
        QVERIFY(url.startsWith("data:image/jpeg;base64,"));
        QCOMPARE(QByteArray::fromBase64(url.mid(23)), QByteArray::fromStdString(jpeg));
    }

    void stopsWhenTheListenerLeaves()
    {
        FakeOpenAiServer fake;
        std::atomic<int> written = 0;
        fake.server().Post(".*", [&](const httplib::Request &, httplib::Response &response) {
            response.set_chunked_content_provider(
                "text/event-stream", [&](size_t, httplib::DataSink &sink) {
                    for (; written < 200; ++written) { // far more than the client takes
                        const std::string piece = sseEvent("word ");
                        if (!sink.write(piece.data(), piece.size()))
                            return false;
                        std::this_thread::sleep_for(20ms);
                    }
                    sink.done();
                    return true;
                });
        });
        QVERIFY(fake.start());

        OpenAiChatModel model(upstream(fake.url(), ""));
        int deltas = 0;
        const auto answer = model.complete({{"user", "Talk a lot", {}}},
                                           [&](const std::string &) { return ++deltas < 2; });
        QCOMPARE(answer, "word word ");
        QVERIFY(written < 200);
    }

    void replies_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("expected");

        const QString failed = "error: 502 The chat service at %1 failed: ";
        QTest::newRow("rejected key") << 401 << QByteArray(R"({"error": {"message": "bad key"}})")
                                      << failed + "HTTP 401: bad key";
        QTest::newRow("html error page")
            << 404 << QByteArray("<html>Not Found</html>") << failed + "HTTP 404";
        QTest::newRow("broken event") << 200 << QByteArray("data: {\"choices\": [\n\n")
                                      << failed + "it sent an event that is not JSON";
        QTest::newRow("error event")
            << 200 << QByteArray("data: {\"error\": {\"message\": \"overloaded\"}}\n\n")
            << failed + "overloaded";
        QTest::newRow("not a completion")
            << 200 << QByteArray(R"({"result": "?"})") << failed + "its reply is not a chat";
        QTest::newRow("no streaming")
            << 200 << QByteArray(R"({"choices": [{"message": {"content": "Whole."}}]})")
            << "Whole.";
    }

    void replies()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(QString, expected);
        FakeOpenAiServer fake;
        fake.reply(status, reply.toStdString());
        QVERIFY(fake.start());

        const QString answer = QString::fromStdString(outcome(fake.url()));
        QVERIFY2(answer.startsWith(expected.arg(QString::fromStdString(fake.url()))),
                 qPrintable(answer));
    }

    void unresponsiveServicesFail()
    {
        SilentSocket silent;
        QVERIFY(silent.port > 0);
        const std::string silentUrl = "http://127.0.0.1:" + std::to_string(silent.port);
        QCOMPARE(outcome(silentUrl), "error: 502 The chat service at " + silentUrl +
                                         " failed: it sent nothing for 0.5 s");

        int closedPort = 0;
        {
            SilentSocket closedSoon;
            closedPort = closedSoon.port;
        }
        const QString refused =
            QString::fromStdString(outcome("http://127.0.0.1:" + std::to_string(closedPort)));
        QVERIFY2(refused.contains("failed: Failed to connect"), qPrintable(refused));
    }
};

QTEST_GUILESS_MAIN(TestOpenAiChatModel)
#include "TestOpenAiChatModel.moc"
