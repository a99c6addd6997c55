#include "audio/AudioCapture.h"

#include <QAudioSource>

#include <algorithm>

AudioCapture::AudioCapture(QObject *parent) : QObject(parent) {}

AudioCapture::~AudioCapture()
{
    if (m_source)
        m_source->stop();
}

bool AudioCapture::start(const QAudioDevice &device, BlockHandler onBlock, double blockSeconds)
{
    stop();
    QAudioFormat format = device.preferredFormat();
    if (device.isNull() || format.channelCount() <= 0 || format.sampleRate() <= 0)
        return false;
    // The device's own rate and channels; only the sample type is ours.
    format.setSampleFormat(QAudioFormat::Float);
    auto source = std::make_unique<QAudioSource>(device, format);
    m_blockFrames = blockFrames;
    if (blockSeconds > 0) {
        m_blockFrames = std::max<qsizetype>(1, qsizetype(format.sampleRate() * blockSeconds));
        // The sound server hands on a fragment of this size; at twice a block the first one
        // came after 20 or 40 ms depending on its timing, at one block after 20 ms every time.
        // What the main thread has not read yet waits in the client library, not here.
        source->setBufferSize(int(m_blockFrames * format.bytesPerFrame()));
    }
    QIODevice *input = source->start();
    if (!input || source->error() != QAudio::NoError)
        return false;
    m_source = std::move(source);
    m_input = input;
    m_onBlock = std::move(onBlock);
    m_channels = format.channelCount();
    m_sampleRate = format.sampleRate();
    m_pending.clear();
    connect(m_input, &QIODevice::readyRead, this, &AudioCapture::readAvailable);
    return true;
}

void AudioCapture::stop()
{
    if (!m_source)
        return;
    readAvailable();
    deliver(true);
    m_source->stop();
    m_source.reset();
    m_input = nullptr;
    m_onBlock = {};
}

void AudioCapture::drain()
{
    if (!m_source)
        return;
    readAvailable();
    deliver(true);
}

void AudioCapture::readAvailable()
{
    if (!m_input)
        return;
    m_pending.append(m_input->readAll());
    deliver(false);
}

void AudioCapture::deliver(bool flush)
{
    const qsizetype frameBytes = qsizetype(sizeof(float)) * m_channels;
    qsizetype offset = 0;
    for (;;) {
        const qsizetype available = (m_pending.size() - offset) / frameBytes;
        if (available < m_blockFrames && !(flush && available > 0))
            break;
        const qsizetype frames = std::min<qsizetype>(m_blockFrames, available);
        if (m_onBlock)
            m_onBlock(reinterpret_cast<const float *>(m_pending.constData() + offset), frames,
                      m_channels, m_sampleRate);
        offset += frames * frameBytes;
    }
    m_pending.remove(0, offset);
}
