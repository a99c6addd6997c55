#include "core/QtScheduler.h"

#include <QTest>

class TestQtScheduler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneShotFiresOnceOnlyWhileItsHandleAndSchedulerLive()
    {
        QStringList fired;
        // The temporary scheduler is destroyed while its timer is still pending.
        TimerHandle orphan = QtScheduler().schedule(0.0, [&] { fired << "orphan"; });
        QtScheduler scheduler;
        {
            TimerHandle dropped = scheduler.schedule(0.0, [&] { fired << "dropped"; });
        }
        TimerHandle kept = scheduler.schedule(0.0, [&] { fired << "kept"; });
        // Even a zero delay waits for the event loop.
        QVERIFY(fired.isEmpty());
        QTest::qWait(30);
        QCOMPARE(fired, QStringList{"kept"});
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
    }

    void postNeverRunsInsideCaller()
    {
        QtScheduler scheduler;
        QStringList order;
        scheduler.post([&] {
            order << "first";
            scheduler.post([&] { order << "nested"; });
        });
        scheduler.post([&] { order << "second"; });
        QVERIFY(order.isEmpty());
        QTRY_COMPARE(order, (QStringList{"first", "second", "nested"}));
    }
};

QTEST_GUILESS_MAIN(TestQtScheduler)
#include "TestQtScheduler.moc"
