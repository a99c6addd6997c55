// One poll's worth of analysis in a long field: tokenising a settled 5,000-word value and
// comparing it with the baseline, which the watcher does once per settled edit.
#include "correction/CorrectionWatcher.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int fieldWords = 5000;

QString field(const QString &middleWord)
{
    QStringList words;
    for (int i = 0; i < fieldWords; ++i)
        words << (i == fieldWords / 2 ? middleWord : QStringLiteral("word%1,").arg(i % 97));
    return words.join(u' ');
}

QStringList keys(const QString &text)
{
    QStringList keys;
    for (const CorrectionWatcher::Tok &tok : CorrectionWatcher::tokens(text))
        keys << tok.key;
    return keys;
}

void BM_TokenizeAndDetect(benchmark::State &state)
{
    const QStringList baseline = keys(field(QStringLiteral("cafe")));
    const QSet<QString> inserted{QStringLiteral("cafe")};
    const QString settled = field(QStringLiteral("Café,"));
    for (auto _ : state) {
        auto found = CorrectionWatcher::detectCorrection(baseline, inserted,
                                                         CorrectionWatcher::tokens(settled));
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_TokenizeAndDetect)->Unit(benchmark::kMicrosecond);

void BM_DetectOnly(benchmark::State &state)
{
    const QStringList baseline = keys(field(QStringLiteral("cafe")));
    const QSet<QString> inserted{QStringLiteral("cafe")};
    const QList<CorrectionWatcher::Tok> settled =
        CorrectionWatcher::tokens(field(QStringLiteral("Café,")));
    for (auto _ : state) {
        auto found = CorrectionWatcher::detectCorrection(baseline, inserted, settled);
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_DetectOnly)->Unit(benchmark::kMicrosecond);

// A poll while the user types: the new value against the last one.
void BM_UnchangedPoll(benchmark::State &state)
{
    const QString last = field(QStringLiteral("cafe"));
    const QString now = field(QStringLiteral("cafe"));
    for (auto _ : state)
        benchmark::DoNotOptimize(now == last);
}
BENCHMARK(BM_UnchangedPoll)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
