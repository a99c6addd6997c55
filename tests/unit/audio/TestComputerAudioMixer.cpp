// The computer's side of a meeting, added to the microphone's blocks: the microphone keeps
// time, the queue stays bounded, the sum never wraps.
#include "audio/ComputerAudioMixer.h"

#include <QTest>

namespace {

constexpr int rate = 1000; // a reserve of 100 samples, a ring of 500
constexpr qsizetype block = 50;

// Sample n of the computer's stream: small and distinct, so a sum with a silent
// microphone is the sample itself.
float computerSample(qsizetype n)
{
    return float(n) * 1e-4f;
}

QList<float> computer(qsizetype from, qsizetype count)
{
    QList<float> samples;
    for (qsizetype n = from; n < from + count; ++n)
        samples << computerSample(n);
    return samples;
}

void add(ComputerAudioMixer &mixer, const QList<float> &samples)
{
    mixer.addComputerAudio(samples.constData(), samples.size());
}

QList<float> mix(ComputerAudioMixer &mixer, QList<float> microphone = QList<float>(block, 0.0f))
{
    mixer.mixInto(microphone.data(), microphone.size());
    return microphone;
}

} // namespace

class TestComputerAudioMixer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Silence until a block and the reserve are queued; then every sample once, in order,
    // whatever the size of the fragments it came in.
    void samplesArriveOnceInOrderAfterTheReserve()
    {
        ComputerAudioMixer mixer(rate, block);
        QCOMPARE(mixer.reserve(), 100);
        add(mixer, computer(0, 149));
        QCOMPARE(mix(mixer), QList<float>(block, 0.0f));
        QCOMPARE(mixer.queued(), 149);

        add(mixer, computer(149, 1));
        QCOMPARE(mix(mixer), computer(0, 50));
        QCOMPARE(mixer.queued(), 100); // the reserve stays behind to absorb jitter
        add(mixer, computer(150, 13));
        add(mixer, computer(163, 37));
        QCOMPARE(mix(mixer), computer(50, 50));
        QCOMPARE(mix(mixer), computer(100, 50));
        QVERIFY(!mixer.isGathering());
    }

    void sumIsAddedAndClippedAtFullScale()
    {
        ComputerAudioMixer mixer(rate, block);
        QList<float> loud(150, 0.25f);
        loud[0] = 0.9f;
        loud[1] = -0.9f;
        add(mixer, loud);
        QList<float> microphone(block, 0.5f);
        microphone[1] = -0.5f;
        const QList<float> out = mix(mixer, microphone);
        QCOMPARE(out[0], 1.0f);
        QCOMPARE(out[1], -1.0f);
        QCOMPARE(out[2], 0.75f);
    }

    // Ran dry: the rest of the block is silence, and mixing waits for a new reserve
    // instead of handing on each fragment as it comes.
    void underrunPadsWithSilenceAndGathersAgain()
    {
        ComputerAudioMixer mixer(rate, block);
        add(mixer, QList<float>(170, 0.25f));
        mix(mixer);
        mix(mixer);
        mix(mixer);
        QCOMPARE(mixer.queued(), 20);

        const QList<float> out = mix(mixer);
        QCOMPARE(out.mid(0, 20), QList<float>(20, 0.25f));
        QCOMPARE(out.mid(20), QList<float>(30, 0.0f));
        QVERIFY(mixer.isGathering());

        add(mixer, QList<float>(60, 0.25f));
        QCOMPARE(mix(mixer), QList<float>(block, 0.0f));
        QCOMPARE(mixer.queued(), 60);
    }

    // The computer's clock runs ahead, or the microphone stalls: the queue never grows
    // past its ring, and what it keeps is the newest.
    void queueIsBoundedAndKeepsTheNewest()
    {
        ComputerAudioMixer mixer(rate, block);
        QCOMPARE(mixer.capacity(), 500);
        for (qsizetype n = 0; n < 740; n += 37)
            add(mixer, computer(n, 37));
        QCOMPARE(mixer.queued(), 500);
        for (qsizetype n = 240; n < 490; n += block)
            QCOMPARE(mix(mixer), computer(n, block));
        QCOMPARE(mix(mixer), computer(490, block)); // across the ring's end
        QCOMPARE(mixer.queued(), 200);

        add(mixer, computer(1000, 1200)); // more than the ring in one go
        QCOMPARE(mixer.queued(), 500);
        QCOMPARE(mix(mixer), computer(1700, 50));

        // Long microphone blocks at a low rate still fit twice beside the reserve.
        const ComputerAudioMixer slow(8000, 4096);
        QCOMPARE(slow.capacity(), 2 * 4096 + 800);
    }
};

QTEST_GUILESS_MAIN(TestComputerAudioMixer)
#include "TestComputerAudioMixer.moc"
