#pragma once

#include <QList>

// One block of captured audio folded to mono, with its loudness.
class MonoMixdown
{
public:
    // The average of the channels of interleaved frames; mono input is copied as is.
    static QList<float> mixdown(const float *interleaved, qsizetype frames, int channels);
    // Root mean square in full-scale units; 0 for an empty block.
    static float level(const float *samples, qsizetype count);
};
