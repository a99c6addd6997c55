// Capture and playback on the test session's PulseAudio, where "testmic" hears what is
// played into the "micfeed" sink and "speaker" is the computer's output.
#include "audio/AudioDevices.h"
#include "audio/AudioRecorder.h"
#include "audio/MeetingAudioPlayer.h"
#include "audio/MeetingRecorder.h"
#include "audio/Sounds.h"
#include "audio/WavEncoder.h"
#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/ManualScheduler.h"
#include "core/WavFileInfo.h"
#include "platform/linux/PulseSystemAudioSource.h"
#include "stores/MeetingStore.h"
#include "support/FakeBackendServer.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <chrono>
#include <cmath>
#include <numbers>
#include <thread>

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
    PulseSystemAudioSource computer;
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
    // The recorder with what the test session's speaker plays.
    MeetingRecorder &withComputerAudio()
    {
        recorder->setSystemAudioSource(&computer);
        return *recorder;
    }
};

// A computer-audio source that does what the test says.
struct ScriptedComputerAudio : SystemAudioSource
{
    bool available = true;
    int starts = 0;

    bool start(int) override
    {
        ++starts;
        return available;
    }
    void stop() override {}
};

constexpr double toneHz = 1000.0;
constexpr float toneAmplitude = 0.3f;

// What a recording holds, judged in windows of 0.1 s: at 48 kHz a 1 kHz tone fills each
// with whole cycles, so its amplitude is measured exactly and what is left is the rest.
struct Content
{
    int windows = 0;
    int toneWindows = 0;  // the tone at about its own amplitude
    int otherWindows = 0; // something besides the tone, louder than the noise floor
    double loudestTone = 0.0;

    QByteArray describe() const
    {
        return QStringLiteral("%1 windows, the tone in %2, other sound in %3, loudest tone %4")
            .arg(windows)
            .arg(toneWindows)
            .arg(otherWindows)
            .arg(loudestTone, 0, 'f', 3)
            .toUtf8();
    }
};

Content analyse(const QString &path)
{
    Content content;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return content;
    const auto wav = WavFileInfo::read(file);
    if (!wav || wav->sampleRate != 48000 || wav->channels != 1)
        return content;
    const QByteArray data = file.read(wav->dataBytes);
    const qsizetype window = 4800;
    const double omega = 2.0 * std::numbers::pi * toneHz / wav->sampleRate;
    for (qsizetype start = 0; start + window <= data.size() / 2; start += window) {
        double re = 0.0, im = 0.0, power = 0.0;
        for (qsizetype i = 0; i < window; ++i) {
            const double x =
                qFromLittleEndian<qint16>(data.constData() + 2 * (start + i)) / 32768.0;
            re += x * std::cos(omega * double(i));
            im -= x * std::sin(omega * double(i));
            power += x * x;
        }
        const double amplitude = 2.0 * std::hypot(re, im) / window;
        const double rest = power / window - amplitude * amplitude / 2.0;
        ++content.windows;
        content.toneWindows += amplitude > 0.8 * toneAmplitude;
        content.otherWindows += rest > 0.02 * 0.02;
        content.loudestTone = std::max(content.loudestTone, amplitude);
    }
    return content;
}

QByteArray pactl(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("pactl"), arguments);
    process.waitForFinished(5000);
    return process.readAllStandardOutput().trimmed();
}

// The server's number for the computer-audio stream of this process.
QByteArray computerAudioStream()
{
    QByteArray number;
    for (const QByteArray &line : pactl({"list", "source-outputs"}).split('\n')) {
        const QByteArray field = line.trimmed();
        if (field.startsWith("Source Output #"))
            number = field.mid(15);
        else if (field == R"(media.name = "Computer audio")")
            return number;
    }
    return {};
}

} // namespace

