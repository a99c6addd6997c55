// A streamed answer delta to the answer card painted with it, on the session's X server: the
// HUD opens a card as an Ask AI answer starts, then every delta is timed from the call that
// appends it to the swap of the first frame whose answer text ends with it. Prints the median
// and p95. The panels are drawn as the application draws them (the software scene graph
// unless a renderer is asked for in the environment).
// Usage: bench_hud_latency [deltas, default 40]   (needs DISPLAY)
#include "LatencyRun.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "desktop/FloatingPanel.h"
#include "desktop/QtScreens.h"
#include "hud/QuickHUDPanel.h"
#include "hud/RecordingHUD.h"
#include "platform/linux/X11WindowSystem.h"
#include "stores/HistoryStore.h"

#include <QApplication>
#include <QQuickItem>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

namespace {

int fail(const char *why)
{
    std::fprintf(stderr, "bench_hud_latency: %s\n", why);
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    LatencyRun::useApplicationRenderer();
    QApplication app(argc, argv);
    const int deltas = argc > 1 ? std::atoi(argv[1]) : 40;
    if (deltas < 1) {
        std::fprintf(stderr, "usage: bench_hud_latency [deltas]\n");
        return 2;
    }

    SystemClock clock;
    QtScheduler scheduler;
    QtScreens screens;
    if (!screens.activeScreen())
        return fail("no screen (DISPLAY is not set)");
    X11WindowSystem compositor;
    QuickHUDPanel panel(nullptr, screens, scheduler, &compositor);
    RecordingHUD hud(panel, screens, clock, scheduler, HistoryStore::shared());

    hud.startStreaming(QStringLiteral("What should I say in the launch update?"));
    FloatingPanel *window = panel.window();
    QQuickItem *answer =
        window ? window->rootObject()->findChild<QQuickItem *>(QStringLiteral("answerText"))
               : nullptr;
    if (!answer)
        return fail("the answer card has no answer text");
    if (!LatencyRun::waitUntil(scheduler, clock, 5, [window] { return window->isExposed(); }))
        return fail("the card was never shown");
    // Past the fade-in, so every delta meets a card at rest.
    LatencyRun::pause(scheduler, clock, 0.5);

    QString expected;
    std::optional<double> painted;
    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [&] {
            if (!painted && answer->property("text").toString().endsWith(expected))
                painted = clock.now();
        },
        Qt::DirectConnection);

    std::vector<double> latency;
    for (int i = 0; i < deltas; ++i) {
        // Words of varying length, as a model streams them; now and then a new paragraph.
        const QString delta = (i % 9 == 8 ? QStringLiteral("\n") : QStringLiteral(" ")) +
                              QStringLiteral("word%1").arg(i * 37 % 1000);
        expected = delta.trimmed();
        painted.reset();
        const double appended = clock.now();
        hud.appendStreaming(delta);
        if (!LatencyRun::waitUntil(scheduler, clock, 5, [&] { return painted.has_value(); }))
            return fail("no frame showed the delta within 5 s");
        latency.push_back(1000 * (*painted - appended));
        // About the pace of a model's tokens.
        LatencyRun::pause(scheduler, clock, 0.03);
    }
    LatencyRun::summary("stream delta to painted card", latency);
    return 0;
}
