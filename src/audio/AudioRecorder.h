#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

class QAudioSource;
class QIODevice;

// Records the microphone while a hotkey is held: mono float samples at the device's
// own rate, one level per block of 4096 frames, and on stop one WAV in memory.
class AudioRecorder : public QObject
{
    Q_OBJECT
public:
    static constexpr int blockFrames = 4096;
    using MicUIDProvider = std::function<QString()>;

    // `micUID` is asked at every start, so a new choice counts from the next recording.
    explicit AudioRecorder(MicUIDProvider micUID = {}, QObject *parent = nullptr);
    ~AudioRecorder() override;

    // Throws DescribedError with unavailableText() when no input can be opened. Does
    // nothing while recording.
    void start();
    // The take as WAV, or nothing when not recording or nothing was captured.
    std::optional<QByteArray> stop();
    bool isRecording() const { return m_isRecording; }
    double sampleRate() const { return m_sampleRate; }

    // Main thread; 0 after stop so the meter falls to rest.
    std::function<void(float level)> onLevel;

    // Linux grants every process the microphone; answered on the next event-loop turn.
    static void requestPermission(std::function<void(bool granted)> completion);
    static QString unavailableText();

private:
    void readAvailable();
    void takeBlocks(bool flush);

    MicUIDProvider m_micUID;
    std::unique_ptr<QAudioSource> m_source;
    QIODevice *m_input = nullptr;
    QByteArray m_pending; // interleaved float frames not yet a whole block
    int m_channels = 1;
    double m_sampleRate = 16000.0;
    QList<float> m_samples;
    bool m_isRecording = false;
};
