#include "core/ManualClock.h"
#include "core/ManualScheduler.h"

#include <QTest>

#include <optional>

class TestManualScheduler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsByDueTimeThenSchedulingOrder();
    void callbacksSeeTheirDueTime();
    void repeatingTimerFiresSeveralTimesInOneAdvance();
    void cancelStopsTimer_data();
    void cancelStopsTimer();
    void replacingHandleCancelsPreviousTimer();
    void movedHandleKeepsTimerAlive();
    void callbackCancelsItsOwnRepeatingTimer();
    void callbackReschedulesItself();
    void postRunsOnRunPendingNotInsideCaller();
    void wallTimeFollowsMonotonicTime();
};

void TestManualScheduler::runsByDueTimeThenSchedulingOrder()
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    QStringList order;
    auto late = scheduler.schedule(2.0, [&] { order << "late"; });
    auto first = scheduler.schedule(1.0, [&] { order << "first"; });
    auto second = scheduler.schedule(1.0, [&] { order << "second"; });
    auto immediate = scheduler.schedule(-5.0, [&] { order << "immediate"; });
    QCOMPARE(scheduler.pendingCount(), 4);

    scheduler.advance(0.999);
    QCOMPARE(order, QStringList{"immediate"});
    scheduler.advance(1.0);
    QCOMPARE(order, (QStringList{"immediate", "first", "second"}));
    QCOMPARE(scheduler.pendingCount(), 1);
    scheduler.advance(1.0);
    QCOMPARE(order, (QStringList{"immediate", "first", "second", "late"}));
    QCOMPARE(scheduler.pendingCount(), 0);
    QVERIFY(!first.isActive());
}

void TestManualScheduler::callbacksSeeTheirDueTime()
{
    ManualClock clock;
    clock.setNow(10.0);
    ManualScheduler scheduler(clock);
    QList<double> seen;
    auto a = scheduler.schedule(0.5, [&] { seen << clock.now(); });
    auto b = scheduler.schedule(2.0, [&] { seen << clock.now(); });

    scheduler.advance(5.0);
    QCOMPARE(seen, (QList<double>{10.5, 12.0}));
    QCOMPARE(clock.now(), 15.0);
}

void TestManualScheduler::repeatingTimerFiresSeveralTimesInOneAdvance()
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

void TestManualScheduler::cancelStopsTimer_data()
{
    QTest::addColumn<bool>("repeating");
    QTest::addColumn<bool>("dropHandle");
    QTest::newRow("one-shot, cancel()") << false << false;
    QTest::newRow("one-shot, handle dropped") << false << true;
    QTest::newRow("repeating, cancel()") << true << false;
    QTest::newRow("repeating, handle dropped") << true << true;
}

void TestManualScheduler::cancelStopsTimer()
{
    QFETCH(bool, repeating);
    QFETCH(bool, dropHandle);
    ManualClock clock;
    ManualScheduler scheduler(clock);
    int fired = 0;
    std::optional<TimerHandle> handle;
    handle = repeating ? scheduler.repeat(1.0, [&] { ++fired; })
                       : scheduler.schedule(1.0, [&] { ++fired; });
    QCOMPARE(scheduler.pendingCount(), 1);

    if (dropHandle)
        handle.reset();
    else
        handle->cancel();
    QCOMPARE(scheduler.pendingCount(), 0);
    scheduler.advance(10.0);
    QCOMPARE(fired, 0);
}

void TestManualScheduler::replacingHandleCancelsPreviousTimer()
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    QStringList fired;
    TimerHandle handle = scheduler.schedule(1.0, [&] { fired << "old"; });
    handle = scheduler.schedule(2.0, [&] { fired << "new"; });

    scheduler.advance(3.0);
    QCOMPARE(fired, QStringList{"new"});
}

void TestManualScheduler::movedHandleKeepsTimerAlive()
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    int fired = 0;
    TimerHandle kept;
    {
        TimerHandle temporary = scheduler.schedule(1.0, [&] { ++fired; });
        kept = std::move(temporary);
    }
    QVERIFY(kept.isActive());
    scheduler.advance(1.0);
    QCOMPARE(fired, 1);
    QVERIFY(!kept.isActive());
}

void TestManualScheduler::callbackCancelsItsOwnRepeatingTimer()
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    int fired = 0;
    TimerHandle handle;
    handle = scheduler.repeat(1.0, [&] {
        if (++fired == 2)
            handle.cancel();
    });

    scheduler.advance(10.0);
    QCOMPARE(fired, 2);
    QCOMPARE(scheduler.pendingCount(), 0);
}

void TestManualScheduler::callbackReschedulesItself()
{
    ManualClock clock;
    ManualScheduler scheduler(clock);
    QList<double> runs;
    TimerHandle handle;
    std::function<void()> tick = [&] {
        runs << clock.now();
        if (runs.size() < 3)
            handle = scheduler.schedule(1.0, tick);
    };
    handle = scheduler.schedule(1.0, tick);

    scheduler.advance(10.0);
    QCOMPARE(runs, (QList<double>{1.0, 2.0, 3.0}));
    QVERIFY(!handle.isActive());
}

void TestManualScheduler::postRunsOnRunPendingNotInsideCaller()
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
    QCOMPARE(order, (QStringList{"caller done", "posted", "posted done", "posted from posted"}));
    QCOMPARE(clock.now(), 0.0);
    QCOMPARE(scheduler.pendingCount(), 0);
}

void TestManualScheduler::wallTimeFollowsMonotonicTime()
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

QTEST_GUILESS_MAIN(TestManualScheduler)
#include "TestManualScheduler.moc"
