#include "platform/wayland/KGlobalAccelKeySource.h"

#include "core/Scheduler.h"
#include "platform/wayland/DBusCall.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>

namespace {

const QString objectPath = QStringLiteral("/kglobalaccel");
const QString interface = QStringLiteral("org.kde.KGlobalAccel");
const QString componentInterface = QStringLiteral("org.kde.kglobalaccel.Component");
const QString serviceName = QStringLiteral("KDE's global shortcuts");
// The service's flags: mark the action present, and take our keys over any it remembers.
constexpr uint setPresent = 2, noAutoloading = 4;

// A key sequence as the service carries it: a structure of up to four key codes.
struct KGlobalAccelKeys
{
    QList<int> keys;
};

} // namespace

Q_DECLARE_METATYPE(KGlobalAccelKeys)

namespace {

QDBusArgument &operator<<(QDBusArgument &argument, const KGlobalAccelKeys &sequence)
{
    argument.beginStructure();
    argument << sequence.keys;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, KGlobalAccelKeys &sequence)
{
    argument.beginStructure();
    argument >> sequence.keys;
    argument.endStructure();
    return argument;
}

// The first key of every sequence in an answer of setShortcutKeys (a(ai)) or setShortcut (ai).
QList<int> firstKeys(const QVariant &answer)
{
    if (answer.metaType() != QMetaType::fromType<QDBusArgument>())
        return {};
    const auto argument = qvariant_cast<QDBusArgument>(answer);
    QList<int> keys;
    if (argument.currentSignature() == QLatin1String("ai")) {
        argument >> keys;
        return keys;
    }
    if (argument.currentSignature() != QLatin1String("a(ai)"))
        return {};
    QList<KGlobalAccelKeys> sequences;
    argument >> sequences;
    for (const KGlobalAccelKeys &sequence : std::as_const(sequences)) {
        if (!sequence.keys.isEmpty() && sequence.keys.first() != 0)
            keys << sequence.keys.first();
    }
    return keys;
}

QDBusMessage serviceCall(const QString &method)
{
    return QDBusMessage::createMethodCall(KGlobalAccelKeySource::service, objectPath, interface,
                                          method);
}

} // namespace

const QString KGlobalAccelKeySource::service = QStringLiteral("org.kde.kglobalaccel");
const QString KGlobalAccelKeySource::component = QStringLiteral("ovrin");

KGlobalAccelKeySource::KGlobalAccelKeySource(QDBusConnection bus, Scheduler &scheduler,
                                             QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_scheduler(scheduler)
{
    qDBusRegisterMetaType<KGlobalAccelKeys>();
    qDBusRegisterMetaType<QList<KGlobalAccelKeys>>();
}

KGlobalAccelKeySource::~KGlobalAccelKeySource()
{
    stop();
}

void KGlobalAccelKeySource::offered(QDBusConnection bus, Scheduler &scheduler, QObject *context,
                                    std::function<void(bool)> done)
{
    QDBusMessage hasOwner = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"));
    hasOwner << service;
    DBusCall::send(
        bus, scheduler, hasOwner, 1, context, [done = std::move(done)](const QDBusMessage &reply) {
            done(reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).toBool());
        });
}

bool KGlobalAccelKeySource::start(Handler handler)
{
    if (m_started) {
        m_handler = std::move(handler);
        return true;
    }
    if (!DBusCall::reachable(m_bus, service))
        return false;
    m_started = true;
    ++m_generation;
    m_handler = std::move(handler);
    m_watcher = std::make_unique<QDBusServiceWatcher>(service, m_bus,
                                                      QDBusServiceWatcher::WatchForOwnerChange);
    connect(m_watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                serviceOwnerChanged(newOwner);
            });
    forgetStaleActions();
    sync();
    return true;
}

void KGlobalAccelKeySource::stop()
{
    if (!m_started)
        return;
    for (const QString &id : m_registered.keys() + m_pending.keys())
        unregisterAction(id);
    m_registered.clear();
    m_pending.clear();
    m_serviceRefusals.clear();
    unfollowComponent();
    m_watcher.reset();
    m_hold.clear();
    m_handler = {};
    m_started = false;
    ++m_generation;
}

