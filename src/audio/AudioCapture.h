#pragma once

#include <QAudioDevice>
#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>

class QAudioSource;
class QIODevice;

// Float capture from one input at the device's own rate and channel count, handed on
// in blocks of 4096 interleaved frames, or of a given duration (the last block of a take may
// be shorter).
class AudioCapture : public QObject
{
    Q_OBJECT
public:
    static constexpr int blockFrames = 4096;
    using BlockHandler = std::function<void(const float *interleaved, qsizetype frames,
                                            int channels, int sampleRate)>;

    explicit AudioCapture(QObject *parent = nullptr);
    ~AudioCapture() override;

    // False when the device has no usable format or can't be opened. `blockSeconds`: blocks
    // of that length instead of `blockFrames`, with the sound server asked for fragments of
    // one block, so the first samples come that soon after the start.
    bool start(const QAudioDevice &device, BlockHandler onBlock, double blockSeconds = 0);
    // Hands on what is left, shorter block included, and closes the device.
    void stop();
    // Hands on what has arrived, shorter block included, and goes on capturing.
    void drain();
    bool isRunning() const { return m_source != nullptr; }
    int sampleRate() const { return m_sampleRate; }
    int channels() const { return m_channels; }

private:
    void readAvailable();
    void deliver(bool flush);

    std::unique_ptr<QAudioSource> m_source;
    QIODevice *m_input = nullptr;
    BlockHandler m_onBlock;
    QByteArray m_pending;
    int m_channels = 1;
    int m_sampleRate = 0;
    qsizetype m_blockFrames = blockFrames;
};
