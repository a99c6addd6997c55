// Dictation streams kept between requests: chunk order, ownership, limits and idle expiry,
// with a stand-in recogniser and a clock the test moves.
#include "DictationStreams.h"
#include "HttpError.h"
#include "Secrets.h"
#include "StatusOf.h"

#include <QTest>

#include <cmath>
#include <cstdint>
#include <memory>

using namespace std::chrono_literals;

namespace {

// What the recogniser was given; lives on after the stream, to be looked at.
struct Heard
{
    std::vector<float> samples;
    bool finished = false;
    bool destroyed = false;
};

class FakeStream : public TranscriptionStream
{
public:
    explicit FakeStream(std::shared_ptr<Heard> heard) : m_heard(std::move(heard)) {}
    ~FakeStream() override { m_heard->destroyed = true; }
    void feed(const float *samples, std::size_t count) override
    {
        if (count > 0 && samples[0] > 0.99f)
            throw HttpError(500, "The offline recogniser (pocketsphinx) failed on this audio.");
        m_heard->samples.insert(m_heard->samples.end(), samples, samples + count);
    }
    std::string finish() override
    {
        m_heard->finished = true;
        return std::to_string(m_heard->samples.size()) + " samples";
    }

private:
    std::shared_ptr<Heard> m_heard;
};

std::string pcm(std::initializer_list<std::int16_t> samples)
{
    std::string bytes;
    for (const std::int16_t sample : samples) {
        bytes.push_back(char(std::uint16_t(sample) & 0xff));
        bytes.push_back(char(std::uint16_t(sample) >> 8));
    }
    return bytes;
}

} // namespace

class TestDictationStreams : public QObject
{
    Q_OBJECT

    std::chrono::steady_clock::time_point m_now{};
    std::unique_ptr<DictationStreams> m_streams;
    std::vector<std::shared_ptr<Heard>> m_heard;

    std::string open(const std::string &user, int rate = 16000, bool cleanup = false)
    {
        return m_streams->create(user, rate, {cleanup, {{"Ovrin", {"over in"}}}}, [this] {
            m_heard.push_back(std::make_shared<Heard>());
            return std::make_unique<FakeStream>(m_heard.back());
        });
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(Secrets::initialise()); }

    void init()
    {
        m_heard.clear();
        m_streams = std::make_unique<DictationStreams>(DictationStreams::Limits{2, 3, 30s},
                                                       [this] { return m_now; });
    }

    void chunksArriveInOrder()
    {
        const std::string id = open("ada", 16000, true);
        QCOMPARE(m_streams->append("ada", id, 0, pcm({16384, -32768})), std::size_t(2));
        QCOMPARE(m_heard[0]->samples, (std::vector<float>{0.5f, -1.0f}));
        // A retry of a chunk already taken changes nothing.
        QCOMPARE(m_streams->append("ada", id, 0, pcm({1, 2})), std::size_t(2));
        QCOMPARE(m_streams->append("ada", id, 1, pcm({0, 0, 0})), std::size_t(5));
        QCOMPARE(statusOf([&] { m_streams->append("ada", id, 3, pcm({0})); }), 409);
        QCOMPARE(statusOf([&] { m_streams->append("ada", id, 2, "odd"); }), 400);
        QCOMPARE(m_streams->append("ada", id, 2, pcm({})), std::size_t(5));

        const DictationStreams::Finished finished = m_streams->finish("ada", id);
        QCOMPARE(finished.text, std::string("5 samples"));
        QVERIFY(finished.dictation.cleanup);
        QCOMPARE(finished.dictation.terms.at(0).term, std::string("Ovrin"));
        QVERIFY(m_heard[0]->destroyed); // its decoder is free again
        QCOMPARE(statusOf([&] { m_streams->finish("ada", id); }), 404);
        QCOMPARE(statusOf([&] { m_streams->append("ada", id, 3, pcm({0})); }), 404);
    }

    void streamsBelongToTheirUser()
    {
        const std::string id = open("ada");
        QCOMPARE(statusOf([&] { m_streams->append("bob", id, 0, pcm({0})); }), 404);
        QCOMPARE(statusOf([&] { m_streams->finish("bob", id); }), 404);
        QCOMPARE(statusOf([&] { m_streams->drop("bob", id); }), 404);
        QCOMPARE(statusOf([&] { m_streams->append("ada", "nonsense", 0, pcm({0})); }), 404);
        m_streams->drop("ada", id);
        QVERIFY(m_heard[0]->destroyed && !m_heard[0]->finished);
        QCOMPARE(statusOf([&] { m_streams->finish("ada", id); }), 404);
    }

    void otherRatesAreConverted()
    {
        const std::string id = open("ada", 48000);
        std::string second;
        for (int i = 0; i < 48000; ++i)
            second += pcm({std::int16_t(8000 * std::sin(i * 0.05))});
        QCOMPARE(m_streams->append("ada", id, 0, second), std::size_t(48000));
        QCOMPARE(m_streams->finish("ada", id).text, std::string("16000 samples"));
        QCOMPARE(statusOf([&] { open("ada", 7999); }), 400);
        QCOMPARE(statusOf([&] { open("ada", 192001); }), 400);
    }

    void limitsRefuseMoreStreams()
    {
        const std::string first = open("ada");
        open("ada");
        QCOMPARE(statusOf([&] { open("ada"); }), 429); // two per user
        open("bob");
        QCOMPARE(statusOf([&] { open("cy"); }), 429); // three in all
        m_streams->drop("ada", first);
        open("cy");
    }

    void engineWithoutStreamingIsRefused()
    {
        const int status = statusOf([&] {
            m_streams->create("ada", 16000, {}, [] { return std::unique_ptr<FakeStream>(); });
        });
        QCOMPARE(status, 409);
        open("ada"); // the refused one holds no slot
        open("ada");
    }

    void idleStreamsExpire()
    {
        const std::string quiet = open("ada");
        const std::string busy = open("bob");
        m_now += 20s;
        m_streams->append("bob", busy, 0, pcm({0}));
        m_now += 15s;
        m_streams->expireIdle();
        QVERIFY(m_heard[0]->destroyed);
        QCOMPARE(statusOf([&] { m_streams->append("ada", quiet, 0, pcm({0})); }), 404);
        QCOMPARE(m_streams->append("bob", busy, 1, pcm({0})), std::size_t(2));
        // Expiry also frees the slots for new streams.
        open("ada");
        open("ada");
    }

    void failedRecogniserEndsTheStream()
    {
        const std::string id = open("ada");
        QCOMPARE(statusOf([&] { m_streams->append("ada", id, 0, pcm({32767})); }), 500);
        QVERIFY(m_heard[0]->destroyed);
        QCOMPARE(statusOf([&] { m_streams->finish("ada", id); }), 404);
    }
};

QTEST_GUILESS_MAIN(TestDictationStreams)
#include "TestDictationStreams.moc"
