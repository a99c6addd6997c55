// The meeting file: streamed 16-bit mono at the device's rate, nothing after close.
#include "audio/MicFileWriter.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sndfile.h>

class TestMicFileWriter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void stereoBlocksBecomeAMonoFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("meeting.wav");
        MicFileWriter writer(path);
        QList<float> stereo;
        for (int frame = 0; frame < 4096; ++frame)
            stereo << 0.25f << 0.75f; // averages to 0.5
        QCOMPARE(writer.write(stereo.constData(), 0, 2, 44100), 0.0f);
        QVERIFY(!QFile::exists(path)); // opened with the first real block
        QCOMPARE(writer.write(stereo.constData(), 4096, 2, 44100), 0.5f);
        QCOMPARE(writer.write(stereo.constData(), 4096, 2, 44100), 0.5f);

        // Readable while still open: the header follows every block.
        SF_INFO info{};
        SNDFILE *file = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
        QVERIFY(file);
        QCOMPARE(info.frames, 8192);
        sf_close(file);

        writer.close();
        QCOMPARE(writer.write(stereo.constData(), 4096, 2, 44100), 0.0f); // after close
        info = {};
        file = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
        QVERIFY(file);
        QCOMPARE(info.channels, 1);
        QCOMPARE(info.samplerate, 44100);
        QCOMPARE(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
        QCOMPARE(info.frames, 8192);
        short samples[4];
        QCOMPARE(sf_readf_short(file, samples, 4), 4);
        QCOMPARE(samples[0], short(16384)); // libsndfile scales by 32768 and rounds
        sf_close(file);
        QCOMPARE(writer.framesWritten(), 8192);
    }
};

QTEST_GUILESS_MAIN(TestMicFileWriter)
#include "TestMicFileWriter.moc"
