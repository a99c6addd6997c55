#include "VoiceActivity.h"

#include <algorithm>
#include <cmath>

namespace {

// How fast the floor may rise while the level stays above it (dB per frame, ~1 dB/s): slow
// enough that speech never drags it up, fast enough to follow a fan switched on.
constexpr double floorRise = 0.03;
// How much of the way the floor falls to a quieter frame at once.
constexpr double floorFall = 0.3;

std::size_t framesFor(double seconds, double frameSeconds)
{
    return std::size_t(std::lround(seconds / frameSeconds));
}

double percentile(std::vector<double> values, double fraction)
{
    if (values.empty())
        return VoiceActivity::silenceDbfs;
    const auto nth = values.begin() + std::ptrdiff_t(fraction * double(values.size() - 1));
    std::nth_element(values.begin(), nth, values.end());
    return *nth;
}

// Frame ranges [first, last) of speech, separated by pauses of at least `pauseFrames`.
std::vector<std::pair<std::size_t, std::size_t>> speechRuns(const std::vector<double> &levels)
{
    const std::size_t pauseFrames =
        framesFor(VoiceActivity::minPauseSeconds, VoiceActivity::frameSeconds);
    const std::size_t minFrames =
        framesFor(VoiceActivity::minSpeechSeconds, VoiceActivity::frameSeconds);
    std::vector<std::pair<std::size_t, std::size_t>> runs;
    double floor = std::max(percentile(levels, 0.05), -100.0);
    bool inRun = false;
    std::size_t first = 0, last = 0, speechFrames = 0;
    auto close = [&] {
        if (inRun && speechFrames >= minFrames)
            runs.emplace_back(first, last + 1);
        inRun = false;
    };
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const double level = levels[i];
        floor = level < floor ? floor + floorFall * (level - floor)
                              : std::min(level, floor + floorRise);
        const bool speech =
            level > floor + VoiceActivity::thresholdDb && level > VoiceActivity::silenceDbfs;
        if (speech) {
            if (!inRun) {
                inRun = true;
                first = i;
                speechFrames = 0;
            }
            last = i;
            ++speechFrames;
        } else if (inRun && i - last >= pauseFrames) {
            close();
        }
    }
    close();
    return runs;
}

// Cuts runs longer than the limit at their quietest frame (smoothed over three frames) that
// leaves at least minCutSeconds before it.
void cutLongRuns(std::vector<std::pair<std::size_t, std::size_t>> &runs,
                 const std::vector<double> &levels)
{
    const std::size_t maxFrames =
        framesFor(VoiceActivity::maxSegmentSeconds, VoiceActivity::frameSeconds);
    const std::size_t minCut = framesFor(VoiceActivity::minCutSeconds, VoiceActivity::frameSeconds);
    std::vector<std::pair<std::size_t, std::size_t>> out;
    for (auto [first, last] : runs) {
        while (last - first > maxFrames) {
            std::size_t best = first + maxFrames;
            double bestLevel = INFINITY;
            for (std::size_t i = first + minCut; i < first + maxFrames; ++i) {
                const double level = (levels[i - 1] + levels[i] + levels[i + 1]) / 3.0;
                if (level < bestLevel) {
                    bestLevel = level;
                    best = i;
                }
            }
            out.emplace_back(first, best);
            first = best;
        }
        out.emplace_back(first, last);
    }
    runs = std::move(out);
}

} // namespace

std::vector<double> VoiceActivity::frameLevels(const MonoAudio &audio, std::size_t frameSamples)
{
    std::vector<double> levels;
    if (frameSamples == 0)
        return levels;
    levels.reserve(audio.samples.size() / frameSamples + 1);
    for (std::size_t start = 0; start < audio.samples.size(); start += frameSamples) {
        const std::size_t end = std::min(audio.samples.size(), start + frameSamples);
        double energy = 0;
        for (std::size_t i = start; i < end; ++i)
            energy += double(audio.samples[i]) * audio.samples[i];
        levels.push_back(10.0 * std::log10(energy / double(end - start) + 1e-12));
    }
    return levels;
}

std::vector<VoiceActivity::Segment> VoiceActivity::segments(const MonoAudio &audio)
{
    const std::size_t frame =
        std::max<std::size_t>(1, std::size_t(std::lround(audio.sampleRate * frameSeconds)));
    const std::vector<double> levels = frameLevels(audio, frame);
    auto runs = speechRuns(levels);
    cutLongRuns(runs, levels);

    // Widen each run to keep the soft starts and ends of words, without overlapping the next.
    const std::size_t lead = std::size_t(audio.sampleRate * leadSeconds);
    const std::size_t trail = std::size_t(audio.sampleRate * trailSeconds);
    const std::size_t total = audio.samples.size();
    std::vector<Segment> segments;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::size_t begin = runs[r].first * frame;
        const std::size_t end = std::min(total, runs[r].second * frame);
        Segment segment{begin > lead ? begin - lead : 0, std::min(total, end + trail)};
        if (!segments.empty())
            segment.begin = std::max(segment.begin, segments.back().end);
        if (r + 1 < runs.size())
            segment.end = std::min(segment.end, runs[r + 1].first * frame);
        segments.push_back(segment);
    }
    return segments;
}
