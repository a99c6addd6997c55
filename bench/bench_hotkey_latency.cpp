// Key-down to the first captured samples, on the session's own X server and sound server:
// Right Ctrl (the fn key) goes down through XTest, the X11 key source and the hotkey engine
// see it, the dictation recorder starts when the engine arms the capture (before its chord
// debounce decides the mode), the pill and the start cue come with the hold, as in a capture
// session, and the recorder's first block of samples arrives.
// Prints the median and p95 of the whole path and of each step.
// Usage: bench_hotkey_latency [repetitions, default 20]   (needs DISPLAY and PulseAudio)
#include "LatencyRun.h"
#include "audio/AudioDevices.h"
#include "audio/AudioRecorder.h"
#include "audio/Sounds.h"
#include "core/DescribedError.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "desktop/QtScreens.h"
#include "hotkeys/HotkeyManager.h"
#include "hud/QuickHUDPanel.h"
#include "hud/RecordingHUD.h"
#include "platform/linux/X11KeySource.h"
#include "platform/linux/X11WindowSystem.h"
#include "stores/HistoryStore.h"

#include <QApplication>
#include <QAudioSource>
#include <QQuickWindow>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

namespace {

constexpr unsigned rightCtrlKeycode = 105;

// Stamps the moment the key source hands the fn key's press to the hotkey engine.
class StampingKeySource : public KeyEventSource
{
public:
    StampingKeySource(KeyEventSource &inner, const Clock &clock) : m_inner(inner), m_clock(clock) {}

    std::optional<double> fnSeen;

    bool start(Handler handler) override
    {
        return m_inner.start([this, handler = std::move(handler)](const Event &event) {
            if (!fnSeen && event.type == Type::flagsChanged && (event.flags & Shortcut::fn))
                fnSeen = m_clock.now();
            return handler(event);
        });
    }
    void stop() override { m_inner.stop(); }
    std::uint64_t currentModifierFlags() const override { return m_inner.currentModifierFlags(); }
    void setSwallowedCombos(QList<Combo> combos) override
    {
        m_inner.setSwallowedCombos(std::move(combos));
    }

private:
    KeyEventSource &m_inner;
    const Clock &m_clock;
};

// What the sound server alone takes to hand over its first samples, read as they come
// rather than in blocks: the floor under the recorder's first block.
std::optional<std::pair<double, qsizetype>> firstBytes(Scheduler &scheduler, const Clock &clock)
{
    const std::optional<QAudioDevice> device = AudioDevices::preferredInput(QString());
    if (!device)
        return std::nullopt;
    QAudioFormat format = device->preferredFormat();
    format.setSampleFormat(QAudioFormat::Float);
    QAudioSource source(*device, format);
    const double started = clock.now();
    QIODevice *input = source.start();
    if (!input)
        return std::nullopt;
    std::optional<double> arrived;
    qsizetype bytes = 0;
    QObject::connect(input, &QIODevice::readyRead, [&] {
        const qsizetype read = input->readAll().size();
        if (!arrived && read > 0) {
            arrived = clock.now();
            bytes = read;
        }
    });
    LatencyRun::waitUntil(scheduler, clock, 5, [&] { return arrived.has_value(); });
    source.stop();
    if (!arrived)
        return std::nullopt;
    return std::make_pair(*arrived - started,
                          bytes / qsizetype(sizeof(float)) / format.channelCount());
}

} // namespace

