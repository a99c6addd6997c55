#pragma once

#include "MonoAudio.h"

#include <cstddef>
#include <vector>

// Tells two voices apart by pitch. Each segment's median pitch is measured, and the segments
// are split into two groups only when the groups lie far apart on a semitone scale, so one
// speaker whose pitch wanders is never split in two.
class SpeakerClustering
{
public:
    // Minimum distance between the two groups' mean pitches, in semitones. One speaker's
    // segments rarely differ by more than three; a man and a woman usually by eight or more.
    static constexpr double minSemitones = 5.0;
    // ...and between the closest members of the two groups, so an even spread is not cut.
    static constexpr double minGapSemitones = 3.0;
    // ...and between the groups relative to their spread (the larger standard deviation).
    static constexpr double minSeparation = 3.0;

    // Median pitch of the voiced frames in [begin, end), in Hz; 0 when nothing is voiced.
    static double medianPitch(const MonoAudio &audio, std::size_t begin, std::size_t end);
    // 0 for the first speaker's segments, 1 for the second's. Segments without a pitch join
    // the speaker before them.
    static std::vector<int> speakers(const std::vector<double> &pitches);
};
