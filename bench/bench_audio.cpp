// Figures for audio: WAV encoding, per-block mixdown and level, and the meeting writer.
#include "audio/MicFileWriter.h"
#include "audio/MonoMixdown.h"
#include "audio/WavEncoder.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <cmath>
#include <sys/resource.h>

namespace {

QList<float> tone(qsizetype samples, int channels)
{
    QList<float> out(samples * channels);
    for (qsizetype i = 0; i < out.size(); ++i)
        out[i] = 0.5f * std::sin(float(i) * 0.01f);
    return out;
}

void encodeWAV(benchmark::State &state)
{
    const QList<float> samples = tone(60 * 48000, 1); // a minute of dictation
    for (auto _ : state) {
        const QByteArray wav = WavEncoder::encodeWAV(samples.constData(), samples.size(), 48000);
        benchmark::DoNotOptimize(wav.constData());
    }
    state.counters["x realtime"] =
        benchmark::Counter(60.0 * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(encodeWAV)->Unit(benchmark::kMillisecond);

void mixdownAndLevel(benchmark::State &state)
{
    const int channels = int(state.range(0));
    const QList<float> block = tone(4096, channels);
    for (auto _ : state) {
        const QList<float> mono = MonoMixdown::mixdown(block.constData(), 4096, channels);
        benchmark::DoNotOptimize(MonoMixdown::level(mono.constData(), mono.size()));
    }
}
BENCHMARK(mixdownAndLevel)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

long peakKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// One hour of stereo 48 kHz blocks into the meeting file; memory must stay flat.
void meetingWriterHour(benchmark::State &state)
{
    const QList<float> block = tone(4096, 2);
    const qsizetype blocks = 3600LL * 48000 / 4096;
    const long before = peakKiB();
    for (auto _ : state) {
        QTemporaryDir dir;
        MicFileWriter writer(dir.filePath("meeting.wav"));
        for (qsizetype i = 0; i < blocks; ++i)
            writer.write(block.constData(), 4096, 2, 48000);
        writer.close();
    }
    state.counters["x realtime"] =
        benchmark::Counter(3600.0 * state.iterations(), benchmark::Counter::kIsRate);
    state.counters["peak growth KiB"] = double(peakKiB() - before);
}
BENCHMARK(meetingWriterHour)->Unit(benchmark::kSecond)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