void KGlobalAccelKeySource::setSwallowedCombos(QList<Combo> combos)
{
    m_combos = std::move(combos);
    sync();
}

void KGlobalAccelKeySource::sync()
{
    QHash<QString, Combo> wanted;
    for (const Combo &combo : std::as_const(m_combos)) {
        if (ComboKeys::unregistrable(combo, serviceName).isEmpty())
            wanted.insert(ComboKeys::id(combo), combo);
    }
    if (m_started) {
        for (const QString &id : m_registered.keys() + m_pending.keys()) {
            if (!wanted.contains(id)) {
                unregisterAction(id);
                m_registered.remove(id);
                m_pending.remove(id);
            }
        }
        // A combination refused before is asked again only once it has been away.
        m_serviceRefusals.removeIf([&](auto entry) { return !wanted.contains(entry.key()); });
        for (auto it = wanted.cbegin(); it != wanted.cend(); ++it) {
            if (!m_registered.contains(it.key()) && !m_pending.contains(it.key()) &&
                !m_serviceRefusals.contains(it.key()))
                registerAction(it.key(), it.value());
        }
    }
    updateRefusals();
}

QStringList KGlobalAccelKeySource::actionId(const QString &id, const Combo &combo) const
{
    return {component, id, QStringLiteral("Ovrin"),
            QStringLiteral("Shortcut %1").arg(ComboKeys::label(combo))};
}

void KGlobalAccelKeySource::registerAction(const QString &id, const Combo &combo)
{
    m_pending.insert(id, combo);
    // The service answers calls in order, so the keys are set on a registered action.
    QDBusMessage doRegister = serviceCall(QStringLiteral("doRegister"));
    doRegister << actionId(id, combo);
    m_bus.send(doRegister);
    setKeys(id, combo, m_olderCalls);
}

void KGlobalAccelKeySource::setKeys(const QString &id, const Combo &combo, bool olderCall)
{
    const int key = ComboKeys::qtKey(combo);
    QDBusMessage call =
        serviceCall(olderCall ? QStringLiteral("setShortcut") : QStringLiteral("setShortcutKeys"));
    call << actionId(id, combo);
    if (olderCall)
        call << QVariant::fromValue(QList<int>{key});
    else
        call << QVariant::fromValue(QList<KGlobalAccelKeys>{{{key, 0, 0, 0}}});
    call << uint(setPresent | noAutoloading);
    const unsigned generation = m_generation;
    DBusCall::send(
        m_bus, m_scheduler, call, callTimeoutSeconds, this,
        [this, generation, id, combo, olderCall, key](const QDBusMessage &reply) {
            if (generation != m_generation || !m_pending.contains(id))
                return; // no longer wanted, or asked of a service since gone
            if (!olderCall && DBusCall::isUnknownMethod(reply)) {
                m_olderCalls = true;
                setKeys(id, combo, true);
                return;
            }
            m_pending.remove(id);
            if (reply.type() != QDBusMessage::ReplyMessage) {
                refuse(id,
                       QStringLiteral("%1 could not be registered with %2: %3")
                           .arg(ComboKeys::label(combo), serviceName, DBusCall::describe(reply)));
                return;
            }
            // The service answers with the keys the action has now: none when
            // another shortcut holds them.
            if (!firstKeys(reply.arguments().value(0)).contains(key)) {
                unregisterAction(id);
                refuse(id, QStringLiteral("%1 is already used by another shortcut of the "
                                          "desktop; change one of them")
                               .arg(ComboKeys::label(combo)));
                return;
            }
            m_registered.insert(id, combo);
            followComponent();
            updateRefusals();
        });
}

void KGlobalAccelKeySource::unregisterAction(const QString &id)
{
    QDBusMessage call = serviceCall(QStringLiteral("unregister"));
    call << component << id;
    DBusCall::post(m_bus, call);
}

