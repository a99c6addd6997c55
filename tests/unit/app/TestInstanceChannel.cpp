// One instance per user: forwarding, stale sockets, misbehaving clients.
#include "app/InstanceChannel.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QtEndian>

#include <memory>

class TestInstanceChannel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_names = 0;

    QString uniqueName() { return m_dir.filePath(QStringLiteral("s%1").arg(++m_names)); }

    // forward() blocks its thread, so it runs on another while this one serves the listener.
    static bool forwardFromThread(const QString &name, const QStringList &arguments)
    {
        bool delivered = false;
        std::unique_ptr<QThread> thread(
            QThread::create([&] { delivered = InstanceChannel(name).forward(arguments); }));
        thread->start();
        const bool finished = QTest::qWaitFor([&] { return thread->isFinished(); }, 5000);
        thread->wait();
        return finished && delivered;
    }

private Q_SLOTS:
    void oneListenerReceivesForwardedArguments()
    {
        const QString name = uniqueName();
        InstanceChannel channel(name), another(name);
        QSignalSpy received(&channel, &InstanceChannel::argumentsReceived);
        QVERIFY(channel.listen());
        QVERIFY(!another.listen());

        QVERIFY(forwardFromThread(name, {QStringLiteral("ovrin://auth?token=T")}));
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.at(0).at(0).toStringList(), QStringList{"ovrin://auth?token=T"});

        const QStringList odd{QStringLiteral("ovrin"), QString(), QStringLiteral("ünï \"x\"")};
        QVERIFY(forwardFromThread(name, odd));
        QCOMPARE(received.at(1).at(0).toStringList(), odd);
    }

    void leftoverSocketFileIsReplaced()
    {
        const QString name = uniqueName();
        QFile leftover(name);
        QVERIFY(leftover.open(QIODevice::WriteOnly));
        leftover.close();

        QElapsedTimer elapsed;
        elapsed.start();
        QVERIFY(!InstanceChannel(name).forward({}));
        QVERIFY(!InstanceChannel(uniqueName()).forward({}));
        QVERIFY(elapsed.elapsed() < 1000);

        InstanceChannel channel(name);
        QVERIFY(channel.listen());
        QVERIFY(forwardFromThread(name, {}));
    }

    void misbehavingClientsDoNotBreakTheListener()
    {
        const QString name = uniqueName();
        InstanceChannel channel(name);
        QSignalSpy received(&channel, &InstanceChannel::argumentsReceived);
        QVERIFY(channel.listen());

        QLocalSocket silent, oversized, malformed;
        for (QLocalSocket *client : {&silent, &oversized, &malformed}) {
            client->connectToServer(name);
            QVERIFY(client->waitForConnected(1000));
        }
        oversized.write(QByteArray(4, '\xff'));
        QByteArray notJson(4, '\0');
        qToBigEndian<quint32>(5, notJson.data());
        malformed.write(notJson + "[1, 2");
        QTest::ignoreMessage(QtWarningMsg, "InstanceChannel: dropping a 4294967295-byte message");
        QTest::ignoreMessage(QtWarningMsg, "InstanceChannel: dropping a malformed message");
        QTRY_COMPARE(oversized.state(), QLocalSocket::UnconnectedState);
        QTRY_COMPARE(malformed.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(oversized.bytesAvailable() + malformed.bytesAvailable(), 0);

        QVERIFY(forwardFromThread(name, {QStringLiteral("toggle")}));
        QCOMPARE(received.size(), 1);
        QCOMPARE(silent.state(), QLocalSocket::ConnectedState);
    }
};

QTEST_GUILESS_MAIN(TestInstanceChannel)
#include "TestInstanceChannel.moc"
