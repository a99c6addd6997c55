#pragma once

#include <cstddef>
#include <vector>

struct SRC_STATE_tag;

// Converts one channel from one sample rate to another, block by block, so a long recording
// never has to sit in memory at its source rate.
class StreamResampler
{
public:
    // libsamplerate's sinc converters. Medium is the default: on 48 kHz uploads Fastest cost
    // the recogniser words (11.4 % against 6.8 % word errors) for a saving of about a second
    // per minute of audio.
    enum class Quality { Fastest, Medium, Best };

    StreamResampler(int fromRate, int toRate, Quality quality = Quality::Medium);
    ~StreamResampler();
    StreamResampler(const StreamResampler &) = delete;
    StreamResampler &operator=(const StreamResampler &) = delete;

    // Appends the converted samples of `count` input samples to `out`. `last` flushes the
    // converter's delay line; nothing may be fed after it.
    void feed(const float *samples, std::size_t count, bool last, std::vector<float> &out);

    double ratio() const { return m_ratio; }

private:
    SRC_STATE_tag *m_state = nullptr;
    double m_ratio;
};
