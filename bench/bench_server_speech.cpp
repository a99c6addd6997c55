// Figures for ovrin-server's offline speech: recognition speed and accuracy on flite's voice,
// the wait after a streamed dictation, resampling, reading a long meeting file, finding speech
// in it, and cleanup.
#include "SpeakerClustering.h"
#include "SpeechReference.h"
#include "SphinxTranscriber.h"
#include "StreamResampler.h"
#include "TextCleanup.h"
#include "VoiceActivity.h"
#include "WavAudio.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

const std::vector<std::string> &sentences = SpeechReference::sentences();

fs::path scratch()
{
    static const fs::path dir = [] {
        std::string pattern = (fs::temp_directory_path() / "bench_speech_XXXXXX").string();
        return fs::path(mkdtemp(pattern.data()));
    }();
    return dir;
}

std::string readFile(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// flite's sentences as uploaded: `soxFormat` reshapes them (e.g. "-r 48000 -c 2").
std::vector<MonoAudio> spokenSentences(const std::string &soxFormat)
{
    std::vector<MonoAudio> out;
    for (std::size_t i = 0; i < sentences.size(); ++i) {
        const fs::path spoken = scratch() / ("s" + std::to_string(i) + ".wav");
        const fs::path shaped = scratch() / ("f" + std::to_string(i) + ".wav");
        const std::string command = "flite -voice slt -t '" + sentences[i] + "' -o " +
                                    spoken.string() + " && sox " + spoken.string() + " " +
                                    soxFormat + " " + shaped.string();
        if (std::system(command.c_str()) != 0)
            return {};
        out.push_back(WavAudio::decode(readFile(shaped)));
    }
    return out;
}

SphinxTranscriber &transcriber()
{
    static SphinxTranscriber instance;
    return instance;
}

long peakKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

const char *qualityName(int quality)
{
    return quality == 0 ? "fastest" : quality == 1 ? "medium" : "best";
}

void decoderStartUp(benchmark::State &state)
{
    if (!SphinxTranscriber::available())
        return state.SkipWithError("no pocketsphinx model");
    for (auto _ : state) {
        SphinxTranscriber fresh;
        benchmark::DoNotOptimize(&fresh);
    }
}
BENCHMARK(decoderStartUp)->Unit(benchmark::kMillisecond)->Iterations(3);

// Recognition of flite's sentences uploaded at 48 kHz stereo and converted with each resampler
// quality: processing seconds per second of audio, and the word error rate in percent.
void offlineTranscription(benchmark::State &state)
{
    if (!SphinxTranscriber::available())
        return state.SkipWithError("no pocketsphinx model");
    const auto quality = StreamResampler::Quality(state.range(0));
    const std::vector<MonoAudio> uploads =
        spokenSentences(state.range(1) == 16000 ? "" : "-r 48000 -c 2");
    if (uploads.empty())
        return state.SkipWithError("flite or sox failed");
    state.SetLabel(std::string(qualityName(int(state.range(0)))) + " from " +
                   std::to_string(uploads[0].sampleRate) + " Hz");
    double audioSeconds = 0;
    std::size_t errors = 0, reference = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < uploads.size(); ++i) {
            const MonoAudio audio = WavAudio::resample(uploads[i], 16000, quality);
            const std::string text = transcriber().transcribe(audio, {});
            audioSeconds += audio.seconds();
            const SpeechReference::Errors found = SpeechReference::compare(sentences[i], text);
            errors += found.edits;
            reference += found.words;
        }
    }
    state.counters["s per audio s"] =
        benchmark::Counter(audioSeconds, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["WER %"] = 100.0 * double(errors) / double(reference);
}
BENCHMARK(offlineTranscription)
    ->Args({1, 16000})
    ->Args({0, 48000})
    ->Args({1, 48000})
    ->Args({2, 48000})
    ->Unit(benchmark::kSecond)
    ->Iterations(1);

