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

bool AudioRecorder::open()
{
    const auto device = AudioDevices::preferredInput(m_micUID ? m_micUID() : QString());
    if (!device)
        return false;
    const auto onBlock = [this](const float *frames, qsizetype count, int channels, int) {
        takeBlock(frames, count, channels);
    };
    if (!m_capture.start(*device, onBlock, blockSeconds))
        return false;
    m_openInput = QString::fromUtf8(device->id());
    m_sampleRate = m_capture.sampleRate();
    return true;
}

void AudioRecorder::takeBlock(const float *frames, qsizetype count, int channels)
{
    const QList<float> mono = MonoMixdown::mixdown(frames, count, channels);
    if (!m_isRecording) {
        // Warm between takes: only the last moment is kept, for the next take's start.
        m_preRoll.append(mono);
        const auto keep = qsizetype(preRollSeconds * m_sampleRate);
        if (m_preRoll.size() > keep)
            m_preRoll.remove(0, m_preRoll.size() - keep);
        return;
    }
    m_samples.append(mono);
    Q_EMIT samplesCaptured(mono);
    // The meter moves at its own pace, whatever the block length; the short last block
    // only completes the take, as the meter is about to rest.
    m_levelBlock.append(mono);
    if (m_stopping || m_levelBlock.size() < levelFrames)
        return;
    Q_EMIT levelChanged(MonoMixdown::level(m_levelBlock.constData(), m_levelBlock.size()));
    m_levelBlock.clear();
}

bool AudioRecorder::setWarm(bool warm)
{
    if (warm == m_warm)
        return true;
    if (warm && !m_capture.isRunning() && !open())
        return false;
    m_warm = warm;
    m_preRoll.clear();
    if (!warm && !m_isRecording)
        m_capture.stop();
    Q_EMIT warmChanged(warm);
    return true;
}

void AudioRecorder::start()
{
    if (m_isRecording)
        return;
    m_samples.clear(); // keeps its capacity for the next take
    m_levelBlock.clear();
    const auto wanted = AudioDevices::preferredInput(m_micUID ? m_micUID() : QString());
    if (m_capture.isRunning() && wanted && m_openInput == QString::fromUtf8(wanted->id())) {
        // Warm: the take begins with what the microphone heard just before.
        m_capture.drain();
        m_samples = std::exchange(m_preRoll, {});
    } else {
        m_capture.stop();
        m_preRoll.clear();
        if (!open())
            throw DescribedError(unavailableText());
    }
    m_isRecording = true;
    if (!m_samples.isEmpty())
        Q_EMIT samplesCaptured(m_samples);
}

std::optional<QByteArray> AudioRecorder::stop()
{
    if (!m_isRecording)
        return std::nullopt;
    m_stopping = true;
    if (m_warm)
        m_capture.drain(); // the microphone stays open for the next take
    else
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
