// Dictation streamed over HTTP while it is spoken, against the server's own routes and the
// offline recogniser: the text equals what the whole recording gives, and every refusal has its
// status.
#include "RunningServer.h"
#include "Secrets.h"
#include "ServerApp.h"
#include "SpeechSamples.h"
#include "WavAudio.h"

#include <QTemporaryDir>
#include <QTest>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <cctype>
#include <cmath>
#include <filesystem>
#include <thread>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using nlohmann::json;

namespace {

json body(const httplib::Result &result)
{
    return result ? json::parse(result->body, nullptr, false) : json();
}

std::string pcm16(const MonoAudio &audio, std::size_t from, std::size_t count)
{
    std::string bytes;
    for (std::size_t i = from; i < from + count && i < audio.samples.size(); ++i) {
        const auto sample = std::uint16_t(std::int16_t(std::lrint(audio.samples[i] * 32768.0f)));
        bytes.push_back(char(sample & 0xff));
        bytes.push_back(char(sample >> 8));
    }
    return bytes;
}

std::string openStream(httplib::Client &client, int rate, bool cleanup)
{
    const json opened = body(client.Post("/transcribe/stream",
                                         json{{"sampleRate", rate}, {"cleanup", cleanup}}.dump(),
                                         "application/json"));
    return opened.value("stream", "");
}

httplib::Result sendChunk(httplib::Client &client, const std::string &id, int seq,
                          const std::string &bytes)
{
    return client.Post("/transcribe/stream/" + id + "/audio?seq=" + std::to_string(seq), bytes,
                       "application/octet-stream");
}

} // namespace

class TestStreamedDictation : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<RunningServer> m_server;
    std::string m_wav; // flite's voice, 16 kHz mono

