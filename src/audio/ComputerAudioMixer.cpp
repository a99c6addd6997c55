#include "audio/ComputerAudioMixer.h"

#include <algorithm>

ComputerAudioMixer::ComputerAudioMixer(int sampleRate, qsizetype blockFrames)
    : m_reserve(qsizetype(std::max(sampleRate, 1) * reserveSeconds))
{
    const auto byTime = qsizetype(std::max(sampleRate, 1) * maxQueuedSeconds);
    m_ring.assign(
        std::size_t(std::max(byTime, 2 * std::max<qsizetype>(blockFrames, 1) + m_reserve)), 0.0f);
}

void ComputerAudioMixer::addComputerAudio(const float *samples, qsizetype count)
{
    if (count <= 0)
        return;
    const qsizetype size = capacity();
    if (count >= size) {
        samples += count - size;
        count = size;
        m_head = 0;
        m_size = 0;
    }
    // The computer's clock ran ahead of the microphone's: its oldest samples go.
    if (const qsizetype overflow = m_size + count - size; overflow > 0) {
        m_head = (m_head + overflow) % size;
        m_size -= overflow;
    }
    const qsizetype tail = (m_head + m_size) % size;
    const qsizetype first = std::min(count, size - tail);
    std::copy_n(samples, first, m_ring.begin() + tail);
    std::copy_n(samples + first, count - first, m_ring.begin());
    m_size += count;
}

void ComputerAudioMixer::mixInto(float *microphone, qsizetype count)
{
    if (count <= 0)
        return;
    if (m_gathering && m_size >= std::min(count + m_reserve, capacity()))
        m_gathering = false;
    qsizetype take = 0;
    if (!m_gathering) {
        take = std::min(count, m_size);
        m_gathering = take < count; // ran dry: gather a reserve again
    }
    const qsizetype size = capacity();
    for (qsizetype i = 0; i < take; ++i)
        microphone[i] += m_ring[std::size_t((m_head + i) % size)];
    m_head = (m_head + take) % size;
    m_size -= take;
    for (qsizetype i = 0; i < count; ++i)
        microphone[i] = std::clamp(microphone[i], -1.0f, 1.0f);
}
