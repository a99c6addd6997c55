// The transcriber against a fake OpenAI-compatible service: the form it uploads and the
// replies it accepts or refuses.
#include "FakeOpenAiServer.h"
#include "HttpError.h"
#include "OpenAiTranscriber.h"

#include <QTest>

#include <cstdint>

namespace {

OpenAiTranscriber transcriberFor(const FakeOpenAiServer &fake)
{
    ServerConfig::Upstream transcription;
    transcription.url = fake.url();
    transcription.key = "sk-speech";
    transcription.model = "whisper-1";
    return OpenAiTranscriber(transcription);
}

std::uint32_t little(const std::string &bytes, std::size_t at, int size)
{
    std::uint32_t value = 0;
    for (int i = size - 1; i >= 0; --i)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

} // namespace

class TestOpenAiTranscriber : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void uploadsTheAudioAndVocabulary()
    {
        FakeOpenAiServer fake;
        fake.reply(200, R"({"text": " Send it to Okonkwo. "})");
        QVERIFY(fake.start());
        auto transcriber = transcriberFor(fake);
        QCOMPARE(transcriber.description(), "whisper-1 at " + fake.url());

        const MonoAudio audio{16000, {0.0f, 0.5f, -1.0f, 2.0f}}; // the last one out of range
        QCOMPARE(transcriber.transcribe(audio, {"Okonkwo", "Ovrin"}), "Send it to Okonkwo.");
        const auto request = fake.lastRequest();
        QCOMPARE(request.path, "/v1/audio/transcriptions");
        QCOMPARE(request.get_header_value("Authorization"), "Bearer sk-speech");
        QCOMPARE(request.get_file_value("model").content, "whisper-1");
        QCOMPARE(request.get_file_value("response_format").content, "json");
        QCOMPARE(request.get_file_value("prompt").content, "Okonkwo, Ovrin");
        QCOMPARE(request.get_file_value("file").filename, "audio.wav");

        const std::string wav = request.get_file_value("file").content;
        QCOMPARE(wav.size(), std::size_t(44 + 2 * 4));
        QCOMPARE(wav.substr(0, 4) + wav.substr(8, 8), "RIFFWAVEfmt ");
        QCOMPARE(little(wav, 22, 2), 1u);     // mono
        QCOMPARE(little(wav, 24, 4), 16000u); // rate
        QCOMPARE(little(wav, 34, 2), 16u);    // bits
        const auto sample = [&](int i) { return std::int16_t(little(wav, 44 + 2 * i, 2)); };
        QCOMPARE(QList<int>({sample(0), sample(1), sample(2), sample(3)}),
                 QList<int>({0, 16384, -32767, 32767}));

        transcriber.transcribe(audio, {});
        QVERIFY(!fake.lastRequest().has_file("prompt"));
    }

    void failures_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("expected");

        QTest::newRow("error status")
            << 400 << QByteArray(R"({"error": "file too short"})") << "HTTP 400: file too short";
        QTest::newRow("no text") << 200 << QByteArray(R"({"segments": []})")
                                 << "its reply has no \"text\"";
    }

    void failures()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(QString, expected);
        FakeOpenAiServer fake;
        fake.reply(status, reply.toStdString());
        QVERIFY(fake.start());

        try {
            transcriberFor(fake).transcribe(MonoAudio{16000, std::vector<float>(1600)}, {});
            QFAIL("no error");
        } catch (const HttpError &error) {
            QCOMPARE(error.status(), 502);
            QVERIFY2(QString(error.what())
                         .startsWith(QString::fromStdString("The transcription service at " +
                                                            fake.url() + " failed: ") +
                                     expected),
                     error.what());
        }
    }
};

QTEST_GUILESS_MAIN(TestOpenAiTranscriber)
#include "TestOpenAiTranscriber.moc"
