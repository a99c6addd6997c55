// The streamed answer reaches its callbacks while the backend is still writing.
#include "BackendRig.h"

class TestBackendStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void deltasArriveWhileTheStreamIsOpen()
    {
        BackendRig rig;
        rig.server.on("POST", "/ask")
            .line({{"delta", "The "}})
            .hold()
            .line({{"delta", "meeting is at 3."}})
            .line({{"action", QJsonObject{{"type", "open_app"}, {"name", "Calendar"}}}}, 5)
            .line({{"answer", "The meeting is at 3."}});
        QStringList events;
        QCoro::Task<QString> task = rig.backend.ask(
            "When?", {}, {}, [&](const QString &delta) { events << "delta " + delta; },
            [&](const QString &type, const QString &name) { events << type + " " + name; });

        QTRY_COMPARE(events, QStringList{"delta The "});
        QVERIFY(rig.server.isHolding());
        QVERIFY(!task.isReady());

        rig.server.release();
        const auto outcome = rig.run(std::move(task));
        VERIFY_SUCCEEDED(outcome);
        QCOMPARE(*outcome.value, QStringLiteral("The meeting is at 3."));
        QCOMPARE(events,
                 (QStringList{"delta The ", "delta meeting is at 3.", "open_app Calendar"}));
    }
};

QTEST_GUILESS_MAIN(TestBackendStream)
#include "TestBackendStream.moc"
