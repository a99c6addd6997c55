// Shortcuts through a fake portal's GlobalShortcuts on a private bus: the session and what is
// bound in it, and how Activated and Deactivated reach the engine.
#include "FakePortal.h"
#include "PrivateBus.h"
#include "platform/wayland/ComboKeys.h"
#include "platform/wayland/PortalGlobalShortcutsKeySource.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QTest>

namespace {

using Combo = KeyEventSource::Combo;
using Shortcuts = QList<QPair<QString, QVariantMap>>;
constexpr std::uint64_t ctrl = 0x40000, alt = 0x80000, fn = 0x800000;
constexpr int keyD = 2, keySpace = 49;
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

QString describe(const KeyEventSource::Event &event)
{
    switch (event.type) {
    case KeyEventSource::Type::keyDown:
        return QStringLiteral("down %1 %2").arg(event.keyCode).arg(event.flags, 0, 16);
    case KeyEventSource::Type::keyUp:
        return QStringLiteral("up %1 %2").arg(event.keyCode).arg(event.flags, 0, 16);
    case KeyEventSource::Type::flagsChanged:
        break;
    }
    return QStringLiteral("flags %1").arg(event.flags, 0, 16);
}

Shortcuts shortcutsOf(const QDBusMessage &bind)
{
    Shortcuts shortcuts;
    qvariant_cast<QDBusArgument>(bind.arguments().value(1)) >> shortcuts;
    return shortcuts;
}

} // namespace

class TestPortalGlobalShortcutsKeySource : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<FakePortal> m_portal;
    QStringList m_events;

    bool startSource(PortalGlobalShortcutsKeySource &source)
    {
        return source.start([this](const KeyEventSource::Event &event) {
            m_events << describe(event);
            return true;
        });
    }

    // Started with `combos`, bound once the portal's answer to BindShortcuts is in.
    bool bound(PortalGlobalShortcutsKeySource &source, const QList<Combo> &combos)
    {
        const qsizetype binds = m_portal->callsOf("BindShortcuts").size();
        source.setSwallowedCombos(combos);
        if (!startSource(source))
            return false;
        return m_bus->settle([&] { return m_portal->callsOf("BindShortcuts").size() > binds; }) &&
               m_bus->flush();
    }

    void shortcut(const char *signal, const QString &session, const QString &id)
    {
        m_bus->emitSignal(
            portalPath, shortcutsInterface, signal,
            {QVariant::fromValue(QDBusObjectPath(session)), id, qulonglong(7), QVariantMap()});
    }

