#include "audio/AudioRecorder.h"

#include "audio/AudioDevices.h"
#include "audio/MonoMixdown.h"
#include "audio/WavEncoder.h"
#include "core/DescribedError.h"

#include <QTimer>

#include <cmath>

AudioRecorder::AudioRecorder(MicUIDProvider micUID, QObject *parent)
    : QObject(parent), m_micUID(std::move(micUID))
{}

QString AudioRecorder::unavailableText()
{
    return QStringLiteral("The microphone isn't available right now. Try again in a moment.");
}

void AudioRecorder::requestPermission(std::function<void(bool)> completion)
{
    QTimer::singleShot(0, [completion = std::move(completion)] { completion(true); });
}

void AudioRecorder::start()
{
    if (m_isRecording)
        return;
    m_samples.clear(); // keeps its capacity for the next take
    m_levelBlock.clear();
    const auto device = AudioDevices::preferredInput(m_micUID ? m_micUID() : QString());
    const auto onBlock = [this](const float *frames, qsizetype count, int channels, int) {
        const QList<float> mono = MonoMixdown::mixdown(frames, count, channels);
        m_samples.append(mono);
        Q_EMIT samplesCaptured(mono);
        // The meter moves at its own pace, whatever the block length; the short last block
        // only completes the take, as the meter is about to rest.
        m_levelBlock.append(mono);
        if (m_stopping || m_levelBlock.size() < levelFrames)
            return;
        Q_EMIT levelChanged(MonoMixdown::level(m_levelBlock.constData(), m_levelBlock.size()));
        m_levelBlock.clear();
    };
    const bool started = device && m_capture.start(*device, onBlock, blockSeconds);
    if (!started)
        throw DescribedError(unavailableText());
    m_sampleRate = m_capture.sampleRate();
    m_isRecording = true;
}

std::optional<QByteArray> AudioRecorder::stop()
{
    if (!m_isRecording)
        return std::nullopt;
    m_stopping = true;
    m_capture.stop();
    m_stopping = false;
    m_isRecording = false;
    Q_EMIT levelChanged(0.0f);

    const QList<float> samples = std::exchange(m_samples, {});
    if (samples.isEmpty())
        return std::nullopt;
    Q_ASSERT(std::isfinite(m_sampleRate) && m_sampleRate >= 0 && m_sampleRate < 4294967296.0);
    return WavEncoder::encodeWAV(samples.constData(), samples.size(),
                                 static_cast<std::uint32_t>(m_sampleRate));
}
