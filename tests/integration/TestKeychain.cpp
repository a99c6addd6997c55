// The sign-in token in a real keyring: gnome-keyring on the test session's bus.
#include "backend/Backend.h"
#include "stores/AuthStore.h"
#include "stores/SecretServiceKeychain.h"
#include "support/FakeBackendServer.h"
#include "support/TaskOutcome.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QTest>

using Attributes = QMap<QString, QString>;

class TestKeychain : public QObject
{
    Q_OBJECT

    const QString m_service =
        QStringLiteral("Ovrin test %1").arg(QCoreApplication::applicationPid());
    const QString m_key = QString::fromLatin1(AuthStore::keychainKey);

    // Items the Secret Service holds for our service and key, locked or not.
    int storedItems()
    {
        QDBusMessage search =
            QDBusMessage::createMethodCall("org.freedesktop.secrets", "/org/freedesktop/secrets",
                                           "org.freedesktop.Secret.Service", "SearchItems");
        search << QVariant::fromValue(Attributes{{"server", m_service}, {"user", m_key}});
        const QDBusMessage reply = QDBusConnection::sessionBus().call(search);
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 2)
            return -1;
        const auto paths = [](const QVariant &v) {
            return qdbus_cast<QList<QDBusObjectPath>>(v).size();
        };
        return int(paths(reply.arguments()[0]) + paths(reply.arguments()[1]));
    }

private Q_SLOTS:
    void initTestCase()
    {
        qDBusRegisterMetaType<Attributes>();
        const auto bus = QDBusConnection::sessionBus();
        OVRIN_REQUIRE_SERVICE(
            bus.isConnected() && bus.interface()->isServiceRegistered("org.freedesktop.secrets"),
            QStringLiteral("a Secret Service (gnome-keyring) on the session bus"));
    }

    void saveReadDelete()
    {
        SecretServiceKeychain keychain(m_service);
        QCOMPARE(TaskOutcome<Keychain::Reply>::settle(keychain.save(m_key, "first")).value->status,
                 Keychain::Status::ok);
        QCOMPARE(TaskOutcome<Keychain::Reply>::settle(keychain.save(m_key, "sécond")).value->status,
                 Keychain::Status::ok);
        QCOMPARE(storedItems(), 1);

        const auto read = TaskOutcome<Keychain::Reply>::settle(keychain.read(m_key));
        QCOMPARE(read.value->status, Keychain::Status::ok);
        QCOMPARE(read.value->value, QStringLiteral("sécond"));

        QCOMPARE(TaskOutcome<Keychain::Reply>::settle(keychain.remove(m_key)).value->status,
                 Keychain::Status::ok);
        QCOMPARE(storedItems(), 0);
        QCOMPARE(TaskOutcome<Keychain::Reply>::settle(keychain.read(m_key)).value->status,
                 Keychain::Status::notFound);
    }

    void restoreForgetsARejectedToken()
    {
        FakeBackendServer server;
        QVERIFY(server.listen());
        server.on("GET", "/auth/me").status(401).json(QJsonObject{{"error", "Token expired"}});
        Backend backend(server.baseURL());
        SecretServiceKeychain keychain(m_service);
        AuthStore auth(backend, keychain);
        backend.setTokenProvider(&auth);
        TaskOutcome<Keychain::Reply>::settle(keychain.save(m_key, "stale"));

        QVERIFY(TaskOutcome<void>::settle(auth.restore()).finished);
        QCOMPARE(server.lastRequest().header("Authorization"), QByteArray("Bearer stale"));
        QVERIFY(!auth.isRestoring());
        QVERIFY(!auth.signedIn());
        QVERIFY(auth.token().isEmpty());
        QTRY_COMPARE(storedItems(), 0);
    }
};

QTEST_GUILESS_MAIN(TestKeychain)
#include "TestKeychain.moc"