int main(int argc, char *argv[])
{
    LatencyRun::useApplicationRenderer();
    QApplication app(argc, argv);
    const int repetitions = argc > 1 ? std::atoi(argv[1]) : 20;
    if (repetitions < 1) {
        std::fprintf(stderr, "usage: bench_hotkey_latency [repetitions]\n");
        return 2;
    }

    Display *display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "bench_hotkey_latency: no X display (DISPLAY is not set)\n");
        return 1;
    }

    SystemClock clock;
    QtScheduler scheduler;
    X11KeySource x11Keys(QStringLiteral("Control_R"));
    StampingKeySource keys(x11Keys, clock);
    HotkeyManager hotkey(keys, clock, scheduler);
    AudioRecorder recorder;
    QtScreens screens;
    X11WindowSystem windows;
    QuickHUDPanel panel(nullptr, screens, scheduler, &windows);
    RecordingHUD hud(panel, screens, clock, scheduler, HistoryStore::shared());
    Sounds sounds;

    std::optional<double> holdStarted, recorderStarted, firstBlock;
    bool stopped = false;
    QString failure;
    QObject::connect(&recorder, &AudioRecorder::samplesCaptured, [&](const QList<float> &) {
        if (!firstBlock)
            firstBlock = clock.now();
    });
    QObject::connect(&recorder, &AudioRecorder::levelChanged, &hud, &RecordingHUD::setLevel);
    QObject::connect(&hotkey, &HotkeyManager::captureArmed, [&] {
        holdStarted = clock.now();
        try {
            recorder.start();
        } catch (...) {
            failure = DescribedError::describe(std::current_exception());
            return;
        }
        recorderStarted = clock.now();
    });
    QObject::connect(&hotkey, &HotkeyManager::holdStarted, [&](CaptureMode) {
        hud.show(HUDMode::recording(CaptureMode::paste));
        sounds.play(Sounds::Sound::start);
    });
    // Released before the debounce decided: the chord came to nothing, the audio is dropped.
    QObject::connect(&hotkey, &HotkeyManager::captureDisarmed, [&] {
        recorder.stop();
        stopped = true;
    });
    QObject::connect(&hotkey, &HotkeyManager::holdStopped, [&](CaptureMode) {
        hud.hide();
        recorder.stop();
        stopped = true;
    });
    if (!hotkey.start()) {
        std::fprintf(stderr, "bench_hotkey_latency: the X server lacks XInput 2.2 or XTEST\n");
        return 1;
    }

    std::vector<double> total, seen, engaged, starting, filling;
    // The first take opens the sound server's stream and the panel: not counted.
    for (int i = -1; i < repetitions; ++i) {
        keys.fnSeen.reset();
        holdStarted.reset();
        recorderStarted.reset();
        firstBlock.reset();
        stopped = false;

        const double pressed = clock.now();
        XTestFakeKeyEvent(display, rightCtrlKeycode, True, CurrentTime);
        XFlush(display);
        const auto capturedOrFailed = [&] { return firstBlock.has_value() || !failure.isEmpty(); };
        const bool captured = LatencyRun::waitUntil(scheduler, clock, 5, capturedOrFailed);
        XTestFakeKeyEvent(display, rightCtrlKeycode, False, CurrentTime);
        XFlush(display);
        if (!failure.isEmpty() || !captured) {
            std::fprintf(stderr, "bench_hotkey_latency: %s\n",
                         !failure.isEmpty() ? qPrintable(failure)
                         : !holdStarted     ? "the hotkey never armed within 5 s"
                                            : "the microphone delivered nothing within 5 s");
            return 1;
        }
        const auto released = [&stopped] { return stopped; };
        LatencyRun::waitUntil(scheduler, clock, 5, released);
        if (i >= 0) {
            total.push_back(1000 * (*firstBlock - pressed));
            seen.push_back(1000 * (*keys.fnSeen - pressed));
            engaged.push_back(1000 * (*holdStarted - *keys.fnSeen));
            starting.push_back(1000 * (*recorderStarted - *holdStarted));
            filling.push_back(1000 * (*firstBlock - *recorderStarted));
        }
        // Longer than the pill's fade, so every take starts from a hidden HUD.
        LatencyRun::pause(scheduler, clock, 0.4);
    }

    LatencyRun::summary("key-down to first captured sample", total);
    LatencyRun::summary("  key source sees the press", seen);
    LatencyRun::summary("  hotkey engine arms the capture", engaged);
    LatencyRun::summary("  recorder start returns", starting);
    LatencyRun::summary("  first block of samples arrives", filling);
    std::printf("recorder block: %.0f ms of audio at %.0f Hz\n",
                1000.0 * AudioRecorder::blockSeconds, recorder.sampleRate());

    std::vector<double> serverFirst;
    qsizetype frames = 0;
    for (int i = 0; i < std::min(repetitions, 10); ++i) {
        const auto first = firstBytes(scheduler, clock);
        if (!first)
            break;
        serverFirst.push_back(1000 * first->first);
        frames = first->second;
        LatencyRun::pause(scheduler, clock, 0.1);
    }
    if (!serverFirst.empty()) {
        LatencyRun::summary("sound server's first samples, unblocked", serverFirst);
        std::printf("its first read: %lld frames\n", static_cast<long long>(frames));
    }
    hotkey.stop();
    XCloseDisplay(display);
    return 0;
}
