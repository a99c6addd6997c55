#include "core/ManualClock.h"
#include "core/ManualScheduler.h"

#include <QTest>

#include <optional>

class TestManualScheduler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsByDueTimeThenSchedulingOrder()
    {
        ManualClock clock;
        clock.setNow(10.0);
        ManualScheduler scheduler(clock);
        QStringList order;
        QList<double> times;
        auto note = [&](const char *name) {
            return [&, name] {
                order << name;
                times << clock.now();
            };
        };
        auto late = scheduler.schedule(2.0, note("late"));
        auto first = scheduler.schedule(1.0, note("first"));
        auto second = scheduler.schedule(1.0, note("second"));
        auto immediate = scheduler.schedule(-5.0, note("immediate"));
        QCOMPARE(scheduler.pendingCount(), 4);

        scheduler.advance(0.999);
        QCOMPARE(order, QStringList{"immediate"});
        scheduler.advance(5.0);
        QCOMPARE(order, (QStringList{"immediate", "first", "second", "late"}));
        // Each callback sees the clock at its own due time.
        QCOMPARE(times, (QList<double>{10.0, 11.0, 11.0, 12.0}));
        QCOMPARE(clock.now(), 15.999);
        QCOMPARE(scheduler.pendingCount(), 0);
        QVERIFY(!first.isActive());
    }

    void repeatingTimerFiresSeveralTimesInOneAdvance()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        QList<double> ticks;
        auto handle = scheduler.repeat(1.0, [&] { ticks << clock.now(); });

        scheduler.advance(3.5);
        QCOMPARE(ticks, (QList<double>{1.0, 2.0, 3.0}));
        QVERIFY(handle.isActive());
        QCOMPARE(scheduler.pendingCount(), 1);
        scheduler.advance(0.5);
        QCOMPARE(ticks.size(), 4);
    }

    void cancelledTimersNeverFire()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        int fired = 0;
        auto cancelled = scheduler.repeat(1.0, [&] { ++fired; });
        std::optional<TimerHandle> dropped = scheduler.schedule(1.0, [&] { ++fired; });
        QCOMPARE(scheduler.pendingCount(), 2);

        cancelled.cancel();
        dropped.reset();
        QCOMPARE(scheduler.pendingCount(), 0);
        scheduler.advance(10.0);
        QCOMPARE(fired, 0);
        QVERIFY(!cancelled.isActive());
    }

    void handleOwnershipMoves()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        QStringList fired;
        TimerHandle handle = scheduler.schedule(1.0, [&] { fired << "replaced"; });
        {
            TimerHandle temporary = scheduler.schedule(2.0, [&] { fired << "moved"; });
            handle = std::move(temporary);
        }
        QVERIFY(handle.isActive());
        scheduler.advance(3.0);
        QCOMPARE(fired, QStringList{"moved"});
    }

    void callbackManagesItsOwnTimer()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        int repeats = 0;
        TimerHandle repeating;
        repeating = scheduler.repeat(1.0, [&] {
            if (++repeats == 2)
                repeating.cancel();
        });
        QList<double> chain;
        TimerHandle oneShot;
        std::function<void()> tick = [&] {
            chain << clock.now();
            if (chain.size() < 3)
                oneShot = scheduler.schedule(1.0, tick);
        };
        oneShot = scheduler.schedule(1.0, tick);

        scheduler.advance(10.0);
        QCOMPARE(repeats, 2);
        QCOMPARE(chain, (QList<double>{1.0, 2.0, 3.0}));
        QCOMPARE(scheduler.pendingCount(), 0);
    }

    void postRunsOnRunPendingNotInsideCaller()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        QStringList order;
        scheduler.post([&] {
            order << "posted";
            scheduler.post([&] { order << "posted from posted"; });
            order << "posted done";
        });
        order << "caller done";
        QCOMPARE(scheduler.pendingCount(), 1);

        scheduler.runPending();
        QCOMPARE(order,
                 (QStringList{"caller done", "posted", "posted done", "posted from posted"}));
        QCOMPARE(clock.now(), 0.0);
        QCOMPARE(scheduler.pendingCount(), 0);
    }

    void wallTimeFollowsMonotonicTime()
    {
        const QDateTime start(QDate(2026, 3, 1), QTime(21, 5, 9));
        ManualClock clock;
        clock.advance(42.0);
        clock.setWallStart(start);
        QCOMPARE(clock.wallTime(), start);

        clock.advance(1.5);
        clock.advance(-100.0);
        QCOMPARE(clock.wallTime(), start.addMSecs(1500));
    }
};

QTEST_GUILESS_MAIN(TestManualScheduler)
#include "TestManualScheduler.moc"
