#pragma once

#include <vector>

// Decoded speech: one channel of samples in [-1, 1] at `sampleRate`.
struct MonoAudio
{
    int sampleRate = 16000;
    std::vector<float> samples;

    double seconds() const { return sampleRate > 0 ? double(samples.size()) / sampleRate : 0.0; }
};
