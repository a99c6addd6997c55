#include "core/CancellationToken.h"

#include <QTest>

class TestCancellationToken : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copiesShareState();
    void handlersRunOnce();
    void handlerRegisteredAfterCancelRunsAtOnce();
};

void TestCancellationToken::copiesShareState()
{
    CancellationToken owner;
    const CancellationToken task = owner;
    QVERIFY(!task.isCancelled());
    owner.cancel();
    QVERIFY(task.isCancelled());
}

void TestCancellationToken::handlersRunOnce()
{
    CancellationToken owner;
    CancellationToken task = owner;
    QStringList calls;
    task.onCancel([&] { calls << "abort reply"; });
    owner.onCancel([&] { calls << "stop timer"; });

    owner.cancel();
    task.cancel();
    owner.cancel();
    QCOMPARE(calls, (QStringList{"abort reply", "stop timer"}));
}

void TestCancellationToken::handlerRegisteredAfterCancelRunsAtOnce()
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

QTEST_GUILESS_MAIN(TestCancellationToken)
#include "TestCancellationToken.moc"
