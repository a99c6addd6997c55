#include "SpeakerClustering.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

constexpr double frameSeconds = 0.04;
constexpr double lowestPitch = 60.0;
constexpr double highestPitch = 400.0;
// Normalised autocorrelation a frame needs at its period to count as voiced.
constexpr double voicedCorrelation = 0.6;
// Of the lags this close to the best peak, the shortest wins, avoiding octave-low errors.
constexpr double peakTolerance = 0.9;
constexpr std::size_t maxFrames = 150;

// The pitch of one frame, or 0 when it is not clearly voiced.
double framePitch(const float *x, std::size_t n, int rate)
{
    const std::size_t minLag = std::size_t(rate / highestPitch);
    const std::size_t maxLag = std::min(n / 2, std::size_t(rate / lowestPitch));
    if (minLag >= maxLag)
        return 0;
    std::vector<double> correlation(maxLag + 1, 0.0);
    double best = 0;
    for (std::size_t lag = minLag; lag <= maxLag; ++lag) {
        double cross = 0, energyA = 0, energyB = 0;
        for (std::size_t i = 0; i + lag < n; ++i) {
            cross += double(x[i]) * x[i + lag];
            energyA += double(x[i]) * x[i];
            energyB += double(x[i + lag]) * x[i + lag];
        }
        correlation[lag] = energyA > 0 && energyB > 0 ? cross / std::sqrt(energyA * energyB) : 0;
        best = std::max(best, correlation[lag]);
    }
    if (best < voicedCorrelation)
        return 0;
    for (std::size_t lag = minLag + 1; lag < maxLag; ++lag) {
        const double c = correlation[lag];
        if (c >= peakTolerance * best && c >= correlation[lag - 1] && c >= correlation[lag + 1])
            return double(rate) / double(lag);
    }
    return 0;
}

double semitones(double hz)
{
    return 12.0 * std::log2(hz);
}

double mean(const std::vector<double> &values, std::size_t from, std::size_t to)
{
    return std::accumulate(values.begin() + std::ptrdiff_t(from),
                           values.begin() + std::ptrdiff_t(to), 0.0) /
           double(to - from);
}

double deviation(const std::vector<double> &values, std::size_t from, std::size_t to)
{
    const double m = mean(values, from, to);
    double sum = 0;
    for (std::size_t i = from; i < to; ++i)
        sum += (values[i] - m) * (values[i] - m);
    return std::sqrt(sum / double(to - from));
}

} // namespace

double SpeakerClustering::medianPitch(const MonoAudio &audio, std::size_t begin, std::size_t end)
{
    end = std::min(end, audio.samples.size());
    const std::size_t frame = std::size_t(audio.sampleRate * frameSeconds);
    if (frame == 0 || begin >= end)
        return 0;
    // Only frames within 20 dB of the segment's loudest carry a reliable pitch.
    std::vector<double> energies;
    for (std::size_t start = begin; start + frame <= end; start += frame) {
        double energy = 0;
        for (std::size_t i = start; i < start + frame; ++i)
            energy += double(audio.samples[i]) * audio.samples[i];
        energies.push_back(energy);
    }
    if (energies.empty())
        return 0;
    const double loudest = *std::max_element(energies.begin(), energies.end());
    // A sample of frames is plenty for a median and keeps long meetings quick.
    const std::size_t stride = energies.size() / maxFrames + 1;
    std::vector<double> pitches;
    for (std::size_t f = 0; f < energies.size(); f += stride) {
        if (energies[f] <= 0 || energies[f] < loudest * 0.01)
            continue;
        const double pitch =
            framePitch(audio.samples.data() + begin + f * frame, frame, audio.sampleRate);
        if (pitch > 0)
            pitches.push_back(pitch);
    }
    if (pitches.empty())
        return 0;
    auto middle = pitches.begin() + std::ptrdiff_t(pitches.size() / 2);
    std::nth_element(pitches.begin(), middle, pitches.end());
    return *middle;
}

std::vector<int> SpeakerClustering::speakers(const std::vector<double> &pitches)
{
    std::vector<int> labels(pitches.size(), 0);
    std::vector<double> voiced;
    for (const double pitch : pitches) {
        if (pitch > 0)
            voiced.push_back(semitones(pitch));
    }
    if (voiced.size() < 2)
        return labels;

    // Two-means in one dimension: the best split of the sorted values.
    std::sort(voiced.begin(), voiced.end());
    std::size_t split = 0;
    double bestCost = INFINITY;
    for (std::size_t k = 1; k < voiced.size(); ++k) {
        const double low = deviation(voiced, 0, k), high = deviation(voiced, k, voiced.size());
        const double cost = low * low * double(k) + high * high * double(voiced.size() - k);
        if (cost < bestCost) {
            bestCost = cost;
            split = k;
        }
    }
    const double gap = mean(voiced, split, voiced.size()) - mean(voiced, 0, split);
    const double spread =
        std::max(deviation(voiced, 0, split), deviation(voiced, split, voiced.size()));
    if (gap < minSemitones || voiced[split] - voiced[split - 1] < minGapSemitones ||
        gap < minSeparation * spread)
        return labels;

    const double boundary = (voiced[split - 1] + voiced[split]) / 2.0;
    int firstGroup = -1;
    int previous = 0;
    for (std::size_t i = 0; i < pitches.size(); ++i) {
        if (pitches[i] <= 0) {
            labels[i] = previous;
            continue;
        }
        const int group = semitones(pitches[i]) > boundary ? 1 : 0;
        if (firstGroup < 0)
            firstGroup = group;
        labels[i] = previous = group == firstGroup ? 0 : 1;
    }
    return labels;
}
