// Uploaded WAV files: what is accepted, the exact refusals, and the block-wise file path.
#include "HttpError.h"
#include "SpeechSamples.h"
#include "WavAudio.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <cstdint>

using namespace std::string_literals;

namespace {

std::string le(std::uint32_t value, int bytes)
{
    std::string out;
    for (int i = 0; i < bytes; ++i)
        out.push_back(char((value >> (8 * i)) & 0xFF));
    return out;
}

std::string chunk(const std::string &id, const std::string &body)
{
    return id + le(std::uint32_t(body.size()), 4) + body + (body.size() % 2 ? "\0"s : "");
}

std::string format(int tag, int channels, int rate, int bits)
{
    return le(tag, 2) + le(channels, 2) + le(rate, 4) + le(rate * channels * bits / 8, 4) +
           le(channels * bits / 8, 2) + le(bits, 2);
}

std::string extensible(int subTag, int channels, int rate, int bits)
{
    static const std::string guidTail("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71",
                                      14);
    return format(0xFFFE, channels, rate, bits) + le(22, 2) + le(bits, 2) + le(0, 4) +
           le(subTag, 2) + guidTail;
}

std::string riff(const std::string &chunks)
{
    return "RIFF" + le(std::uint32_t(4 + chunks.size()), 4) + "WAVE" + chunks;
}

std::string pcm(const std::vector<std::int16_t> &samples)
{
    std::string out;
    for (const std::int16_t s : samples)
        out += le(std::uint16_t(s), 2);
    return out;
}

MonoAudio sine(double hz, int rate, double seconds)
{
    MonoAudio audio;
    audio.sampleRate = rate;
    for (int i = 0; i < int(rate * seconds); ++i)
        audio.samples.push_back(float(0.5 * std::sin(2 * M_PI * hz * i / rate)));
    return audio;
}

// Frequency from upward zero crossings, skipping the filters' settling at both ends.
double frequency(const MonoAudio &audio)
{
    const std::size_t margin = std::size_t(audio.sampleRate / 10);
    int crossings = 0;
    for (std::size_t i = margin + 1; i < audio.samples.size() - margin; ++i)
        crossings += audio.samples[i - 1] < 0 && audio.samples[i] >= 0;
    return crossings / (double(audio.samples.size() - 2 * margin) / audio.sampleRate);
}

} // namespace

