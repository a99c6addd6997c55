#include "core/CancellationToken.h"

#include <QTest>

class TestCancellationToken : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copiesShareStateAndHandlersRunOnce()
    {
        CancellationToken owner;
        CancellationToken task = owner;
        QStringList calls;
        task.onCancel([&] { calls << "abort reply"; });
        owner.onCancel([&] { calls << "stop timer"; });
        QVERIFY(!task.isCancelled());

        owner.cancel();
        QVERIFY(task.isCancelled());
        task.cancel();
        owner.cancel();
        QCOMPARE(calls, (QStringList{"abort reply", "stop timer"}));
    }

    void handlerRegisteredAfterCancelRunsAtOnce()
    {
        CancellationToken token;
        int outer = 0;
        int inner = 0;
        // A handler that registers another one while cancellation is in progress.
        token.onCancel([&] {
            ++outer;
            token.onCancel([&] { ++inner; });
        });
        token.cancel();
        QCOMPARE(outer, 1);
        QCOMPARE(inner, 1);

        bool late = false;
        token.onCancel([&] { late = true; });
        QVERIFY(late);
        token.cancel();
        QCOMPARE(outer, 1);
        QCOMPARE(inner, 1);
    }
};

QTEST_GUILESS_MAIN(TestCancellationToken)
#include "TestCancellationToken.moc"
