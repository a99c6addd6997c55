// Capture and playback on the test session's PulseAudio, where "testmic" hears what is
// played into the "speaker" sink.
#include "audio/AudioDevices.h"
#include "audio/AudioRecorder.h"
#include "audio/MeetingAudioPlayer.h"
#include "audio/Sounds.h"
#include "core/DescribedError.h"
#include "support/TestEnvironment.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

class TestAudio : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_speech;

    // Records about `ms` of audio while `play` runs; returns the WAV and the levels seen.
    std::optional<QByteArray> record(AudioRecorder &recorder, int ms, QList<float> &levels,
                                     bool play)
    {
        recorder.onLevel = [&levels](float level) { levels << level; };
        try {
            recorder.start();
        } catch (const DescribedError &e) {
            qWarning("%s", qPrintable(e.description()));
            return std::nullopt;
        }
        QProcess player;
        if (play)
            player.start("paplay", {"-d", "speaker", m_speech});
        QTest::qWait(ms); // real audio takes real time
        player.waitForFinished(5000);
        return recorder.stop();
    }

private Q_SLOTS:
    void initTestCase()
    {
        bool hasTestMic = false;
        for (const MicDevice &device : AudioDevices::inputDevices())
            hasTestMic = hasTestMic || device.uid == "testmic";
        OVRIN_REQUIRE_SERVICE(hasTestMic && !QStandardPaths::findExecutable("flite").isEmpty() &&
                                  !QStandardPaths::findExecutable("paplay").isEmpty(),
                              "PulseAudio with the testmic source, flite and paplay");
        m_speech = m_dir.filePath("speech.wav");
        QCOMPARE(QProcess::execute("flite", {"-voice", "slt", "-t",
                                             "Please schedule the meeting for Tuesday morning.",
                                             "-o", m_speech}),
                 0);
    }

    void recordsSpeechAtTheNativeRate()
    {
        AudioRecorder recorder([] { return QStringLiteral("testmic"); });
        QList<float> levels;
        const auto wav = record(recorder, 2000, levels, true);
        QVERIFY(wav);
        QCOMPARE(qFromLittleEndian<quint32>(wav->constData() + 24), 48000u);
        const qsizetype samples = (wav->size() - 44) / 2;
        QVERIFY2(samples > 48000, qPrintable(QString::number(samples))); // over a second

        int loud = 0;
        for (qsizetype i = 0; i < samples; ++i)
            loud += std::abs(qFromLittleEndian<qint16>(wav->constData() + 44 + 2 * i)) > 1000;
        QVERIFY2(loud > 1000, qPrintable(QString::number(loud)));
        QVERIFY(!levels.isEmpty());
        QVERIFY(*std::max_element(levels.begin(), levels.end()) > 0.01f);
        QCOMPARE(levels.last(), 0.0f); // the meter rests after stop
        QVERIFY(!recorder.isRecording());
        QVERIFY(!recorder.stop());
    }

    void vanishedDeviceFallsBackToTheDefault()
    {
        AudioRecorder recorder([] { return QStringLiteral("alsa_input.usb-unplugged-00"); });
        QList<float> levels;
        const auto wav = record(recorder, 300, levels, false);
        QVERIFY(wav);
        QCOMPARE(qFromLittleEndian<quint32>(wav->constData() + 24), 48000u);
    }

    void playbackEndsByItself()
    {
        MeetingAudioPlayer player;
        player.toggle(m_dir.filePath("missing.wav"));
        QVERIFY(!player.isPlaying());

        player.toggle(m_speech);
        QVERIFY(player.isPlaying());
        player.toggle(m_speech); // a second toggle stops
        QVERIFY(!player.isPlaying());
        player.toggle(m_speech);
        QVERIFY(player.isPlaying());
        QTRY_VERIFY_WITH_TIMEOUT(!player.isPlaying(), 10000); // the end of the file

        // Cues restart rather than queue; none of this may fail without a listener.
        Sounds sounds;
        sounds.play(Sounds::Sound::start);
        sounds.play(Sounds::Sound::start);
        sounds.play(Sounds::Sound::fail);
    }
};

QTEST_GUILESS_MAIN(TestAudio)
#include "TestAudio.moc"
