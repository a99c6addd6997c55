// WAV bytes, mono mixdown and levels of captured blocks.
#include "audio/MonoMixdown.h"
#include "audio/WavEncoder.h"

#include <QTest>
#include <QtEndian>

class TestWavEncoding : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void samplesToPCM()
    {
        const float samples[] = {1.0f, 1.5f, -1.0f, -2.0f, 0.5f, -0.5f, 0.0f, NAN};
        const QByteArray wav = WavEncoder::encodeWAV(samples, 8, 16000);
        QList<qint16> pcm;
        for (int i = 0; i < 8; ++i)
            pcm << qFromLittleEndian<qint16>(wav.constData() + 44 + 2 * i);
        QCOMPARE(pcm, (QList<qint16>{32767, 32767, -32767, -32767, 16383, -16383, 0, 0}));
    }

    void header()
    {
        const QList<float> samples(10, 0.25f);
        const QByteArray wav = WavEncoder::encodeWAV(samples.constData(), samples.size(), 48000);
        QCOMPARE(wav.size(), 64);
        const char *h = wav.constData();
        QCOMPARE(QByteArray(h, 4), QByteArray("RIFF"));
        QCOMPARE(qFromLittleEndian<quint32>(h + 4), 56u);
        QCOMPARE(QByteArray(h + 8, 8), QByteArray("WAVEfmt "));
        QCOMPARE(qFromLittleEndian<quint32>(h + 16), 16u);
        QCOMPARE(qFromLittleEndian<quint16>(h + 20), 1); // PCM
        QCOMPARE(qFromLittleEndian<quint16>(h + 22), 1); // mono
        QCOMPARE(qFromLittleEndian<quint32>(h + 24), 48000u);
        QCOMPARE(qFromLittleEndian<quint32>(h + 28), 96000u);
        QCOMPARE(qFromLittleEndian<quint16>(h + 32), 2);
        QCOMPARE(qFromLittleEndian<quint16>(h + 34), 16);
        QCOMPARE(QByteArray(h + 36, 4), QByteArray("data"));
        QCOMPARE(qFromLittleEndian<quint32>(h + 40), 20u);
        QCOMPARE(WavEncoder::header(10, 48000), wav.left(44));
    }

    void mixdownAndLevel()
    {
        const float stereo[] = {0.5f, 0.5f, 1.0f, 0.0f, -0.25f, 0.75f};
        QCOMPARE(MonoMixdown::mixdown(stereo, 3, 2), (QList<float>{0.5f, 0.5f, 0.25f}));
        const float mono[] = {0.1f, -0.3f};
        QCOMPARE(MonoMixdown::mixdown(mono, 2, 1), (QList<float>{0.1f, -0.3f}));

        const QList<float> constant(4096, 0.5f);
        QCOMPARE(MonoMixdown::level(constant.constData(), constant.size()), 0.5f);
        const QList<float> silence(4096, 0.0f);
        QCOMPARE(MonoMixdown::level(silence.constData(), silence.size()), 0.0f);
        QCOMPARE(MonoMixdown::level(nullptr, 0), 0.0f);
    }
};

QTEST_GUILESS_MAIN(TestWavEncoding)
#include "TestWavEncoding.moc"
