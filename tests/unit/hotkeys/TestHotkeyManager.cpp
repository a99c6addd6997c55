// Hold gestures, chord debounce and hands-free, driven by a fake key source and clock.
#include "core/ManualScheduler.h"
#include "hotkeys/HotkeyManager.h"

#include <QTest>

namespace {

using Flags = Shortcut::Flags;
constexpr Flags fn = Shortcut::fn, ctrl = Shortcut::control, opt = Shortcut::option,
                shift = Shortcut::shift, cmd = Shortcut::command;
constexpr int keyD = 2;

struct FakeKeySource : KeyEventSource
{
    Handler handler;
    int starts = 0;
    Flags held = 0; // what the keyboard holds now
    QList<Combo> swallowed;

    bool start(Handler h) override
    {
        ++starts;
        handler = std::move(h);
        return true;
    }
    void stop() override { handler = {}; }
    std::uint64_t currentModifierFlags() const override { return held; }
    void setSwallowedCombos(QList<Combo> combos) override { swallowed = std::move(combos); }
};

struct Rig
{
    ManualClock clock;
    ManualScheduler scheduler{clock};
    FakeKeySource source;
    HotkeyManager manager{source, clock, scheduler};
    QStringList events;
    QStringList armings; // apart, so the gestures read as before

    Rig()
    {
        QObject::connect(&manager, &HotkeyManager::captureArmed, [this] { armings << "armed"; });
        QObject::connect(&manager, &HotkeyManager::captureDisarmed,
                         [this] { armings << "disarmed"; });
        QObject::connect(&manager, &HotkeyManager::holdStarted,
                         [this](CaptureMode m) { events << "start " + captureModeName(m); });
        QObject::connect(&manager, &HotkeyManager::holdStopped,
                         [this](CaptureMode m) { events << "stop " + captureModeName(m); });
        QObject::connect(&manager, &HotkeyManager::handsFreeStarted,
                         [this] { events << "hands-free"; });
        QObject::connect(&manager, &HotkeyManager::handsFreeStopped,
                         [this] { events << "hands-free end"; });
        manager.start();
    }
    void flags(Flags f)
    {
        source.held = f;
        source.handler({KeyEventSource::Type::flagsChanged, -1, f});
        scheduler.runPending();
    }
    bool key(KeyEventSource::Type type, int code)
    {
        const bool ours = source.handler({type, code, source.held});
        scheduler.runPending();
        return ours;
    }
    void wait(double seconds) { scheduler.advance(seconds); }
};

} // namespace

class TestHotkeyManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fnAloneWaitsForTheDebounce()
    {
        Rig rig;
        rig.flags(fn);
        rig.wait(0.1);
        rig.flags(0);
        rig.wait(1);
        QVERIFY(rig.events.isEmpty()); // a tap shorter than the debounce

        rig.flags(fn);
        rig.wait(0.14);
        QVERIFY(rig.events.isEmpty());
        rig.wait(0.02);
        QCOMPARE(rig.events, QStringList{"start paste"});
        rig.flags(0);
        QCOMPARE(rig.events, (QStringList{"start paste", "stop paste"}));
    }

    void recordingMayBeginAtKeyDown()
    {
        // A tap shorter than the debounce: armed at once, disarmed when the debounce finds
        // nothing held.
        Rig rig;
        rig.flags(fn);
        QCOMPARE(rig.armings, QStringList{"armed"});
        rig.wait(0.1);
        rig.flags(0);
        QCOMPARE(rig.armings, QStringList{"armed"});
        rig.wait(0.06);
        QCOMPARE(rig.armings, (QStringList{"armed", "disarmed"}));
        QVERIFY(rig.events.isEmpty());

        // Held on: the hold takes the arming over, nothing is disarmed; the chord growing
        // towards Ask arms once.
        rig.armings.clear();
        rig.flags(fn);
        rig.wait(0.05);
        rig.flags(fn | ctrl);
        rig.wait(0.16);
        QCOMPARE(rig.armings, QStringList{"armed"});
        QCOMPARE(rig.events, QStringList{"start ask"});
        rig.flags(0);
        rig.wait(1);
        QCOMPARE(rig.armings, QStringList{"armed"});

        // The longest chord engages at once once reached; a combination key never arms.
        rig.armings.clear();
        rig.flags(fn);
        rig.flags(fn | ctrl | opt);
        QCOMPARE(rig.events.last(), QStringLiteral("start screen"));
        rig.flags(0);
        rig.wait(1);
        QCOMPARE(rig.armings, QStringList{"armed"});

        // Stopping forgets the arming without a word (the session limits its own).
        rig.armings.clear();
        rig.flags(fn);
        rig.manager.stop();
        rig.wait(1);
        QCOMPARE(rig.armings, QStringList{"armed"});
    }

    void releasingPartOfAChordEndsItWithoutStartingTheShorterOne()
    {
        Rig rig;
        rig.flags(fn);
        rig.wait(0.05);
        rig.flags(fn | ctrl); // reschedules: ask, 0.15 s after control
        rig.wait(0.14);
        QVERIFY(rig.events.isEmpty());
        rig.wait(0.02);
        QCOMPARE(rig.events, QStringList{"start ask"});
        rig.flags(fn);
        rig.wait(1);
        QCOMPARE(rig.events, (QStringList{"start ask", "stop ask"}));
        rig.flags(fn | ctrl);
        rig.wait(0.16);
        QCOMPARE(rig.events.last(), QStringLiteral("start ask"));
        rig.flags(fn | ctrl | opt); // pressing more while engaged changes nothing
        QCOMPARE(rig.events.size(), 3);
    }

    void longestChordEngagesAtOnce()
    {
        Rig rig;
        rig.flags(fn | ctrl | opt);
        QCOMPARE(rig.events, QStringList{"start screen"});
    }

    void keyCombination()
    {
        Rig rig;
        rig.manager.setShortcut(CaptureMode::paste, Shortcut(opt | cmd, keyD, "D"));
        QCOMPARE(rig.source.swallowed, (QList<KeyEventSource::Combo>{{keyD, opt | cmd}}));
        rig.flags(opt | cmd | shift);
        QVERIFY(!rig.key(KeyEventSource::Type::keyDown, keyD)); // extra shift: no match
        rig.flags(opt | cmd);
        QVERIFY(rig.key(KeyEventSource::Type::keyDown, keyD));
        QVERIFY(rig.key(KeyEventSource::Type::keyDown, keyD)); // auto-repeat
        QVERIFY(!rig.key(KeyEventSource::Type::keyDown, 3));   // other keys pass
        QVERIFY(rig.key(KeyEventSource::Type::keyUp, keyD));
        QCOMPARE(rig.events, (QStringList{"start paste", "stop paste"}));

        // Letting go of a modifier first ends it there; the key-up then passes.
        QVERIFY(rig.key(KeyEventSource::Type::keyDown, keyD));
        rig.flags(cmd);
        QCOMPARE(rig.events.last(), QStringLiteral("stop paste"));
        QVERIFY(!rig.key(KeyEventSource::Type::keyUp, keyD));
        QCOMPARE(rig.events.size(), 4);
    }

    void quickCombinationLeavesThePendingChord()
    {
        Rig rig;
        rig.manager.setShortcut(CaptureMode::screen, Shortcut(fn, keyD, "D"));
        rig.flags(fn); // paste waits: fn is a prefix of ask's fn+control
        QVERIFY(rig.key(KeyEventSource::Type::keyDown, keyD));
        rig.wait(0.05);
        QVERIFY(rig.key(KeyEventSource::Type::keyUp, keyD));
        rig.wait(0.11);
        QCOMPARE(rig.events, (QStringList{"start screen", "stop screen", "start paste"}));
    }

    void sameShortcutTwicePrefersScreen()
    {
        Rig rig;
        rig.manager.setShortcut(CaptureMode::paste, Shortcut(ctrl | shift));
        rig.manager.setShortcut(CaptureMode::screen, Shortcut(ctrl | shift));
        rig.flags(ctrl | shift);
        QCOMPARE(rig.events, QStringList{"start screen"});
    }

    void handsFree_data()
    {
        QTest::addColumn<double>("gap");
        QTest::addColumn<bool>("fnFree");
        QTest::addColumn<bool>("expected");
        QTest::newRow("0.3 s") << 0.3 << true << true;
        QTest::newRow("0.5 s") << 0.5 << true << false;
        QTest::newRow("fn in use") << 0.3 << false << false;
    }

    void handsFree()
    {
        QFETCH(double, gap);
        QFETCH(bool, fnFree);
        QFETCH(bool, expected);
        Rig rig;
        rig.manager.setShortcut(CaptureMode::paste, Shortcut(opt | cmd, keyD, "D"));
        if (fnFree) {
            rig.manager.setShortcut(CaptureMode::ask, Shortcut(ctrl | shift));
            rig.manager.setShortcut(CaptureMode::screen, Shortcut(ctrl | opt));
        }
        rig.wait(5);
        rig.flags(fn);
        rig.flags(0);
        rig.wait(gap);
        rig.flags(fn);
        rig.flags(0);
        QCOMPARE(rig.manager.handsFreeActive(), expected);
        if (!expected)
            return;
        QCOMPARE(rig.events, QStringList{"hands-free"});
        rig.flags(ctrl | shift); // no shortcut while hands-free runs
        rig.flags(0);
        rig.wait(1);
        rig.flags(fn);
        QCOMPARE(rig.events, (QStringList{"hands-free", "hands-free end"}));
    }

    void startOnceStopSilently()
    {
        Rig rig;
        QVERIFY(rig.manager.start());
        QCOMPARE(rig.source.starts, 1);
        rig.flags(fn | ctrl | opt);
        rig.manager.stop();
        rig.wait(1);
        QCOMPARE(rig.events, QStringList{"start screen"}); // no stop fired
        QVERIFY(!rig.manager.engaged());
    }

    void callbacksNeverRunInsideTheEvent()
    {
        Rig rig;
        rig.source.held = fn | ctrl | opt;
        rig.source.handler({KeyEventSource::Type::flagsChanged, -1, rig.source.held});
        QVERIFY(rig.events.isEmpty());
        rig.scheduler.runPending();
        QCOMPARE(rig.events, QStringList{"start screen"});
    }
};

QTEST_GUILESS_MAIN(TestHotkeyManager)
#include "TestHotkeyManager.moc"
