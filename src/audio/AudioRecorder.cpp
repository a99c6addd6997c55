#include "audio/AudioRecorder.h"

#include "audio/AudioDevices.h"
#include "audio/MonoMixdown.h"
#include "audio/WavEncoder.h"
#include "core/DescribedError.h"

#include <QAudioSource>
#include <QTimer>

#include <cmath>

AudioRecorder::AudioRecorder(MicUIDProvider micUID, QObject *parent)
    : QObject(parent), m_micUID(std::move(micUID))
{}

AudioRecorder::~AudioRecorder()
{
    if (m_source)
        m_source->stop();
}

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
    m_pending.clear();
    if (m_source) {
        m_source->stop();
        m_source.reset();
    }

    const auto device = AudioDevices::preferredInput(m_micUID ? m_micUID() : QString());
    QAudioFormat format = device ? device->preferredFormat() : QAudioFormat();
    if (!device || format.channelCount() <= 0 || format.sampleRate() <= 0)
        throw DescribedError(unavailableText());
    // The device's own rate and channels; only the sample type is ours.
    format.setSampleFormat(QAudioFormat::Float);
    m_channels = format.channelCount();
    m_sampleRate = format.sampleRate();

    m_source = std::make_unique<QAudioSource>(*device, format);
    m_input = m_source->start();
    if (!m_input || m_source->error() != QAudio::NoError) {
        m_source.reset();
        m_input = nullptr;
        throw DescribedError(unavailableText());
    }
    connect(m_input, &QIODevice::readyRead, this, &AudioRecorder::readAvailable);
    m_isRecording = true;
}

void AudioRecorder::readAvailable()
{
    if (!m_input)
        return;
    m_pending.append(m_input->readAll());
    takeBlocks(false);
}

void AudioRecorder::takeBlocks(bool flush)
{
    const qsizetype frameBytes = qsizetype(sizeof(float)) * m_channels;
    const qsizetype blockBytes = frameBytes * blockFrames;
    qsizetype offset = 0;
    while (m_pending.size() - offset >= blockBytes ||
           (flush && m_pending.size() - offset >= frameBytes)) {
        const qsizetype frames =
            std::min<qsizetype>(blockFrames, (m_pending.size() - offset) / frameBytes);
        const auto *frames0 = reinterpret_cast<const float *>(m_pending.constData() + offset);
        const QList<float> mono = MonoMixdown::mixdown(frames0, frames, m_channels);
        m_samples.append(mono);
        offset += frames * frameBytes;
        // A partial last block only completes the take; the meter is about to rest.
        if (!flush && onLevel)
            onLevel(MonoMixdown::level(mono.constData(), mono.size()));
    }
    m_pending.remove(0, offset);
}

std::optional<QByteArray> AudioRecorder::stop()
{
    if (!m_isRecording)
        return std::nullopt;
    readAvailable();
    takeBlocks(true);
    m_source->stop();
    m_source.reset();
    m_input = nullptr;
    m_isRecording = false;
    if (onLevel)
        onLevel(0.0f);

    const QList<float> samples = std::exchange(m_samples, {});
    if (samples.isEmpty())
        return std::nullopt;
    Q_ASSERT(std::isfinite(m_sampleRate) && m_sampleRate >= 0 && m_sampleRate < 4294967296.0);
    return WavEncoder::encodeWAV(samples.constData(), samples.size(),
                                 static_cast<std::uint32_t>(m_sampleRate));
}
