#include "core/QtScheduler.h"

#include <QTest>

class TestQtScheduler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scheduledCallbackFiresOnceOnEventLoop()
    {
        QtScheduler scheduler;
        int fired = 0;
        TimerHandle handle = scheduler.schedule(0.0, [&] { ++fired; });
        // Even a zero delay waits for the event loop.
        QCOMPARE(fired, 0);
        QTRY_COMPARE(fired, 1);
        QVERIFY(!handle.isActive());
        QTest::qWait(30);
        QCOMPARE(fired, 1);
    }

    void droppedHandleNeverFires()
    {
        QtScheduler scheduler;
        bool droppedFired = false;
        bool keptFired = false;
        {
            TimerHandle dropped = scheduler.schedule(0.01, [&] { droppedFired = true; });
        }
        TimerHandle kept = scheduler.schedule(0.03, [&] { keptFired = true; });

        QTRY_VERIFY(keptFired);
        QVERIFY(!droppedFired);
    }

    void repeatingTimerRunsUntilCancelled()
    {
        QtScheduler scheduler;
        int fired = 0;
        TimerHandle handle;
        handle = scheduler.repeat(0.005, [&] {
            if (++fired == 3)
                handle.cancel();
        });

        QTRY_COMPARE(fired, 3);
        QTest::qWait(50);
        QCOMPARE(fired, 3);
        QVERIFY(!handle.isActive());
    }

    void postNeverRunsInsideCaller()
    {
        QtScheduler scheduler;
        QStringList order;
        scheduler.post([&] {
            order << "first";
            scheduler.post([&] { order << "nested"; });
            order << "first done";
        });
        scheduler.post([&] { order << "second"; });
        QVERIFY(order.isEmpty());

        QTRY_COMPARE(order.size(), 4);
        QCOMPARE(order, (QStringList{"first", "first done", "second", "nested"}));
    }

    void handleOutlivingSchedulerIsHarmless()
    {
        bool fired = false;
        TimerHandle handle;
        {
            QtScheduler scheduler;
            handle = scheduler.schedule(0.0, [&] { fired = true; });
        }
        QTest::qWait(20);
        QVERIFY(!fired);
        handle.cancel();
    }
};

QTEST_GUILESS_MAIN(TestQtScheduler)
#include "TestQtScheduler.moc"
