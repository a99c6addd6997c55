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
        // Each callback notes the clock it sees, which must be its own due time.
        auto note = [&](const char *name) {
            return [&, name] { order << QStringLiteral("%1@%2").arg(name).arg(clock.now()); };
        };
        auto late = scheduler.schedule(2.0, note("late"));
        auto first = scheduler.schedule(1.0, note("first"));
        auto second = scheduler.schedule(1.0, note("second"));
        auto immediate = scheduler.schedule(-5.0, note("immediate"));
        scheduler.post([&] {
            note("posted")();
            scheduler.post(note("nested"));
        });
        QVERIFY(order.isEmpty());

        scheduler.advance(0.999);
        QCOMPARE(order, (QStringList{"immediate@10", "posted@10", "nested@10"}));
        scheduler.advance(5.0);
        QCOMPARE(order.mid(3), (QStringList{"first@11", "second@11", "late@12"}));
        QCOMPARE(clock.now(), 15.999);
    }

    void cancelledDroppedAndReplacedTimersNeverFire()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        QStringList fired;
        auto cancelled = scheduler.repeat(1.0, [&] { fired << "cancelled"; });
        std::optional<TimerHandle> dropped = scheduler.schedule(1.0, [&] { fired << "dropped"; });
        TimerHandle replaced = scheduler.schedule(1.0, [&] { fired << "replaced"; });
        replaced = scheduler.schedule(2.0, [&] { fired << "moved in"; });
        cancelled.cancel();
        dropped.reset();
        QCOMPARE(scheduler.pendingCount(), 1);

        scheduler.advance(10.0);
        QCOMPARE(fired, QStringList{"moved in"});
    }

    void callbacksManageTheirOwnTimers()
    {
        ManualClock clock;
        ManualScheduler scheduler(clock);
        QList<double> repeats;
        TimerHandle repeating;
        repeating = scheduler.repeat(1.0, [&] {
            repeats << clock.now();
            if (repeats.size() == 3)
                repeating.cancel();
        });
        QList<double> chain;
        TimerHandle oneShot;
        std::function<void()> tick = [&] {
            chain << clock.now();
            if (chain.size() < 3)
                oneShot = scheduler.schedule(1.5, tick);
        };
        oneShot = scheduler.schedule(1.5, tick);

        scheduler.advance(10.0);
        QCOMPARE(repeats, (QList<double>{1.0, 2.0, 3.0}));
        QCOMPARE(chain, (QList<double>{1.5, 3.0, 4.5}));
        QCOMPARE(scheduler.pendingCount(), 0);
    }

    void wallTimeFollowsMonotonicTime()
    {
        const QDateTime start(QDate(2026, 3, 1), QTime(21, 5, 9));
        ManualClock clock;
        clock.advance(42.0);
        clock.setWallStart(start);
        clock.advance(1.5);
        clock.advance(-100.0);
        QCOMPARE(clock.wallTime(), start.addMSecs(1500));
    }
};

QTEST_GUILESS_MAIN(TestManualScheduler)
#include "TestManualScheduler.moc"