class TestWavAudio : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void acceptsPcmLayouts()
    {
        // Stereo 44.1 kHz behind an odd-sized LIST chunk (padded) and a fact chunk.
        const std::string stereo =
            riff(chunk("LIST", "INFOodd length!") + chunk("fmt ", format(1, 2, 44100, 16)) +
                 chunk("fact", le(2, 4)) + chunk("data", pcm({16384, -8192, -32768, 32767})));
        MonoAudio audio = WavAudio::decode(stereo);
        QCOMPARE(audio.sampleRate, 44100);
        QCOMPARE(audio.samples.size(), std::size_t(2));
        QCOMPARE(audio.samples[0], 0.125f); // (0.5 - 0.25) / 2
        QVERIFY(std::abs(audio.samples[1]) < 1e-4f);

        audio = WavAudio::decode(
            riff(chunk("fmt ", format(1, 1, 16000, 16)) + chunk("data", pcm({0, 16384, -16384}))));
        QCOMPARE(audio.sampleRate, 16000);
        QCOMPARE(audio.samples, (std::vector<float>{0.0f, 0.5f, -0.5f}));

        // Four channels in the extensible layout are averaged too.
        audio = WavAudio::decode(riff(chunk("fmt ", extensible(1, 4, 48000, 16)) +
                                      chunk("data", pcm({8192, 8192, 8192, -32768}))));
        QCOMPARE(audio.samples, std::vector<float>{-0.0625f}); // (3 * 0.25 - 1) / 4
    }

    void refusesWithClearText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("message");
        auto row = [](const char *name, const std::string &bytes, const char *message) {
            QTest::newRow(name) << QByteArray::fromStdString(bytes)
                                << QString::fromUtf8("Unsupported audio: ") + message;
        };
        const std::string data = chunk("data", pcm({1, 2}));
        row("8-bit", riff(chunk("fmt ", format(1, 1, 8000, 8)) + data),
            "8-bit samples; send 16-bit PCM.");
        row("float", riff(chunk("fmt ", format(3, 1, 48000, 32)) + data),
            "32-bit float samples; send 16-bit PCM.");
        row("extensible float", riff(chunk("fmt ", extensible(3, 2, 48000, 32)) + data),
            "32-bit float samples; send 16-bit PCM.");
        row("not RIFF", "OggS\0\x02\0\0\0\0\0\0\0\0\0\0"s, "not a WAV file.");
        row("cut in the format chunk", riff(chunk("fmt ", format(1, 1, 16000, 16))).substr(0, 30),
            "the WAV header is cut short.");
        row("no data chunk", riff(chunk("fmt ", format(1, 1, 16000, 16))),
            "the WAV file has no data chunk.");
    }

    void refusesWithClearText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, message);
        try {
            WavAudio::decode(bytes.toStdString());
            QFAIL("decoded");
        } catch (const HttpError &error) {
            QCOMPARE(error.status(), 400);
            QCOMPARE(QString::fromUtf8(error.what()), message);
        }
    }

    void cutShortDataDecodesWhatArrived()
    {
        std::string bytes = riff(chunk("fmt ", format(1, 2, 16000, 16)) +
                                 chunk("data", pcm({100, 100, 200, 200, 300, 300})));
        bytes.resize(bytes.size() - 3); // the last frame is incomplete
        QCOMPARE(WavAudio::decode(bytes).samples.size(), std::size_t(2));

        // A streaming writer's placeholder size means "up to the end".
        std::string streamed = riff(chunk("fmt ", format(1, 1, 16000, 16))) + "data" +
                               le(0xFFFFFFFF, 4) + pcm({1, 2, 3});
        QCOMPARE(WavAudio::decode(streamed).samples.size(), std::size_t(3));
    }

    void fileIsDecodedBlockByBlockLikeMemory()
    {
        // 48 kHz stereo over several read blocks, as a meeting upload arrives.
        const MonoAudio tone = sine(300, 48000, 3.0);
        std::vector<std::int16_t> frames;
        for (const float s : tone.samples) {
            frames.push_back(std::int16_t(s * 32767));
            frames.push_back(std::int16_t(-s * 16384));
        }
        const std::string bytes = riff(chunk("fmt ", format(1, 2, 48000, 16)) +
                                       chunk("LIST", "xyz") + chunk("data", pcm(frames)));
        QTemporaryDir dir;
        const QString path = dir.filePath("meeting.wav");
        SpeechSamples::writeFile(path, bytes);

        const MonoAudio fromFile = WavAudio::decodeFile(path.toStdString(), 16000);
        const MonoAudio fromMemory = WavAudio::resample(WavAudio::decode(bytes), 16000);
        QCOMPARE(fromFile.sampleRate, 16000);
        QCOMPARE(fromFile.samples.size(), fromMemory.samples.size());
        float worst = 0;
        for (std::size_t i = 0; i < fromFile.samples.size(); ++i)
            worst = std::max(worst, std::abs(fromFile.samples[i] - fromMemory.samples[i]));
        QVERIFY2(worst < 1e-4f, qPrintable(QString::number(worst)));
        QVERIFY(std::abs(frequency(fromFile) - 300) < 2);

        QCOMPARE(WavAudio::decodeFile(path.toStdString(), 48000).samples.size(),
                 tone.samples.size());
        try {
            WavAudio::decodeFile(dir.filePath("missing.wav").toStdString(), 16000);
            QFAIL("opened a missing file");
        } catch (const HttpError &error) {
            QCOMPARE(error.status(), 404);
        }
    }
};

QTEST_GUILESS_MAIN(TestWavAudio)
#include "TestWavAudio.moc"