void KGlobalAccelKeySource::forgetStaleActions()
{
    // Actions left by a run that ended without stop() still keep their keys from everyone.
    QDBusMessage call = serviceCall(QStringLiteral("allActionsForComponent"));
    call << QStringList{component};
    const unsigned generation = m_generation;
    DBusCall::send(
        m_bus, m_scheduler, call, callTimeoutSeconds, this,
        [this, generation](const QDBusMessage &reply) {
            if (generation != m_generation || reply.arguments().isEmpty())
                return;
            const auto actions = qdbus_cast<QList<QStringList>>(reply.arguments().first());
            for (const QStringList &action : actions) {
                const QString id = action.value(1);
                if (!id.isEmpty() && !m_registered.contains(id) && !m_pending.contains(id))
                    unregisterAction(id);
            }
        });
}

void KGlobalAccelKeySource::followComponent()
{
    if (m_askedComponent)
        return;
    m_askedComponent = true;
    QDBusMessage call = serviceCall(QStringLiteral("getComponent"));
    call << component;
    const unsigned generation = m_generation;
    DBusCall::send(m_bus, m_scheduler, call, callTimeoutSeconds, this,
                   [this, generation](const QDBusMessage &reply) {
                       if (generation != m_generation)
                           return;
                       const QString path =
                           reply.arguments().value(0).value<QDBusObjectPath>().path();
                       if (reply.type() != QDBusMessage::ReplyMessage || path.isEmpty()) {
                           m_askedComponent = false;
                           for (auto it = m_registered.cbegin(); it != m_registered.cend(); ++it)
                               m_serviceRefusals.insert(
                                   it.key(), QStringLiteral("%1 is registered, but %2 did not say "
                                                            "where it reports it: %3")
                                                 .arg(ComboKeys::label(it.value()), serviceName,
                                                      DBusCall::describe(reply)));
                           updateRefusals();
                           return;
                       }
                       m_componentPath = path;
                       listenToComponent(true);
                   });
}

void KGlobalAccelKeySource::listenToComponent(bool listen)
{
    const std::pair<QString, const char *> signalsToSlots[] = {
        {QStringLiteral("globalShortcutPressed"),
         SLOT(shortcutPressed(QString, QString, qlonglong))},
        {QStringLiteral("globalShortcutReleased"),
         SLOT(shortcutReleased(QString, QString, qlonglong))},
    };
    for (const auto &[signal, slot] : signalsToSlots) {
        if (listen)
            m_bus.connect(service, m_componentPath, componentInterface, signal, this, slot);
        else
            m_bus.disconnect(service, m_componentPath, componentInterface, signal, this, slot);
    }
}

void KGlobalAccelKeySource::unfollowComponent()
{
    if (!m_componentPath.isEmpty())
        listenToComponent(false);
    m_componentPath.clear();
    m_askedComponent = false;
}

void KGlobalAccelKeySource::serviceOwnerChanged(const QString &newOwner)
{
    // A service that went away sends no release; one that came back knows none of our actions.
    m_hold.releaseAll(m_handler);
    ++m_generation;
    m_registered.clear();
    m_pending.clear();
    m_serviceRefusals.clear();
    unfollowComponent();
    if (!newOwner.isEmpty())
        sync();
}

void KGlobalAccelKeySource::shortcutPressed(const QString &componentUnique,
                                            const QString &actionUnique, qlonglong)
{
    const auto combo = m_registered.constFind(actionUnique);
    if (m_started && componentUnique == component && combo != m_registered.cend())
        m_hold.press(*combo, m_handler);
}

void KGlobalAccelKeySource::shortcutReleased(const QString &componentUnique,
                                             const QString &actionUnique, qlonglong)
{
    const auto combo = m_registered.constFind(actionUnique);
    if (m_started && componentUnique == component && combo != m_registered.cend())
        m_hold.release(*combo, m_handler);
}

void KGlobalAccelKeySource::refuse(const QString &id, const QString &reason)
{
    m_serviceRefusals.insert(id, reason);
    updateRefusals();
}

void KGlobalAccelKeySource::updateRefusals()
{
    const auto refusals = ComboKeys::refusals(m_combos, serviceName, m_serviceRefusals, m_refusals);
    if (refusals == m_refusals)
        return;
    m_refusals = refusals;
    Q_EMIT refusalsChanged();
}
