// The connections page's model against a scripted backend: the offered apps, connecting
// through the browser and waiting for the approval, disconnecting, and failures.
#include "backend/Backend.h"
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "support/FakeBackendServer.h"
#include "ui/ConnectionsModel.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QTest>

namespace {

QJsonObject apps(bool calendarConnected, bool emailConnected = false)
{
    return {{"apps", QJsonArray{QJsonObject{{"slug", "calendar"},
                                            {"label", "Work calendar"},
                                            {"connected", calendarConnected}},
                                QJsonObject{{"slug", "email"},
                                            {"label", "Email"},
                                            {"connected", emailConnected}}}}};
}

QVariantMap row(const ConnectionsModel &model, const QString &slug)
{
    for (const QVariant &app : model.apps()) {
        if (app.toMap().value("slug") == slug)
            return app.toMap();
    }
    return {};
}

QStringList slugs(const ConnectionsModel &model)
{
    QStringList list;
    for (const QVariant &app : model.apps())
        list << app.toMap().value("slug").toString();
    return list;
}

} // namespace

class TestConnectionsModel : public QObject
{
    Q_OBJECT

    FakeBackendServer m_server;
    ManualClock m_clock;
    ManualScheduler m_scheduler{m_clock};
    std::unique_ptr<Backend> m_backend;
    std::unique_ptr<ConnectionsModel> m_model;
    QList<QUrl> m_opened;
    bool m_browserWorks = true;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_server.listen());
        m_backend = std::make_unique<Backend>(m_server.baseURL(), &m_clock);
        ConnectionsModel::setUrlOpener([this](const QUrl &url) {
            m_opened << url;
            return m_browserWorks;
        });
    }

    void init()
    {
        m_opened.clear();
        m_browserWorks = true;
        m_model = std::make_unique<ConnectionsModel>(*m_backend, m_scheduler);
    }

    void offersAppsBeforeAndBesideTheBackendsOwn()
    {
        QCOMPARE(slugs(*m_model), (QStringList{"email", "calendar", "messages"}));
        m_server.on("GET", "/connections").json(apps(true));
        m_model->refresh();
        QTRY_VERIFY(row(*m_model, "calendar").value("connected").toBool());
        // The backend's apps in its order and with its labels, then the rest offered.
        QCOMPARE(slugs(*m_model), (QStringList{"calendar", "email", "messages"}));
        QCOMPARE(row(*m_model, "calendar").value("label").toString(),
                 QStringLiteral("Work calendar"));
        QCOMPARE(m_model->loadError(), QString());
    }

    void connectingWaitsForTheApproval()
    {
        m_server.on("GET", "/connections").json(apps(false));
        m_server.on("POST", "/connections/email/connect")
            .json({{"redirectUrl", "https://provider.example/consent?x=1"}});
        m_model->connectApp("email");
        QTRY_COMPARE(m_model->waitingFor(), QStringLiteral("email"));
        QCOMPARE(m_opened, (QList<QUrl>{QUrl("https://provider.example/consent?x=1")}));
        QVERIFY(row(*m_model, "email").value("waiting").toBool());

        const int before = m_server.requestCount();
        m_scheduler.advance(ConnectionsModel::pollInterval);
        QTRY_COMPARE(m_server.requestCount(), before + 1);
        QCOMPARE(m_server.lastRequest().path, QStringLiteral("/connections"));
        QCOMPARE(m_model->waitingFor(), QStringLiteral("email"));

        m_server.on("GET", "/connections").json(apps(false, true));
        m_scheduler.advance(ConnectionsModel::pollInterval);
        QTRY_COMPARE(m_model->waitingFor(), QString());
        QVERIFY(row(*m_model, "email").value("connected").toBool());
        // Polling has stopped.
        const int after = m_server.requestCount();
        m_scheduler.advance(10 * ConnectionsModel::pollInterval);
        QTest::qWait(50);
        QCOMPARE(m_server.requestCount(), after);
    }

    void waitingGivesUpAfterTheLimit()
    {
        m_server.on("GET", "/connections").json(apps(false));
        m_server.on("POST", "/connections/email/connect")
            .json({{"redirectUrl", "https://provider.example/consent"}});
        m_model->connectApp("email");
        QTRY_COMPARE(m_model->waitingFor(), QStringLiteral("email"));
        for (double waited = 0; waited < ConnectionsModel::pollLimit;
             waited += ConnectionsModel::pollInterval)
            m_scheduler.advance(ConnectionsModel::pollInterval);
        QCOMPARE(m_model->waitingFor(), QString());
    }

    void failuresAreShownInWords()
    {
        m_server.on("POST", "/connections/email/connect")
            .status(501)
            .json({{"error", "No connection provider is configured on this server."}});
        m_model->connectApp("email");
        QTRY_VERIFY(!m_model->loadError().isEmpty());
        QVERIFY2(m_model->loadError().contains("No connection provider"),
                 qPrintable(m_model->loadError()));
        QVERIFY(m_opened.isEmpty());
        QCOMPARE(m_model->waitingFor(), QString());

        // An address that is no address is a bad reply, and nothing opens.
        m_server.on("POST", "/connections/email/connect").status(200).json({{"redirectUrl", 5}});
        m_model->connectApp("email");
        QTest::qWait(100);
        QVERIFY(m_opened.isEmpty());

        // The browser that does not open says so and does not wait.
        m_server.on("POST", "/connections/email/connect")
            .json({{"redirectUrl", "https://provider.example/consent"}});
        m_browserWorks = false;
        m_model->connectApp("email");
        QTRY_VERIFY(m_model->loadError().startsWith("Couldn't open the browser"));
        QCOMPARE(m_model->waitingFor(), QString());
    }

    void disconnectThenReadsTheListAgain()
    {
        m_server.on("DELETE", "/connections/calendar").json({{"ok", true}});
        m_server.on("GET", "/connections").json(apps(false));
        m_model->disconnectApp("calendar");
        QTRY_COMPARE(m_server.lastRequest().path, QStringLiteral("/connections"));
        QTRY_VERIFY(!row(*m_model, "calendar").value("connected").toBool());
        QCOMPARE(m_model->loadError(), QString());

        m_server.on("DELETE", "/connections/calendar")
            .status(404)
            .json({{"error", "That app is not connected."}});
        m_model->disconnectApp("calendar");
        QTRY_VERIFY(m_model->loadError().contains("That app is not connected."));
    }
};

QTEST_MAIN(TestConnectionsModel)
#include "TestConnectionsModel.moc"
