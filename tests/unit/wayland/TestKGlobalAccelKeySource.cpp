// Shortcuts through a fake of KDE's global accelerator service on a private bus: what gets
// registered with which keys, and how its pressed and released signals reach the engine.
#include "PrivateBus.h"
#include "platform/wayland/ComboKeys.h"
#include "platform/wayland/KGlobalAccelKeySource.h"

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QTest>

// A key sequence as the service carries it. Outside any namespace: the bus finds a slot's
// parameter types by name.
struct FakeKeySequence
{
    QList<int> keys;
};

static QDBusArgument &operator<<(QDBusArgument &argument, const FakeKeySequence &sequence)
{
    argument.beginStructure();
    argument << sequence.keys;
    argument.endStructure();
    return argument;
}

static const QDBusArgument &operator>>(const QDBusArgument &argument, FakeKeySequence &sequence)
{
    argument.beginStructure();
    argument >> sequence.keys;
    argument.endStructure();
    return argument;
}

namespace {

using Combo = KeyEventSource::Combo;
using Type = KeyEventSource::Type;
constexpr std::uint64_t ctrl = 0x40000, alt = 0x80000, shift = 0x20000, fn = 0x800000;
constexpr int keyD = 2, keyK = 40, keySpace = 49;

QString describe(const KeyEventSource::Event &event)
{
    switch (event.type) {
    case Type::keyDown:
        return QStringLiteral("down %1 %2").arg(event.keyCode).arg(event.flags, 0, 16);
    case Type::keyUp:
        return QStringLiteral("up %1 %2").arg(event.keyCode).arg(event.flags, 0, 16);
    case Type::flagsChanged:
        break;
    }
    return QStringLiteral("flags %1").arg(event.flags, 0, 16);
}

} // namespace

Q_DECLARE_METATYPE(FakeKeySequence)

// The service as far as we use it; keys in `taken` belong to another application.
class FakeKGlobalAccel : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.KGlobalAccel")
public:
    bool olderService = false; // without setShortcutKeys
    QList<int> taken;
    QHash<QString, int> keys; // action → Qt key
    QStringList log;

public Q_SLOTS:
    void doRegister(const QStringList &actionId) { log << "register " + actionId.join('|'); }
    QList<FakeKeySequence> setShortcutKeys(const QStringList &actionId,
                                           const QList<FakeKeySequence> &sequences, uint flags)
    {
        if (olderService) {
            sendErrorReply(QDBusError::UnknownMethod, QStringLiteral("no setShortcutKeys"));
            return {};
        }
        const int key = sequences.value(0).keys.value(0);
        log << QStringLiteral("keys %1 %2 %3").arg(actionId.value(1)).arg(key).arg(flags);
        return take(actionId.value(1), key) ? sequences : QList<FakeKeySequence>();
    }
    QList<int> setShortcut(const QStringList &actionId, const QList<int> &keyList, uint flags)
    {
        log << QStringLiteral("older keys %1 %2 %3")
                   .arg(actionId.value(1))
                   .arg(keyList.value(0))
                   .arg(flags);
        return take(actionId.value(1), keyList.value(0)) ? keyList : QList<int>();
    }
    bool unregister(const QString &component, const QString &action)
    {
        log << "unregister " + component + "|" + action;
        return keys.remove(action) > 0;
    }
    QDBusObjectPath getComponent(const QString &component)
    {
        log << "component " + component;
        return QDBusObjectPath("/component/" + component);
    }
    QList<QStringList> allActionsForComponent(const QStringList &)
    {
        return {{"ovrin", "ovrin-stale", "Ovrin", "left over"}};
    }

private:
    bool take(const QString &action, int key)
    {
        if (taken.contains(key))
            return false;
        keys.insert(action, key);
        return true;
    }
};

class TestKGlobalAccelKeySource : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<FakeKGlobalAccel> m_service;
    QStringList m_events;

    void serve()
    {
        m_service = std::make_unique<FakeKGlobalAccel>();
        QVERIFY(m_bus->services().registerObject("/kglobalaccel", m_service.get(),
                                                 QDBusConnection::ExportAllSlots));
        QVERIFY(m_bus->services().registerService(KGlobalAccelKeySource::service));
    }

    bool startSource(KGlobalAccelKeySource &source)
    {
        return source.start([this](const KeyEventSource::Event &event) {
            m_events << describe(event);
            return true;
        });
    }

    void shortcut(const char *signal, const QString &action)
    {
        m_bus->emitSignal("/component/ovrin", "org.kde.kglobalaccel.Component", signal,
                          {"ovrin", action, qlonglong(1)});
    }

