// Sign-in state: restore at launch, applying a token, signing out.
#include "backend/Backend.h"
#include "stores/AuthStore.h"
#include "stores/UserDataCache.h"
#include "support/FakeBackendServer.h"
#include "support/FakeKeychain.h"
#include "support/TaskOutcome.h"

#include <QSignalSpy>
#include <QTest>

namespace {

const QJsonObject ada{{"id", "u1"},
                      {"email", "ada@example.com"},
                      {"name", "ada lovelace"},
                      {"picture", ""},
                      {"provider", "google"}};

struct CountingCache : UserDataCache
{
    int resets = 0;
    void reset() override { ++resets; }
};

struct Rig
{
    FakeBackendServer server;
    FakeKeychain keychain;
    std::unique_ptr<Backend> backend;
    std::unique_ptr<AuthStore> auth;

    explicit Rig(bool backendDown = false)
    {
        if (!server.listen())
            qFatal("no port for the fake backend");
        // Port 1 is privileged and never has this test's backend on it.
        backend =
            std::make_unique<Backend>(backendDown ? QUrl("http://127.0.0.1:1") : server.baseURL());
        auth = std::make_unique<AuthStore>(*backend, keychain);
        backend->setTokenProvider(auth.get());
    }
    QString stored() const { return keychain.items.value(AuthStore::keychainKey); }
};

} // namespace

class TestAuthStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void restoreWithoutStoredToken()
    {
        Rig rig;
        QVERIFY(rig.auth->isRestoring());
        QVERIFY(TaskOutcome<void>::settle(rig.auth->restore()).finished);
        QVERIFY(!rig.auth->isRestoring());
        QVERIFY(!rig.auth->signedIn());
        QCOMPARE(rig.server.requestCount(), 0);
    }

    void restore_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("signedIn");
        QTest::newRow("accepted") << 200 << true;
        QTest::newRow("rejected") << 401 << false;
        QTest::newRow("backend down") << 0 << false; // even then the token is forgotten
    }

    void restore()
    {
        QFETCH(int, status);
        QFETCH(bool, signedIn);
        Rig rig(status == 0);
        rig.keychain.items.insert(AuthStore::keychainKey, "t1");
        rig.server.on("GET", "/auth/me").status(status).json(QJsonObject{{"user", ada}});
        QSignalSpy restoring(rig.auth.get(), &AuthStore::isRestoringChanged);

        QVERIFY(TaskOutcome<void>::settle(rig.auth->restore()).finished);
        QCOMPARE(rig.auth->signedIn(), signedIn);
        QCOMPARE(restoring.count(), 1);
        QCOMPARE(rig.auth->token().isEmpty(), !signedIn);
        QCOMPARE(rig.stored().isEmpty(), !signedIn);
        if (signedIn)
            QCOMPARE(rig.auth->userMap().value("initials").toString(), QStringLiteral("AL"));
    }

    void applyTokenFailureKeepsTheToken()
    {
        Rig rig;
        rig.server.on("GET", "/auth/me").status(500).json(QJsonObject{{"error", "boom"}});
        const auto outcome = TaskOutcome<void>::settle(rig.auth->applyToken("fresh"));
        QCOMPARE(outcome.errorDescription(), QStringLiteral("Backend error 500: boom"));
        QCOMPARE(rig.auth->token(), QStringLiteral("fresh"));
        QCOMPARE(rig.stored(), QStringLiteral("fresh"));
        QVERIFY(!rig.auth->signedIn());
    }

    void withoutKeyringSignInLastsTheSessionAndSaysSoOnce()
    {
        Rig rig;
        rig.keychain.available = false;
        rig.server.on("GET", "/auth/me").json(QJsonObject{{"user", ada}});
        QSignalSpy told(rig.auth.get(), &AuthStore::keychainUnavailable);
        QVERIFY(!TaskOutcome<void>::settle(rig.auth->applyToken("a")).error);
        QVERIFY(!TaskOutcome<void>::settle(rig.auth->applyToken("b")).error);
        QVERIFY(rig.auth->signedIn());
        QCOMPARE(told.count(), 1);
        QVERIFY(rig.auth->keychainProblem().contains("sign in again next time"));
    }

    void signOutForgetsEverything()
    {
        Rig rig;
        CountingCache history, meetings;
        rig.auth->addUserDataCache(&history);
        rig.auth->addUserDataCache(&meetings);
        rig.server.on("GET", "/auth/me").json(QJsonObject{{"user", ada}});
        rig.server.on("GET", "/tasks").json(QJsonObject{{"tasks", QJsonArray()}});
        QVERIFY(!TaskOutcome<void>::settle(rig.auth->applyToken("t")).error);

        auto done = rig.auth->signOut();
        QVERIFY(!rig.auth->signedIn()); // at once, before the keyring answers
        QCOMPARE(history.resets + meetings.resets, 2);
        QCOMPARE(TaskOutcome<bool>::settle(std::move(done)).value, true);
        QVERIFY(rig.stored().isEmpty());
        TaskOutcome<QList<AssistantTask>>::settle(rig.backend->tasks());
        QVERIFY(!rig.server.lastRequest().hasHeader("Authorization"));
    }
};

QTEST_GUILESS_MAIN(TestAuthStore)
#include "TestAuthStore.moc"