private Q_SLOTS:
    void initTestCase()
    {
        OVRIN_REQUIRE_SPEECH_TOOLS();
        QVERIFY(Secrets::initialise());
        std::filesystem::create_directories(m_dir.filePath("data").toStdString());
        m_server = std::make_unique<RunningServer>(m_dir.filePath("data"), ServerConfig{});
        QVERIFY(m_server->port() > 0);
        const QString spoken = m_dir.filePath("spoken.wav");
        QVERIFY(SpeechSamples::speak("Please open the flowboard and check the numbers.", spoken));
        m_wav = SpeechSamples::readFile(spoken);
    }

    void cleanupTestCase() { m_server.reset(); }

    void streamedTextEqualsTheWholeRecordings_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<bool>("cleanup");
        QTest::newRow("16 kHz as heard") << 16000 << false;
        QTest::newRow("16 kHz cleaned up") << 16000 << true;
        QTest::newRow("44.1 kHz cleaned up") << 44100 << true;
    }

    void streamedTextEqualsTheWholeRecordings()
    {
        QFETCH(int, rate);
        QFETCH(bool, cleanup);
        httplib::Client client =
            m_server->client(std::string(QTest::currentDataTag()) + "@example.com");
        const auto term = client.Post("/dictionary", R"({"term":"FlowBoard"})", "application/json");
        QCOMPARE(term->status, 200);
        MonoAudio spoken = WavAudio::decode(m_wav);
        if (rate != spoken.sampleRate)
            spoken = WavAudio::resample(spoken, rate);
        const std::string upload = WavAudio::encode16(spoken);
        const MonoAudio audio = WavAudio::decode(upload); // the same samples, both ways

        httplib::MultipartFormDataItems form = {{"file", upload, "dictation.wav", "audio/wav"}};
        if (cleanup)
            form.push_back({"cleanup", "true", "", ""});
        const json whole = body(client.Post("/transcribe", form));
        QVERIFY2(whole.contains("text"), whole.dump().c_str());

        // 200 ms chunks, as the application sends them while the key is held.
        const std::string id = openStream(client, rate, cleanup);
        QVERIFY(!id.empty());
        const std::size_t chunk = std::size_t(rate) / 5;
        int seq = 0;
        for (std::size_t at = 0; at < audio.samples.size(); at += chunk, ++seq) {
            const json sent = body(sendChunk(client, id, seq, pcm16(audio, at, chunk)));
            QCOMPARE(sent.value("received", std::size_t(0)),
                     std::min(at + chunk, audio.samples.size()));
        }
        const json streamed = body(client.Post("/transcribe/stream/" + id + "/finish"));
        const std::string text = streamed.value("text", "");
        qInfo("%s", text.c_str());
        QCOMPARE(text, whole["text"].get<std::string>());
        QVERIFY2(text.find("FlowBoard") != std::string::npos, text.c_str());
        // Cleanup makes a sentence of the recogniser's lower-case words.
        QCOMPARE(std::isupper(static_cast<unsigned char>(text.at(0))) != 0, cleanup);
        QCOMPARE(text.back() == '.', cleanup);
    }

    void refusalsHaveTheirStatus()
    {
        httplib::Client ada = m_server->client("refusals@example.com");
        httplib::Client bob = m_server->client("bob@example.com");
        httplib::Client nobody("127.0.0.1", m_server->port());
        const auto post = [](httplib::Client &client, const std::string &path,
                             const std::string &content = "{}") {
            const auto result = client.Post(path, content, "application/json");
            return result ? result->status : -1;
        };
        QCOMPARE(post(nobody, "/transcribe/stream", R"({"sampleRate":16000})"), 401);
        QCOMPARE(post(ada, "/transcribe/stream", R"({"sampleRate":"16000"})"), 400);
        QCOMPARE(post(ada, "/transcribe/stream", R"({"sampleRate":16000,"cleanup":"yes"})"), 400);

        const std::string id = openStream(ada, 16000, false);
        const std::string silence(6400, '\0');
        QCOMPARE(body(sendChunk(ada, id, 0, silence)).value("received", 0), 3200);
        const auto gap = sendChunk(ada, id, 2, silence);
        QCOMPARE(gap->status, 409);
        QVERIFY(body(gap)["error"].is_string());
        QCOMPARE(
            ada.Post("/transcribe/stream/" + id + "/audio", silence, "application/octet-stream")
                ->status,
            400);
        const auto huge = sendChunk(ada, id, 1, std::string((2u << 20) + 2, '\0'));
        QVERIFY2(huge, httplib::to_string(huge.error()).c_str());
        QCOMPARE(huge->status, 413);
        QCOMPARE(body(huge).value("error", ""),
                 "Request too large: audio chunks are limited to 2 MiB.");

        QCOMPARE(sendChunk(bob, id, 1, silence)->status, 404);
        const auto unknown = sendChunk(ada, "0123abcd", 0, silence);
        QCOMPARE(unknown->status, 404);
        QCOMPARE(body(unknown).value("error", ""), "No such stream.");

        QCOMPARE(body(ada.Post("/transcribe/stream/" + id + "/finish")).value("text", "?"), "");
        QCOMPARE(post(ada, "/transcribe/stream/" + id + "/finish"), 404);

        const std::string dropped = openStream(ada, 16000, false);
        QCOMPARE(ada.Delete("/transcribe/stream/" + dropped)->status, 200);
        QCOMPARE(sendChunk(ada, dropped, 0, silence)->status, 404);
    }

    void upstreamEngineTakesWholeRecordingsOnly()
    {
        ServerConfig config;
        config.transcription.url = "http://127.0.0.1:9";
        config.transcription.model = "whisper-1";
        const QString data = m_dir.filePath("upstream");
        std::filesystem::create_directories(data.toStdString());
        RunningServer upstream(data, config);
        httplib::Client client = upstream.client("ada@example.com");
        const auto refused =
            client.Post("/transcribe/stream", R"({"sampleRate":16000})", "application/json");
        QCOMPARE(refused->status, 409);
        QCOMPARE(body(refused).value("error", ""),
                 "Streaming needs the built-in engine; send the whole recording.");
    }

    void acceptedConnectionsSendWithoutDelay()
    {
        httplib::Client client = m_server->client("nodelay@example.com");
        client.set_keep_alive(true);
        QCOMPARE(client.Get("/health")->status, 200);
        // The server's end of that connection, found among this process's descriptors.
        int served = 0;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            const int fd = std::stoi(entry.path().filename().string());
            sockaddr_in local{}, peer{};
            socklen_t size = sizeof local, peerSize = sizeof peer;
            if (getsockname(fd, reinterpret_cast<sockaddr *>(&local), &size) != 0 ||
                local.sin_family != AF_INET || ntohs(local.sin_port) != m_server->port() ||
                getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &peerSize) != 0)
                continue;
            int noDelay = 0;
            socklen_t optionSize = sizeof noDelay;
            QCOMPARE(getsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &noDelay, &optionSize), 0);
            QVERIFY(noDelay != 0);
            ++served;
        }
        QVERIFY(served > 0);
    }
};

QTEST_GUILESS_MAIN(TestStreamedDictation)
#include "TestStreamedDictation.moc"
