#pragma once

#include "audio/AudioCapture.h"

#include <QByteArray>
#include <QList>
#include <QObject>

#include <functional>
#include <optional>

// Records the microphone while a hotkey is held: mono float samples at the device's
// own rate, taken in 10 ms blocks so the first ones come at once, one level per 4096 frames,
// and on stop one WAV in memory. Starting and
// stopping are virtual: the recorder is the seam unit tests fake.
class AudioRecorder : public QObject
{
    Q_OBJECT
public:
    using MicUIDProvider = std::function<QString()>;

    // `micUID` is asked at every start, so a new choice counts from the next recording.
    static constexpr double blockSeconds = 0.01;
    static constexpr qsizetype levelFrames = 4096;
    // What a warm microphone keeps of the moment before a take starts.
    static constexpr double preRollSeconds = 0.3;

    explicit AudioRecorder(MicUIDProvider micUID = {}, QObject *parent = nullptr);

    // Throws DescribedError with unavailableText() when no input can be opened. Does
    // nothing while recording.
    virtual void start();
    // The take as WAV, or nothing when not recording or nothing was captured.
    virtual std::optional<QByteArray> stop();
    bool isRecording() const { return m_isRecording; }
    // The take so far, mono at sampleRate().
    const QList<float> &samples() const { return m_samples; }
    // Warm: the microphone stays open between takes, and each take begins with the last
    // preRollSeconds before its start. False when the input cannot be opened; the recorder
    // is then cold and each start opens it, as usual.
    bool setWarm(bool warm);
    bool isWarm() const { return m_warm; }
    double sampleRate() const { return m_sampleRate; }

    // Linux grants every process the microphone; answered on the next event-loop turn.
    static void requestPermission(std::function<void(bool granted)> completion);
    static QString unavailableText();

Q_SIGNALS:
    // The input level of every 4096 frames; 0 after stop so the meter falls to rest.
    void levelChanged(float level);
    // Each block of the take as it arrives, mono at sampleRate().
    void samplesCaptured(const QList<float> &mono);
    void warmChanged(bool warm);

private:
    bool open();
    void takeBlock(const float *frames, qsizetype count, int channels);

    MicUIDProvider m_micUID;
    AudioCapture m_capture;
    double m_sampleRate = 16000.0;
    QList<float> m_samples;
    bool m_isRecording = false;
    bool m_stopping = false;
    QList<float> m_levelBlock; // samples since the last level
    bool m_warm = false;
    QString m_openInput;    // the id of the input the capture runs on
    QList<float> m_preRoll; // while warm between takes: the latest preRollSeconds
};
