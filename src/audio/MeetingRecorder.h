#pragma once

#include "audio/AudioCapture.h"
#include "core/TimerHandle.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class Clock;
class ComputerAudioMixer;
class MeetingStore;
class MicFileWriter;
class Scheduler;
class SystemAudioSource;

// Records a whole meeting from the default input, with what the computer plays mixed in,
// straight to a temporary WAV file (constant memory), then hands it to the meeting store
// to upload and file.
class MeetingRecorder : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(float level READ level NOTIFY levelChanged)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged)
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(QString phaseMessage READ phaseMessage NOTIFY phaseChanged)
public:
    enum class Phase { idle, uploading, transcribing, error };
    Q_ENUM(Phase)
    static constexpr double durationTick = 0.25;

    static MeetingRecorder &shared();
    MeetingRecorder(MeetingStore &store, const Clock &clock, Scheduler &scheduler,
                    QString temporaryDirectory, QObject *parent = nullptr);
    ~MeetingRecorder() override;

    bool isRecording() const { return m_writer != nullptr; }
    float level() const { return m_level; }
    double duration() const { return m_duration; }
    Phase phase() const { return m_phase; }
    // The error text while phase is error.
    const QString &phaseMessage() const { return m_phaseMessage; }

    // What the computer plays; none records the microphone alone. Not owned; taken from
    // the next start (one in use now is stopped when it is replaced).
    void setSystemAudioSource(SystemAudioSource *source);
    // Taken at every start; on unless told otherwise.
    void setIncludeComputerAudio(bool include) { m_includeComputerAudio = include; }

    // Throws DescribedError "Couldn't start the microphone: …". Nothing while recording.
    // When the computer's audio is wanted but can't be had, the microphone is recorded
    // alone and logLine says so once.
    void start();
    // Closes the file and returns it; nothing when not recording.
    std::optional<QString> stop();
    // Stops, then uploads and files the recording in the background.
    Q_INVOKABLE void stopAndProcess();

Q_SIGNALS:
    void isRecordingChanged();
    void levelChanged();
    void durationChanged();
    void phaseChanged();
    // A line for the activity log.
    void logLine(const QString &line);

private:
    QCoro::Task<void> process(QString path, qint64 durationSec);
    void startComputerAudio(int sampleRate);
    void stopComputerAudio();
    void computerAudioLost();
    void setPhase(Phase phase, const QString &message = {});
    void setLevel(float level);
    void setDuration(double duration);

    MeetingStore &m_store;
    const Clock &m_clock;
    Scheduler &m_scheduler;
    QString m_temporaryDirectory;
    AudioCapture m_capture;
    std::unique_ptr<MicFileWriter> m_writer;
    SystemAudioSource *m_systemAudio = nullptr;
    bool m_includeComputerAudio = true;
    std::unique_ptr<ComputerAudioMixer> m_mixer;
    bool m_computerAudioRunning = false;
    bool m_computerAudioHeard = false;
    bool m_computerAudioLost = false;
    std::optional<double> m_startedAt;
    TimerHandle m_ticker;
    float m_level = 0.0f;
    double m_duration = 0.0;
    Phase m_phase = Phase::idle;
    QString m_phaseMessage;
};
