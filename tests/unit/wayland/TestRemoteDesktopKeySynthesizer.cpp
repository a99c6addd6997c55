// Paste and copy keystrokes through a fake portal's RemoteDesktop on a private bus: the
// session, the user's consent and its restore token, and the keys that go out.
#include "FakePortal.h"
#include "PrivateBus.h"
#include "platform/wayland/RemoteDesktopKeySynthesizer.h"

#include <QDBusObjectPath>
#include <QSignalSpy>
#include <QTest>

namespace {

using State = RemoteDesktopKeySynthesizer::State;
using Command = KeySynthesizer::Command;
const QString remoteDesktop = QStringLiteral("org.freedesktop.portal.RemoteDesktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

} // namespace

class TestRemoteDesktopKeySynthesizer : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<FakePortal> m_portal;
    QString m_storedToken;
    QStringList m_saved;
    bool m_terminal = false;

    std::unique_ptr<RemoteDesktopKeySynthesizer> synthesizer()
    {
        return std::make_unique<RemoteDesktopKeySynthesizer>(
            m_bus->client(), m_bus->scheduler, [this] { return m_storedToken; },
            [this](const QString &token) { m_saved << token; }, [this] { return m_terminal; });
    }

    // "keycode:state" of every key sent so far.
    QStringList keys() const
    {
        QStringList keys;
        for (const QDBusMessage &call : m_portal->callsOf("NotifyKeyboardKeycode"))
            keys << QStringLiteral("%1:%2")
                        .arg(call.arguments().value(2).toInt())
                        .arg(call.arguments().value(3).toUInt());
        return keys;
    }

private Q_SLOTS:
    void init()
    {
        m_bus = std::make_unique<PrivateBus>();
        OVRIN_REQUIRE_BUS(*m_bus);
        m_storedToken.clear();
        m_saved.clear();
        m_terminal = false;
        m_portal = std::make_unique<FakePortal>(*m_bus);
        m_portal->versions.insert(remoteDesktop, 2);
        m_portal->handlers.insert(
            remoteDesktop + ".CreateSession", m_portal->answering(0, [](const QDBusMessage &call) {
                const QString token =
                    FakePortal::optionsOf(call).value("session_handle_token").toString();
                return QVariantMap{{"session_handle", portalPath + "/session/x/" + token}};
            }));
        m_portal->handlers.insert(remoteDesktop + ".SelectDevices", m_portal->answering(0));
        m_portal->handlers.insert(
            remoteDesktop + ".Start", m_portal->answering(0, [](const QDBusMessage &) {
                return QVariantMap{{"devices", 1u}, {"restore_token", "token-2"}};
            }));
        const auto nothing = [](const QDBusMessage &) { return QVariantList(); };
        m_portal->handlers.insert(remoteDesktop + ".NotifyKeyboardKeycode", nothing);
        m_portal->handlers.insert("org.freedesktop.portal.Session.Close", nothing);
    }

    void cleanup()
    {
        m_portal.reset();
        m_bus.reset();
    }

    void consentOnceThenKeystrokes()
    {
        auto keyboard = synthesizer();
        QSignalSpy states(keyboard.get(), &RemoteDesktopKeySynthesizer::stateChanged);
        QVERIFY(!keyboard->send(Command::paste)); // nothing queued before the session
        keyboard->prepare();
        QVERIFY(m_bus->settle([&] { return keyboard->state() == State::ready; }));
        QCOMPARE(states.first().first().value<State>(), State::asking);
        QCOMPARE(m_portal->registeredApps, QStringList{"com.ovrin.app"});

        const QVariantMap devices = FakePortal::optionsOf(m_portal->callsOf("SelectDevices")[0]);
        QCOMPARE(devices.value("types").toUInt(), 1u);
        QCOMPARE(devices.value("persist_mode").toUInt(), 2u);
        QVERIFY(!devices.contains("restore_token"));
        QCOMPARE(m_saved, QStringList{"token-2"});
        const QString session =
            m_portal->callsOf("Start")[0].arguments().value(0).value<QDBusObjectPath>().path();
        QVERIFY(session.startsWith(portalPath + "/session/"));

        QVERIFY(keyboard->send(Command::paste));
        QVERIFY(m_bus->settle([&] { return keys().size() == 4; }));
        QCOMPARE(keys(), QStringList({"29:1", "47:1", "47:0", "29:0"}));
        QCOMPARE(m_portal->callsOf("NotifyKeyboardKeycode")[0]
                     .arguments()
                     .value(0)
                     .value<QDBusObjectPath>()
                     .path(),
                 session);
        m_terminal = true;
        QVERIFY(keyboard->send(Command::copy));
        QVERIFY(m_bus->settle([&] { return keys().size() == 10; }));
        QCOMPARE(keys().mid(4), QStringList({"29:1", "42:1", "46:1", "46:0", "42:0", "29:0"}));

        // The desktop ends the session: keystrokes fail until it is made again.
        m_bus->emitSignal(session, "org.freedesktop.portal.Session", "Closed", {QVariantMap()});
        QVERIFY(m_bus->settle([&] { return keyboard->state() == State::idle; }));
        QVERIFY(!keyboard->reason().isEmpty());
        QVERIFY(!keyboard->send(Command::paste));
        QVERIFY(m_bus->flush());
        QCOMPARE(keys().size(), 10);
    }

    void storedTokenIsOffered()
    {
        m_storedToken = QStringLiteral("token-1");
        auto keyboard = synthesizer();
        keyboard->prepare();
        QVERIFY(m_bus->settle([&] { return keyboard->state() == State::ready; }));
        const QVariantMap devices = FakePortal::optionsOf(m_portal->callsOf("SelectDevices")[0]);
        QCOMPARE(devices.value("restore_token").toString(), QStringLiteral("token-1"));
        QCOMPARE(m_saved, QStringList{"token-2"});
    }

    void declinedOrSilentDesktop()
    {
        m_portal->handlers.insert(remoteDesktop + ".Start", m_portal->answering(1));
        auto keyboard = synthesizer();
        keyboard->prepare();
        QVERIFY(m_bus->settle([&] { return keyboard->state() == State::refused; }));
        QVERIFY2(keyboard->reason().contains("declined"), qPrintable(keyboard->reason()));
        QVERIFY(!keyboard->send(Command::paste));
        QVERIFY(m_saved.isEmpty());
        QVERIFY(m_bus->settle([&] { return m_portal->callsOf("Close").size() == 1; }));

        // Asked again, the desktop never answers: refused after the bound, its dialog closed.
        m_portal->handlers.insert(remoteDesktop + ".Start", m_portal->answering(std::nullopt));
        keyboard->prepare();
        QCOMPARE(keyboard->state(), State::asking);
        QVERIFY(m_bus->settle([&] { return m_portal->callsOf("Start").size() == 2; }));
        m_bus->scheduler.advance(RemoteDesktopKeySynthesizer::startTimeoutSeconds);
        QCOMPARE(keyboard->state(), State::refused);
        QVERIFY2(keyboard->reason().contains("did not answer"), qPrintable(keyboard->reason()));
        const QDBusMessage start = m_portal->callsOf("Start").last();
        QVERIFY(m_bus->settle([&] {
            const auto closes = m_portal->callsOf("Close");
            return std::any_of(closes.begin(), closes.end(), [&](const QDBusMessage &close) {
                return close.path() == PrivateBus::requestPath(start, FakePortal::optionsOf(start));
            });
        }));
    }
};

QTEST_MAIN(TestRemoteDesktopKeySynthesizer)
#include "TestRemoteDesktopKeySynthesizer.moc"