private Q_SLOTS:
    void init()
    {
        qDBusRegisterMetaType<QPair<QString, QVariantMap>>();
        qDBusRegisterMetaType<Shortcuts>();
        m_bus = std::make_unique<PrivateBus>();
        OVRIN_REQUIRE_BUS(*m_bus);
        m_events.clear();
        m_portal = std::make_unique<FakePortal>(*m_bus);
        m_portal->versions.insert(shortcutsInterface, 1);
        m_portal->handlers.insert(
            shortcutsInterface + ".CreateSession",
            m_portal->answering(0, [](const QDBusMessage &call) {
                const QString token =
                    FakePortal::optionsOf(call).value("session_handle_token").toString();
                return QVariantMap{{"session_handle", portalPath + "/session/x/" + token}};
            }));
        m_portal->handlers.insert(
            shortcutsInterface + ".BindShortcuts",
            m_portal->answering(0, [](const QDBusMessage &call) {
                return QVariantMap{{"shortcuts", QVariant::fromValue(shortcutsOf(call))}};
            }));
        m_portal->handlers.insert("org.freedesktop.portal.Session.Close",
                                  [](const QDBusMessage &) { return QVariantList(); });
    }

    void cleanup()
    {
        m_portal.reset();
        m_bus.reset();
    }

    void bindsAndPlaysActivation()
    {
        PortalGlobalShortcutsKeySource source(m_bus->client(), m_bus->scheduler);
        const Combo combo{keyD, ctrl | alt}, withFn{keyD, fn};
        QVERIFY(bound(source, {combo, withFn}));

        // Named to the registry before anything else.
        QCOMPARE(m_portal->registeredApps, QStringList{"com.ovrin.app"});
        QCOMPARE(m_portal->calls.first().member(), QStringLiteral("Register"));
        const QDBusMessage bind = m_portal->callsOf("BindShortcuts").first();
        QCOMPARE(bind.arguments().value(0).value<QDBusObjectPath>().path(), source.session());
        const Shortcuts shortcuts = shortcutsOf(bind);
        QCOMPARE(shortcuts.size(), 1);
        QCOMPARE(shortcuts[0].first, ComboKeys::id(combo));
        QCOMPARE(shortcuts[0].second.value("preferred_trigger").toString(), "CTRL+ALT+d");
        QVERIFY(!shortcuts[0].second.value("description").toString().isEmpty());
        QCOMPARE(bind.arguments().value(2).toString(), QString());
        QCOMPARE(source.refusals().size(), 1);
        QCOMPARE(source.refusals()[0].combo, withFn);

        shortcut("Activated", portalPath + "/session/x/someone_else", ComboKeys::id(combo));
        shortcut("Activated", source.session(), ComboKeys::id(combo));
        QVERIFY(m_bus->settle([&] { return m_events.size() == 3; }));
        QCOMPARE(m_events, QStringList({"flags 40000", "flags c0000", "down 2 c0000"}));
        QCOMPARE(source.currentModifierFlags(), ctrl | alt);
        shortcut("Deactivated", source.session(), ComboKeys::id(combo));
        QVERIFY(m_bus->settle([&] { return m_events.size() == 6; }));
        QCOMPARE(m_events.mid(3), QStringList({"up 2 c0000", "flags 40000", "flags 0"}));

        // The desktop ending the session mid-hold lets go of the keys and says so.
        shortcut("Activated", source.session(), ComboKeys::id(combo));
        QVERIFY(m_bus->settle([&] { return m_events.size() == 9; }));
        m_bus->emitSignal(source.session(), "org.freedesktop.portal.Session", "Closed",
                          {QVariantMap()});
        QVERIFY(m_bus->settle([&] { return m_events.size() == 12; }));
        QCOMPARE(source.currentModifierFlags(), 0u);
        QCOMPARE(source.refusals().size(), 2);
        QVERIFY(source.refusals()[0].reason.contains("closed"));
    }

    void newCombinationsGetANewSession()
    {
        PortalGlobalShortcutsKeySource source(m_bus->client(), m_bus->scheduler);
        const Combo old{keyD, ctrl | alt}, space{keySpace, ctrl};
        QVERIFY(bound(source, {old}));
        const QString first = source.session();
        source.setSwallowedCombos({old}); // the same ones: nothing to do
        QVERIFY(m_bus->flush());
        QCOMPARE(m_portal->callsOf("CreateSession").size(), 1);

        source.setSwallowedCombos({space});
        QVERIFY(m_bus->settle([&] { return m_portal->callsOf("BindShortcuts").size() == 2; }));
        QVERIFY(m_bus->flush());
        QCOMPARE(m_portal->callsOf("Close").value(0).path(), first);
        QVERIFY(source.session() != first);
        const Shortcuts shortcuts = shortcutsOf(m_portal->callsOf("BindShortcuts").last());
        QCOMPARE(shortcuts.size(), 1);
        QCOMPARE(shortcuts[0].first, ComboKeys::id(space));

        shortcut("Activated", first, ComboKeys::id(old));
        shortcut("Activated", source.session(), ComboKeys::id(space));
        QVERIFY(m_bus->settle([&] { return m_events.size() == 2; }));
        QCOMPARE(m_events, QStringList({"flags 40000", "down 49 40000"}));
    }

    void declinedBindingRefusesThemAll()
    {
        m_portal->handlers.insert(shortcutsInterface + ".BindShortcuts", m_portal->answering(1));
        PortalGlobalShortcutsKeySource source(m_bus->client(), m_bus->scheduler);
        QVERIFY(bound(source, {{keyD, ctrl}, {keySpace, alt}}));
        QCOMPARE(source.refusals().size(), 2);
        QVERIFY(source.refusals()[1].reason.contains("declined"));
    }

    void offeredOnlyWithTheInterface()
    {
        QObject context;
        std::optional<bool> offered;
        const auto ask = [&] {
            offered.reset();
            PortalGlobalShortcutsKeySource::offered(m_bus->client(), m_bus->scheduler, &context,
                                                    [&](bool yes) { offered = yes; });
            return m_bus->settle([&] { return offered.has_value(); });
        };
        QVERIFY(ask());
        QVERIFY(*offered);
        m_portal->versions.clear(); // a portal from before global shortcuts
        QVERIFY(ask());
        QVERIFY(!*offered);
    }
};

QTEST_MAIN(TestPortalGlobalShortcutsKeySource)
#include "TestPortalGlobalShortcutsKeySource.moc"
