#pragma once

#include "MonoAudio.h"

#include <cstddef>
#include <vector>

// Finds the stretches of a recording where someone speaks, by frame energy against a noise
// floor that follows the room. A pause long enough ends a stretch; a stretch too long for one
// recogniser pass is cut at its quietest moment.
class VoiceActivity
{
public:
    struct Segment
    {
        std::size_t begin = 0; // sample index
        std::size_t end = 0;   // one past the last sample
    };

    static constexpr double frameSeconds = 0.03;
    static constexpr double minPauseSeconds = 0.6;
    static constexpr double maxSegmentSeconds = 30.0;
    // Where a long stretch may be cut, counted from its start.
    static constexpr double minCutSeconds = 10.0;
    static constexpr double minSpeechSeconds = 0.2; // shorter bursts are clicks and bumps
    static constexpr double thresholdDb = 10.0;     // above the noise floor
    static constexpr double silenceDbfs = -60.0;    // never speech below this level
    static constexpr double leadSeconds = 0.2;      // kept before the first speech frame
    static constexpr double trailSeconds = 0.3;     // and after the last

    static std::vector<Segment> segments(const MonoAudio &audio);
    // Level of each frame in dB relative to full scale.
    static std::vector<double> frameLevels(const MonoAudio &audio, std::size_t frameSamples);
};
