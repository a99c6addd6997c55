#include "audio/MeetingRecorder.h"

#include "audio/AudioDevices.h"
#include "audio/ComputerAudioMixer.h"
#include "audio/MicFileWriter.h"
#include "audio/MonoMixdown.h"
#include "core/Clock.h"
#include "core/DescribedError.h"
#include "core/ProcessWide.h"
#include "core/QtScheduler.h"
#include "core/Scheduler.h"
#include "core/SystemClock.h"
#include "platform/SystemAudioSource.h"
#include "stores/MeetingStore.h"
#include "stores/SettingsStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QUuid>

#include <cmath>

MeetingRecorder &MeetingRecorder::shared()
{
    return processWide<MeetingRecorder>([] {
        static const SystemClock clock;
        static QtScheduler scheduler;
        auto *recorder =
            new MeetingRecorder(MeetingStore::shared(), clock, scheduler, QDir::tempPath());
        SettingsStore &settings = SettingsStore::shared();
        const auto follow = [recorder, &settings] {
            recorder->setIncludeComputerAudio(settings.current().includeComputerAudio);
        };
        QObject::connect(&settings, &SettingsStore::changed, recorder, follow);
        follow();
        return recorder;
    });
}

MeetingRecorder::MeetingRecorder(MeetingStore &store, const Clock &clock, Scheduler &scheduler,
                                 QString temporaryDirectory, QObject *parent)
    : QObject(parent), m_store(store), m_clock(clock), m_scheduler(scheduler),
      m_temporaryDirectory(std::move(temporaryDirectory))
{}

MeetingRecorder::~MeetingRecorder()
{
    stop();
}

void MeetingRecorder::start()
{
    if (isRecording())
        return;
    const QString path =
        QDir(m_temporaryDirectory)
            .filePath(QStringLiteral("meeting-%1.wav")
                          .arg(QUuid::createUuid().toString(QUuid::WithoutBraces)));
    auto writer = std::make_unique<MicFileWriter>(path);
    MicFileWriter *file = writer.get();
    const auto device = AudioDevices::defaultInputDeviceID();
    const bool started =
        device && m_capture.start(*device, [this, file](const float *frames, qsizetype count,
                                                        int channels, int rate) {
            QList<float> mono = MonoMixdown::mixdown(frames, count, channels);
            if (m_mixer)
                m_mixer->mixInto(mono.data(), mono.size());
            setLevel(file->write(mono.constData(), mono.size(), 1, rate));
        });
    if (!started)
        throw DescribedError(QStringLiteral("Couldn't start the microphone: ") +
                             (device ? QStringLiteral("the input device can't be opened.")
                                     : QStringLiteral("there is no input device.")));

    m_writer = std::move(writer);
    startComputerAudio(m_capture.sampleRate());
    m_startedAt = m_clock.now();
    setDuration(0.0);
    setPhase(Phase::idle);
    m_ticker = m_scheduler.repeat(durationTick, [this] {
        if (m_startedAt)
            setDuration(m_clock.now() - *m_startedAt);
    });
    Q_EMIT isRecordingChanged();
}

std::optional<QString> MeetingRecorder::stop()
{
    if (!isRecording())
        return std::nullopt;
    m_ticker.cancel();
    stopComputerAudio();
    m_capture.stop(); // the last blocks still reach the file, with what is queued mixed in
    m_mixer.reset();
    m_writer->close(); // anything arriving later is dropped
    const QString path = m_writer->path();
    const bool wroteAudio = m_writer->framesWritten() > 0;
    m_writer.reset();
    m_startedAt.reset();
    setLevel(0.0f);
    Q_EMIT isRecordingChanged();
    if (!wroteAudio) {
        QFile::remove(path); // at most a header: nothing to hand on
        return std::nullopt;
    }
    return path;
}

void MeetingRecorder::setSystemAudioSource(SystemAudioSource *source)
{
    if (source == m_systemAudio)
        return;
    stopComputerAudio();
    if (m_systemAudio)
        disconnect(m_systemAudio, nullptr, this, nullptr);
    m_systemAudio = source;
    if (!source)
        return;
    // The one place where something crosses from another thread: the sound server's blocks
    // and failure, queued to this one. What arrives after the meeting is over is dropped.
    connect(
        source, &SystemAudioSource::captured, this,
        [this](const QList<float> &samples) {
            if (m_computerAudioRunning && m_mixer) {
                m_computerAudioHeard = true;
                m_mixer->addComputerAudio(samples.constData(), samples.size());
            }
        },
        Qt::QueuedConnection);
    connect(
        source, &SystemAudioSource::failed, this,
        [this] {
            if (m_computerAudioRunning)
                computerAudioLost();
        },
        Qt::QueuedConnection);
}

void MeetingRecorder::startComputerAudio(int sampleRate)
{
    m_computerAudioHeard = false;
    m_computerAudioLost = false;
    if (!m_includeComputerAudio)
        return;
    m_mixer = std::make_unique<ComputerAudioMixer>(sampleRate, AudioCapture::blockFrames);
    m_computerAudioRunning = m_systemAudio && m_systemAudio->start(sampleRate);
    if (!m_computerAudioRunning) {
        m_mixer.reset();
        computerAudioLost();
    }
}

void MeetingRecorder::stopComputerAudio()
{
    if (m_computerAudioRunning && m_systemAudio)
        m_systemAudio->stop();
    m_computerAudioRunning = false;
}

void MeetingRecorder::computerAudioLost()
{
    // Once per meeting: a source reports its failure at most once and is not restarted.
    if (!isRecording() || m_computerAudioLost)
        return;
    stopComputerAudio();
    m_computerAudioLost = true;
    Q_EMIT logLine(
        m_computerAudioHeard
            ? QStringLiteral("Computer audio stopped; recording the microphone only.")
            : QStringLiteral("Computer audio isn't available; recording the microphone only."));
}

void MeetingRecorder::stopAndProcess()
{
    const double seconds = m_duration;
    Q_ASSERT(std::isfinite(seconds));
    const bool wasRecording = isRecording();
    const auto path = stop();
    if (!path) {
        // A meeting that ran but heard nothing must not end as if it had been saved.
        if (wasRecording)
            setPhase(Phase::error, QStringLiteral("No audio was recorded. Check that the "
                                                  "microphone works in Sound settings."));
        else
            setPhase(Phase::idle);
        return;
    }
    process(*path, static_cast<qint64>(seconds));
}

QCoro::Task<void> MeetingRecorder::process(QString path, qint64 durationSec)
{
    QPointer<MeetingRecorder> self(this);
    setPhase(Phase::uploading);
    try {
        // A named local: GCC 12 destroys temporaries of a co_await expression twice.
        std::function<void()> presigned = [self] {
            if (self)
                self->setPhase(Phase::transcribing);
        };
        co_await m_store.uploadRecording(path, durationSec, std::move(presigned));
        if (self)
            setPhase(Phase::idle);
    } catch (...) {
        // The store has kept the recording under unsent/ for a retry.
        if (self)
            setPhase(Phase::error, DescribedError::describe(std::current_exception()));
    }
}

void MeetingRecorder::setPhase(Phase phase, const QString &message)
{
    if (phase == m_phase && message == m_phaseMessage)
        return;
    m_phase = phase;
    m_phaseMessage = message;
    Q_EMIT phaseChanged();
}

void MeetingRecorder::setLevel(float level)
{
    if (level == m_level)
        return;
    m_level = level;
    Q_EMIT levelChanged();
}

void MeetingRecorder::setDuration(double duration)
{
    if (duration == m_duration)
        return;
    m_duration = duration;
    Q_EMIT durationChanged();
}
