// Capture and playback on the test session's PulseAudio, where "testmic" hears what is
// played into the "speaker" sink.
#include "audio/AudioDevices.h"
#include "audio/AudioRecorder.h"
#include "audio/MeetingAudioPlayer.h"
#include "audio/MeetingRecorder.h"
#include "audio/Sounds.h"
#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/ManualScheduler.h"
#include "core/WavFileInfo.h"
#include "stores/MeetingStore.h"
#include "support/FakeBackendServer.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

namespace {

// A meeting recorder wired to a fake backend, with its own folders and a manual clock.
struct MeetingRig
{
    FakeBackendServer server;
    std::unique_ptr<Backend> backend;
    QTemporaryDir temp, data;
    std::unique_ptr<MeetingStore> store;
    ManualClock clock;
    ManualScheduler scheduler{clock};
    std::unique_ptr<MeetingRecorder> recorder;

    MeetingRig()
    {
        if (!server.listen())
            qFatal("no port for the fake backend");
        backend = std::make_unique<Backend>(server.baseURL());
        store = std::make_unique<MeetingStore>(*backend, data.filePath("Recordings"));
        recorder = std::make_unique<MeetingRecorder>(*store, clock, scheduler, temp.path());
    }
    QStringList temporaryFiles() const { return QDir(temp.path()).entryList(QDir::Files); }
};

} // namespace

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

    void meetingIsRecordedUploadedAndFiled()
    {
        MeetingRig rig;
        FakeBackendServer &server = rig.server;
        server.on("POST", "/uploads/presign")
            .json(
                QJsonObject{{"uploadUrl", server.baseURL().toString() + "/put/k1"}, {"key", "k1"}});
        server.on("PUT", "/put/k1").status(200);
        server.on("POST", "/meetings")
            .json(QJsonObject{{"meeting", QJsonObject{{"id", "m7"},
                                                      {"title", "Sync"},
                                                      {"transcript", ""},
                                                      {"notes", ""},
                                                      {"durationSec", 61},
                                                      {"date", "2026-11-22T10:00:00Z"}}}});
        MeetingRecorder &recorder = *rig.recorder;

        recorder.stopAndProcess(); // nothing recorded: nothing sent
        QCOMPARE(recorder.phase(), MeetingRecorder::Phase::idle);
        recorder.start();
        QProcess player;
        player.start("paplay", {"-d", "speaker", m_speech});
        QTest::qWait(1500);          // real audio takes real time
        rig.scheduler.advance(61.9); // the meeting's clock
        QCOMPARE(recorder.duration(), 61.75);
        QVERIFY(recorder.level() >= 0.0f);
        recorder.stopAndProcess();
        QVERIFY(!recorder.isRecording());
        QTRY_COMPARE(recorder.phase(), MeetingRecorder::Phase::idle);
        QCOMPARE(server.lastRequest().json().value("durationSec").toInt(), 61);
        player.waitForFinished(5000);

        QCOMPARE(rig.store->meetings().value(0).id, QStringLiteral("m7"));
        QFile filed(rig.data.filePath("Recordings/m7.wav"));
        QVERIFY(filed.open(QIODevice::ReadOnly));
        const auto wav = WavFileInfo::read(filed);
        QVERIFY(wav);
        QCOMPARE(wav->channels, 1);
        QCOMPARE(wav->bitsPerSample, 16);
        QCOMPARE(wav->sampleRate, 48000);
        QVERIFY2(wav->durationSeconds() > 1.0 && wav->durationSeconds() < 2.5,
                 qPrintable(QString::number(wav->durationSeconds())));
        QCOMPARE(rig.temporaryFiles(), QStringList());
    }

    void failedUploadKeepsTheRecording()
    {
        MeetingRig rig;
        rig.server.on("POST", "/uploads/presign").status(503).json(QJsonObject{{"error", "Busy"}});
        MeetingRecorder &recorder = *rig.recorder;
        MeetingStore &store = *rig.store;

        recorder.start();
        QTest::qWait(500);
        recorder.stopAndProcess();
        QTRY_COMPARE(recorder.phase(), MeetingRecorder::Phase::error);
        QCOMPARE(recorder.phaseMessage(), QStringLiteral("Backend error 503: Busy"));
        QCOMPARE(rig.temporaryFiles(), QStringList());
        QCOMPARE(store.unsentRecordings().size(), 1);
        QVERIFY(
            store.unsentRecordings().first().startsWith(rig.data.filePath("Recordings/unsent/")));

        store.deleteUnsent(store.unsentRecordings().first());
        QVERIFY(store.unsentRecordings().isEmpty());
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
