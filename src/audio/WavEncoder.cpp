#include "audio/WavEncoder.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

void put32(char *at, std::uint32_t value)
{
    qToLittleEndian(value, at);
}

void put16(char *at, std::uint16_t value)
{
    qToLittleEndian(value, at);
}

} // namespace

std::int16_t WavEncoder::toPCM16(float sample)
{
    if (sample >= 1.0f)
        return 32767;
    if (std::isnan(sample)) // a broken driver block must not be undefined behaviour
        return 0;
    return static_cast<std::int16_t>(std::max(sample, -1.0f) * 32767.0f);
}

QByteArray WavEncoder::header(qsizetype sampleCount, std::uint32_t sampleRate)
{
    // 16-bit data and the RIFF size field must fit in 32 bits.
    Q_ASSERT(sampleCount >= 0 &&
             sampleCount <= (std::numeric_limits<std::uint32_t>::max() - 36) / 2);
    const auto dataBytes = static_cast<std::uint32_t>(sampleCount * 2);
    QByteArray bytes(headerSize, Qt::Uninitialized);
    char *h = bytes.data();
    std::copy_n("RIFF", 4, h);
    put32(h + 4, 36 + dataBytes);
    std::copy_n("WAVEfmt ", 8, h + 8);
    put32(h + 16, 16);
    put16(h + 20, 1); // PCM
    put16(h + 22, 1); // mono
    put32(h + 24, sampleRate);
    put32(h + 28, sampleRate * 2);
    put16(h + 32, 2);
    put16(h + 34, 16);
    std::copy_n("data", 4, h + 36);
    put32(h + 40, dataBytes);
    return bytes;
}

QByteArray WavEncoder::encodeWAV(const float *samples, qsizetype count, std::uint32_t sampleRate)
{
    QByteArray bytes = header(count, sampleRate);
    bytes.resize(headerSize + count * 2);
    char *out = bytes.data() + headerSize;
    for (qsizetype i = 0; i < count; ++i)
        qToLittleEndian(toPCM16(samples[i]), out + 2 * i);
    return bytes;
}
