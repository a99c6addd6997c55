// Figures for the hot paths of the spine: the activity log at its cap, shortcut decoding
// (every settings load), the scheduler (every timer in the application) and one key
// event through the hotkey engine (every key the user types).
#include "backend/Backend.h"
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "hotkeys/HotkeyManager.h"
#include "hotkeys/Shortcut.h"
#include "platform/LoginItem.h"
#include "platform/PermissionProbe.h"
#include "platform/SystemLog.h"
#include "state/AppModel.h"
#include "state/LaunchAtLoginManager.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

struct QuietLog : SystemLog
{
    void write(const QString &) override {}
};
struct NoPermissions : PermissionProbe
{
    MicrophoneAuthorization microphoneAuthorization() override
    {
        return MicrophoneAuthorization::authorized;
    }
    bool accessibilityTrusted() override { return true; }
    bool screenRecordingTrusted() override { return true; }
};
struct NoHealth : Backend
{
    NoHealth() : Backend(QUrl(QStringLiteral("http://127.0.0.1:9"))) {}
    QCoro::Task<bool> health() override { co_return true; }
};
struct NoLoginItem : LoginItem
{
    bool isEnabled() const override { return false; }
    bool setEnabled(bool, QString &) override { return true; }
};

void BM_LogAtCap(benchmark::State &state)
{
    QTemporaryDir dir;
    QSettings defaults(dir.filePath(QStringLiteral("d.conf")), QSettings::IniFormat);
    ManualClock clock;
    NoPermissions permissions;
    NoHealth health;
    NoLoginItem loginItem;
    LaunchAtLoginManager launch(loginItem, defaults);
    QuietLog systemLog;
    AppModel model(clock, permissions, health, launch, systemLog);
    for (int i = 0; i < AppModel::maxLogLines; ++i)
        model.log(QStringLiteral("warm-up line"));
    for (auto _ : state)
        model.log(QStringLiteral("✓ Transcript: \"hello world this is a test\""));
}
BENCHMARK(BM_LogAtCap);

void BM_ShortcutDecode(benchmark::State &state)
{
    const Shortcut shortcut(Shortcut::option | Shortcut::command, 2, QStringLiteral("D"));
    const QJsonValue json = shortcut.encode();
    for (auto _ : state)
        benchmark::DoNotOptimize(Shortcut::decode(json));
}
BENCHMARK(BM_ShortcutDecode);

void BM_ShortcutDisplayName(benchmark::State &state)
{
    const Shortcut shortcut(Shortcut::fn | Shortcut::control | Shortcut::option, 49,
                            QStringLiteral("Space"));
    for (auto _ : state)
        benchmark::DoNotOptimize(shortcut.displayName(QStringLiteral("Right Ctrl")));
}
BENCHMARK(BM_ShortcutDisplayName);

void BM_ScheduleAndFire(benchmark::State &state)
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    int fired = 0;
    for (auto _ : state) {
        auto handle = scheduler.schedule(0.3, [&fired] { ++fired; });
        scheduler.advance(0.3);
    }
    benchmark::DoNotOptimize(fired);
}
BENCHMARK(BM_ScheduleAndFire);

struct NullKeySource : KeyEventSource
{
    bool start(Handler) override { return true; }
    void stop() override {}
    std::uint64_t currentModifierFlags() const override { return 0; }
    void setSwallowedCombos(QList<Combo>) override {}
};

// The common case: an ordinary key typed while no shortcut is held.
void BM_HotkeyKeyDown(benchmark::State &state)
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    NullKeySource source;
    HotkeyManager manager(source, clock, scheduler);
    manager.start();
    const KeyEventSource::Event key{KeyEventSource::Type::keyDown, 0, 0};
    for (auto _ : state)
        benchmark::DoNotOptimize(manager.handleEvent(key));
}
BENCHMARK(BM_HotkeyKeyDown);

// A modifier change that starts the chord debounce (the costliest event).
void BM_HotkeyFlagsChanged(benchmark::State &state)
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    NullKeySource source;
    HotkeyManager manager(source, clock, scheduler);
    manager.start();
    const KeyEventSource::Event down{KeyEventSource::Type::flagsChanged, -1, Shortcut::fn};
    const KeyEventSource::Event up{KeyEventSource::Type::flagsChanged, -1, 0};
    for (auto _ : state) {
        manager.handleEvent(down);
        manager.handleEvent(up);
    }
    state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(BM_HotkeyFlagsChanged);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
