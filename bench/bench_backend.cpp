// Figures for the backend client: reading the streamed answer and building upload bodies.
#include "backend/AnswerStreamReader.h"
#include "backend/Backend.h"
#include "backend/MultipartBody.h"

#include <benchmark/benchmark.h>

namespace {

QByteArray answerStream(int lines)
{
    QByteArray stream;
    for (int i = 0; i < lines; ++i)
        stream += "{\"delta\":\"word " + QByteArray::number(i) + " \"}\n";
    stream += "{\"answer\":\"done\"}\n";
    return stream;
}

// Lines per second when the network hands over reads of `chunk` bytes.
void streamReader(benchmark::State &state)
{
    const int lines = 10000;
    const QByteArray stream = answerStream(lines);
    const qsizetype chunk = state.range(0);
    qsizetype deltas = 0;
    for (auto _ : state) {
        AnswerStreamReader reader(200, [&](const QString &) { ++deltas; });
        for (qsizetype from = 0; from < stream.size(); from += chunk)
            reader.feed(stream.mid(from, chunk));
        reader.finish();
        benchmark::DoNotOptimize(reader.answer());
    }
    benchmark::DoNotOptimize(deltas);
    state.counters["lines/s"] =
        benchmark::Counter(double(lines + 1) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(streamReader)->Arg(16)->Arg(1400)->Arg(16384)->Unit(benchmark::kMillisecond);

// One minute of 48 kHz mono 16-bit audio: the largest body dictation sends.
void transcribeBody(benchmark::State &state)
{
    const QByteArray wav(44 + 60 * 48000 * 2, '\x11');
    for (auto _ : state) {
        MultipartBody body;
        const QByteArray bytes = Backend::transcribeBody(body, wav, true);
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.SetBytesProcessed(state.iterations() * wav.size());
}
BENCHMARK(transcribeBody)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
