#include "audio/MonoMixdown.h"

#include <cmath>

QList<float> MonoMixdown::mixdown(const float *interleaved, qsizetype frames, int channels)
{
    QList<float> mono(frames, 0.0f);
    if (channels <= 0)
        return mono;
    float *out = mono.data();
    if (channels == 1) {
        std::copy_n(interleaved, frames, out);
        return mono;
    }
    for (qsizetype frame = 0; frame < frames; ++frame) {
        const float *in = interleaved + frame * channels;
        float sum = 0.0f;
        for (int channel = 0; channel < channels; ++channel)
            sum += in[channel];
        out[frame] = sum;
    }
    const float scale = 1.0f / float(channels);
    for (qsizetype frame = 0; frame < frames; ++frame)
        out[frame] *= scale;
    return mono;
}

float MonoMixdown::level(const float *samples, qsizetype count)
{
    if (count <= 0)
        return 0.0f;
    double sum = 0.0;
    for (qsizetype i = 0; i < count; ++i)
        sum += double(samples[i]) * samples[i];
    return float(std::sqrt(sum / double(count)));
}