class TestAudio : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_speech;
    QString m_tone;

    // Records a meeting of about `ms` while the tone plays on the speaker and speech goes
    // into the microphone; returns the file.
    std::optional<QString> recordMeeting(MeetingRecorder &recorder, int ms)
    {
        recorder.start();
        QProcess tone, speech;
        tone.start("paplay", {"-d", "speaker", m_tone});
        speech.start("paplay", {"-d", "micfeed", m_speech});
        QTest::qWait(ms); // real audio takes real time
        tone.waitForFinished(5000);
        speech.waitForFinished(5000);
        return recorder.stop();
    }

    // Records about `ms` of audio while `play` runs; returns the WAV and the levels seen.
    std::optional<QByteArray> record(AudioRecorder &recorder, int ms, QList<float> &levels,
                                     bool play)
    {
        QObject::connect(&recorder, &AudioRecorder::levelChanged,
                         [&levels](float level) { levels << level; });
        try {
            recorder.start();
        } catch (const DescribedError &e) {
            qWarning("%s", qPrintable(e.description()));
            return std::nullopt;
        }
        QProcess player;
        if (play)
            player.start("paplay", {"-d", "micfeed", m_speech});
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
                                  !QStandardPaths::findExecutable("paplay").isEmpty() &&
                                  !QStandardPaths::findExecutable("pacmd").isEmpty(),
                              "PulseAudio with the testmic source, flite, paplay and pacmd");
        m_speech = m_dir.filePath("speech.wav");
        QCOMPARE(QProcess::execute("flite", {"-voice", "slt", "-t",
                                             "Please schedule the meeting for Tuesday morning.",
                                             "-o", m_speech}),
                 0);
        m_tone = m_dir.filePath("tone.wav");
        QList<float> tone(48000 * 3);
        for (qsizetype i = 0; i < tone.size(); ++i)
            tone[i] = toneAmplitude * float(std::sin(2.0 * std::numbers::pi * toneHz * i / 48000));
        QFile toneFile(m_tone);
        QVERIFY(toneFile.open(QIODevice::WriteOnly));
        toneFile.write(WavEncoder::encodeWAV(tone.constData(), tone.size(), 48000));
    }

    // The other side of a call (here a tone the computer plays) and the microphone's speech
    // end up in one file; with the setting off, only the microphone.
    void meetingHearsTheMicrophoneAndTheComputer()
    {
        MeetingRig rig;
        MeetingRecorder &recorder = rig.withComputerAudio();
        QSignalSpy log(&recorder, &MeetingRecorder::logLine);

        auto path = recordMeeting(recorder, 3000);
        QVERIFY(path);
        QVERIFY(!rig.computer.isRunning());
        const Content both = analyse(*path);
        QVERIFY2(both.windows >= 25 && both.toneWindows >= 15 && both.otherWindows >= 10,
                 both.describe());
        QCOMPARE(log.count(), 0);

        recorder.setIncludeComputerAudio(false);
        path = recordMeeting(recorder, 3000);
        QVERIFY(path);
        const Content microphone = analyse(*path);
        QVERIFY2(microphone.windows >= 25 && microphone.loudestTone < 0.1 &&
                     microphone.otherWindows >= 10,
                 microphone.describe());
        QCOMPARE(log.count(), 0); // turned off is not a failure
    }

    // Without the computer's audio the microphone is recorded alone, and the log says so
    // once per meeting, whether it was missing from the start or went away.
    void missingComputerAudioLeavesTheMicrophone()
    {
        MeetingRig rig;
        MeetingRecorder &recorder = *rig.recorder;
        QSignalSpy log(&recorder, &MeetingRecorder::logLine);
        const auto lastLine = [&log] { return log.last().first().toString(); };

        recorder.start(); // no source at all
        QTest::qWait(300);
        QVERIFY(recorder.stop());
        QCOMPARE(log.count(), 1);
        QCOMPARE(lastLine(),
                 QStringLiteral("Computer audio isn't available; recording the microphone only."));

        ScriptedComputerAudio scripted;
        scripted.available = false;
        recorder.setSystemAudioSource(&scripted);
        recorder.start();
        QTest::qWait(300);
        QVERIFY(recorder.stop());
        QCOMPARE(log.count(), 2);

        scripted.available = true;
        recorder.start();
        Q_EMIT scripted.captured(QList<float>(480, 0.1f));
        Q_EMIT scripted.failed();
        Q_EMIT scripted.failed();
        QTest::qWait(300);
        QVERIFY(recorder.isRecording());
        QVERIFY(recorder.stop());
        QCOMPARE(log.count(), 3);
        QCOMPARE(lastLine(),
                 QStringLiteral("Computer audio stopped; recording the microphone only."));

        // The sound server itself out of reach.
        PulseSystemAudioSource unreachable;
        recorder.setSystemAudioSource(&unreachable);
        {
            const QByteArray server = qgetenv("PULSE_SERVER");
            const auto restore = qScopeGuard([&server] {
                server.isNull() ? qunsetenv("PULSE_SERVER") : qputenv("PULSE_SERVER", server);
            });
            qputenv("PULSE_SERVER", "unix:/nonexistent/ovrin-test/native");
            recorder.start();
            QTRY_COMPARE(log.count(), 4);
        }
        QTest::qWait(300);
        const auto path = recorder.stop();
        QVERIFY(path);
        QCOMPARE(log.count(), 4);
        QCOMPARE(scripted.starts, 2);
    }

    // The server ends the computer's stream mid-meeting, as it does when the output is
    // unplugged: the microphone goes on.
    void lostComputerAudioKeepsTheMicrophone()
    {
        MeetingRig rig;
        MeetingRecorder &recorder = rig.withComputerAudio();
        QSignalSpy log(&recorder, &MeetingRecorder::logLine);

        recorder.start();
        QProcess call, speech;
        call.start("paplay", {"-d", "speaker", m_tone});
        speech.start("paplay", {"-d", "micfeed", m_speech});
        QTest::qWait(800);
        const QByteArray stream = computerAudioStream();
        QVERIFY(!stream.isEmpty());
        // Only the server's command line can end another client's stream.
        const QByteArray cli = pactl({"load-module", "module-cli-protocol-unix"});
        QCOMPARE(QProcess::execute("pacmd", {"kill-source-output", stream}), 0);
        pactl({"unload-module", cli});
        QTRY_COMPARE(log.count(), 1);
        QVERIFY(recorder.isRecording());
        speech.waitForFinished(5000);
        call.waitForFinished(5000);
        const auto path = recorder.stop();
        QVERIFY(path);
        QCOMPARE(log.last().first().toString(),
                 QStringLiteral("Computer audio stopped; recording the microphone only."));
        // The tone played throughout; it is in the file only until its stream ended.
        const Content content = analyse(*path);
        QVERIFY2(content.windows >= 25 && content.toneWindows >= 3 &&
                     content.toneWindows <= content.windows - 10 && content.otherWindows >= 10,
                 content.describe());
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

    // The take is read in 10 ms blocks from the main thread; a main thread that is busy for a
    // while (a page loading, a slow frame) must still get every sample afterwards.
    void busyMainThreadLosesNoAudio()
    {
        AudioRecorder recorder([] { return QStringLiteral("testmic"); });
        QElapsedTimer elapsed;
        recorder.start();
        elapsed.start();
        QTest::qWait(200);
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        QTest::qWait(200);
        const qint64 ms = elapsed.elapsed();
        const auto wav = recorder.stop();
        QVERIFY(wav);
        const qsizetype samples = (wav->size() - 44) / 2;
        // Up to 60 ms may still be on the way from the sound server at the stop.
        QVERIFY2(samples >= 48 * (ms - 60),
                 qPrintable(QStringLiteral("%1 samples in %2 ms").arg(samples).arg(ms)));
    }

    void warmMicrophoneKeepsTheMomentBeforeTheKey()
    {
        AudioRecorder recorder([] { return QStringLiteral("testmic"); });
        QSignalSpy warmth(&recorder, &AudioRecorder::warmChanged);
        QVERIFY(recorder.setWarm(true));
        QCOMPARE(warmth.count(), 1);
        // Speech before the take starts: its last moment is the take's beginning.
        QProcess player;
        player.start("paplay", {"-d", "micfeed", m_speech});
        QVERIFY(player.waitForFinished(10000));
        QTest::qWait(100);
        recorder.start();
        const auto wav = recorder.stop(); // at once: everything in it came before the start
        QVERIFY(wav);
        const qsizetype samples = (wav->size() - 44) / 2;
        QVERIFY2(samples >= 48000 * 0.25 && samples <= 48000 * 0.4,
                 qPrintable(QString::number(samples)));
        // Still open after the take; closed when cooled down.
        QVERIFY(recorder.isWarm());
        recorder.start();
        QTest::qWait(200);
        QVERIFY(recorder.stop());
        QVERIFY(recorder.setWarm(false));
        QVERIFY(!recorder.isWarm());
        QCOMPARE(warmth.count(), 2);

        // Cold again: a take holds only what came after its start.
        recorder.start();
        const auto cold = recorder.stop();
        QVERIFY(!cold || (cold->size() - 44) / 2 < 48000 * 0.1);
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
        player.start("paplay", {"-d", "micfeed", m_speech});
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