private Q_SLOTS:
    void init()
    {
        qDBusRegisterMetaType<FakeKeySequence>();
        qDBusRegisterMetaType<QList<FakeKeySequence>>();
        qDBusRegisterMetaType<QList<QStringList>>();
        m_bus = std::make_unique<PrivateBus>();
        OVRIN_REQUIRE_BUS(*m_bus);
        m_events.clear();
    }

    void cleanup()
    {
        m_service.reset();
        m_bus.reset();
    }

    void pressAndReleasePlayTheHeldCombination()
    {
        serve();
        KGlobalAccelKeySource source(m_bus->client(), m_bus->scheduler);
        const Combo combo{keyD, ctrl | alt};
        const QString id = ComboKeys::id(combo);
        source.setSwallowedCombos({combo});
        QVERIFY(startSource(source));
        // Exactly our keys, marked present and not to be replaced by remembered ones.
        const int key = int(Qt::ControlModifier | Qt::AltModifier) | Qt::Key_D;
        QVERIFY(m_bus->settle([&] { return m_service->keys.contains(id); }));
        QCOMPARE(m_service->log.filter("keys").value(0),
                 QStringLiteral("keys %1 %2 6").arg(id).arg(key));
        // An action a crashed run left behind is removed.
        QVERIFY(
            m_bus->settle([&] { return m_service->log.contains("unregister ovrin|ovrin-stale"); }));

        // The component is followed once the first action is in; a press may only come after.
        QVERIFY(m_bus->settle([&] { return m_service->log.contains("component ovrin"); }));
        QVERIFY(m_bus->flush());
        shortcut("globalShortcutPressed", id);
        QVERIFY(m_bus->settle([&] { return m_events.size() == 3; }));
        QCOMPARE(m_events, QStringList({"flags 40000", "flags c0000", "down 2 c0000"}));
        QCOMPARE(source.currentModifierFlags(), ctrl | alt);
        shortcut("globalShortcutPressed", "ovrin-unknown");
        shortcut("globalShortcutReleased", id);
        QVERIFY(m_bus->settle([&] { return m_events.size() == 6; }));
        QCOMPARE(m_events.mid(3), QStringList({"up 2 c0000", "flags 40000", "flags 0"}));
        QCOMPARE(source.currentModifierFlags(), 0u);
        QVERIFY(source.refusals().isEmpty());

        source.stop();
        QVERIFY(m_bus->settle([&] { return m_service->keys.isEmpty(); }));
    }

    void changesFnAndTakenKeys()
    {
        serve();
        m_service->taken << (int(Qt::ControlModifier | Qt::ShiftModifier) | Qt::Key_K);
        KGlobalAccelKeySource source(m_bus->client(), m_bus->scheduler);
        const Combo old{keyD, ctrl | alt}, space{keySpace, ctrl}, withFn{keyD, fn},
            taken{keyK, ctrl | shift};
        source.setSwallowedCombos({old});
        QVERIFY(startSource(source));
        QVERIFY(m_bus->settle([&] { return m_service->keys.contains(ComboKeys::id(old)); }));

        source.setSwallowedCombos({space, withFn, taken});
        QVERIFY(m_bus->settle([&] { return source.refusals().size() == 2; }));
        QVERIFY(m_service->log.contains("unregister ovrin|" + ComboKeys::id(old)));
        QVERIFY(m_service->keys.contains(ComboKeys::id(space)));
        QCOMPARE(source.refusals()[0].combo, withFn);
        QVERIFY2(source.refusals()[0].reason.contains("fn"),
                 qPrintable(source.refusals()[0].reason));
        QCOMPARE(source.refusals()[1].combo, taken);
        QVERIFY(source.refusals()[1].reason.contains("already used"));
        QVERIFY(!m_service->log.join('\n').contains(ComboKeys::id(withFn)));

        // The old action is no longer heard, even if the service still sends it.
        QVERIFY(m_bus->settle([&] { return source.registeredCombos() == QList<Combo>{space}; }));
        // Presses are heard once the component is followed.
        QVERIFY(m_bus->settle([&] { return m_service->log.contains("component ovrin"); }));
        QVERIFY(m_bus->flush());
        shortcut("globalShortcutPressed", ComboKeys::id(old));
        shortcut("globalShortcutPressed", ComboKeys::id(space));
        QVERIFY(m_bus->settle(
            [&] { return !m_events.isEmpty() && m_events.last().startsWith("down"); }));
        QCOMPARE(m_events, QStringList({"flags 40000", "down 49 40000"}));
    }

    void olderServiceGetsQtKeyCodes()
    {
        serve();
        m_service->olderService = true;
        KGlobalAccelKeySource source(m_bus->client(), m_bus->scheduler);
        source.setSwallowedCombos({{keySpace, alt}});
        QVERIFY(startSource(source));
        QVERIFY(m_bus->settle([&] { return !m_service->keys.isEmpty(); }));
        QVERIFY(m_service->log.filter("older keys")
                    .value(0)
                    .endsWith(QStringLiteral(" %1 6").arg(int(Qt::AltModifier) | Qt::Key_Space)));
    }

    void withoutTheServiceNothingStarts()
    {
        KGlobalAccelKeySource source(m_bus->client(), m_bus->scheduler);
        QVERIFY(!startSource(source));
        std::optional<bool> offered;
        QObject context;
        KGlobalAccelKeySource::offered(m_bus->client(), m_bus->scheduler, &context,
                                       [&](bool yes) { offered = yes; });
        QVERIFY(m_bus->settle([&] { return offered.has_value(); }));
        QVERIFY(!*offered);
    }
};

QTEST_MAIN(TestKGlobalAccelKeySource)
#include "TestKGlobalAccelKeySource.moc"
