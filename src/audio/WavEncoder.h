#pragma once

#include <QByteArray>

#include <cstdint>

// 16-bit mono PCM WAV with the plain 44-byte header and no other chunks.
class WavEncoder
{
public:
    static constexpr int headerSize = 44;

    // +1.0 and above become 32767, -1.0 and below -32767; the rest is scaled by 32767
    // and truncated toward zero. `sampleRate` is written unchanged.
    static QByteArray encodeWAV(const float *samples, qsizetype count, std::uint32_t sampleRate);
    static std::int16_t toPCM16(float sample);
    // The header for `sampleCount` samples, as the first 44 bytes of encodeWAV.
    static QByteArray header(qsizetype sampleCount, std::uint32_t sampleRate);
};