// A dictation of about ten seconds (four of flite's sentences): the wait from the key's release
// to the text, when the audio was streamed to the recogniser in 200 ms chunks while it was
// spoken (the last chunk and the tail are left), against recognising the whole recording then.
// "ms per chunk" is what each chunk's request spends decoding while the key is held.
void dictationAfterRelease(benchmark::State &state)
{
    if (!SphinxTranscriber::available())
        return state.SkipWithError("no pocketsphinx model");
    const std::vector<MonoAudio> parts = spokenSentences("");
    if (parts.empty())
        return state.SkipWithError("flite or sox failed");
    MonoAudio audio;
    for (std::size_t i = 0; i < 4; ++i)
        audio.samples.insert(audio.samples.end(), parts[i].samples.begin(), parts[i].samples.end());
    const bool streamed = state.range(0) == 1;
    state.SetLabel(std::to_string(audio.seconds()).substr(0, 4) + " s " +
                   (streamed ? "streamed in 200 ms chunks" : "uploaded whole"));
    const std::size_t chunk = 16000 / 5;
    const std::size_t lastChunk = (audio.samples.size() - 1) / chunk * chunk;
    double chunkSeconds = 0;
    std::size_t chunks = 0;
    std::string streamedText, wholeText;
    for (auto _ : state) {
        if (!streamed) {
            wholeText = transcriber().transcribe(audio, {});
            continue;
        }
        state.PauseTiming();
        const auto stream = transcriber().openStream({});
        for (std::size_t at = 0; at < lastChunk; at += chunk) {
            const auto start = std::chrono::steady_clock::now();
            stream->feed(audio.samples.data() + at, chunk);
            chunkSeconds +=
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            ++chunks;
        }
        state.ResumeTiming();
        stream->feed(audio.samples.data() + lastChunk, audio.samples.size() - lastChunk);
        streamedText = stream->finish();
    }
    if (streamed) {
        state.counters["ms per chunk"] = 1000.0 * chunkSeconds / double(chunks);
        state.counters["same text"] = streamedText == transcriber().transcribe(audio, {}) ? 1 : 0;
    }
}
BENCHMARK(dictationAfterRelease)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3);

// A minute of 48 kHz audio to 16 kHz.
void resample48kTo16k(benchmark::State &state)
{
    MonoAudio minute{48000, std::vector<float>(60 * 48000)};
    for (std::size_t i = 0; i < minute.samples.size(); ++i)
        minute.samples[i] = 0.5f * std::sin(float(i) * 0.0577f);
    const auto quality = StreamResampler::Quality(state.range(0));
    state.SetLabel(qualityName(int(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(WavAudio::resample(minute, 16000, quality).samples.data());
    state.counters["x realtime"] =
        benchmark::Counter(60.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(resample48kTo16k)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// Ten minutes of 48 kHz stereo read from disk to 16 kHz mono; memory should grow by the
// result (37.5 MB), not by the source (115 MB).
void decodeMeetingFile(benchmark::State &state)
{
    const fs::path path = scratch() / "meeting.wav";
    const std::string command =
        "sox -n -r 48000 -c 2 -b 16 " + path.string() + " synth 600 pinknoise vol 0.3";
    if (std::system(command.c_str()) != 0)
        return state.SkipWithError("sox failed");
    const long before = peakKiB();
    std::size_t samples = 0;
    for (auto _ : state)
        samples = WavAudio::decodeFile(path.string(), 16000).samples.size();
    state.counters["x realtime"] =
        benchmark::Counter(600.0 * double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["peak growth MiB"] = double(peakKiB() - before) / 1024.0;
    state.counters["result MiB"] = double(samples * sizeof(float)) / 1048576.0;
    fs::remove(path);
}
BENCHMARK(decodeMeetingFile)->Unit(benchmark::kSecond)->Iterations(1);

// Finding speech and measuring pitch over ten minutes of talk with pauses.
void meetingAnalysis(benchmark::State &state)
{
    MonoAudio audio{16000, std::vector<float>(600 * 16000)};
    for (std::size_t i = 0; i < audio.samples.size(); ++i) {
        const bool talking = (i / 16000) % 7 < 5; // 5 s phrases, 2 s pauses
        audio.samples[i] =
            float(0.001 * std::sin(double(i) * 1.3)) +
            (talking ? float(0.2 * std::sin(2 * M_PI * 140 * double(i) / 16000)) : 0);
    }
    std::size_t count = 0;
    for (auto _ : state) {
        const auto segments = VoiceActivity::segments(audio);
        for (const auto &segment : segments)
            benchmark::DoNotOptimize(
                SpeakerClustering::medianPitch(audio, segment.begin, segment.end));
        count = segments.size();
    }
    state.counters["segments"] = double(count);
    state.counters["x realtime"] =
        benchmark::Counter(600.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(meetingAnalysis)->Unit(benchmark::kMillisecond);

// Cleanup of a long run of recogniser output (lower case, no punctuation, fillers).
void cleanup(benchmark::State &state)
{
    std::string text;
    while (text.size() < 100000)
        text += "um so i think uh we should move the launch you know to next month and i will "
                "send the plan by friday er ";
    for (auto _ : state)
        benchmark::DoNotOptimize(TextCleanup::clean(text).size());
    state.SetBytesProcessed(std::int64_t(text.size()) * state.iterations());
}
BENCHMARK(cleanup)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code error;
    fs::remove_all(scratch(), error);
    return 0;
}
