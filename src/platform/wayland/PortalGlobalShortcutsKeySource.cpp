#include "platform/wayland/PortalGlobalShortcutsKeySource.h"

#include "platform/wayland/DBusCall.h"
#include "platform/wayland/PortalRequest.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>

namespace {

const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString serviceName = QStringLiteral("the desktop's global shortcuts");

using Shortcuts = QList<QPair<QString, QVariantMap>>;

QStringList shortcutIds(const QVariant &value)
{
    Shortcuts shortcuts;
    if (value.metaType() == QMetaType::fromType<QDBusArgument>())
        qvariant_cast<QDBusArgument>(value) >> shortcuts;
    else
        shortcuts = value.value<Shortcuts>();
    QStringList ids;
    for (const auto &shortcut : std::as_const(shortcuts))
        ids << shortcut.first;
    return ids;
}

} // namespace

const QString PortalGlobalShortcutsKeySource::interface =
    QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

PortalGlobalShortcutsKeySource::PortalGlobalShortcutsKeySource(QDBusConnection bus,
                                                               Scheduler &scheduler,
                                                               QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_scheduler(scheduler)
{
    qDBusRegisterMetaType<QPair<QString, QVariantMap>>();
    qDBusRegisterMetaType<Shortcuts>();
    // The bus matches our slots' parameters to the signals by type name, and knows this one's
    // only once it has been used.
    qRegisterMetaType<QDBusObjectPath>();
}

PortalGlobalShortcutsKeySource::~PortalGlobalShortcutsKeySource()
{
    stop();
}

void PortalGlobalShortcutsKeySource::offered(QDBusConnection bus, Scheduler &scheduler,
                                             QObject *context, std::function<void(bool)> done)
{
    PortalRequest::interfaceOffered(std::move(bus), scheduler, interface, context, std::move(done));
}

bool PortalGlobalShortcutsKeySource::start(Handler handler)
{
    if (m_started) {
        m_handler = std::move(handler);
        return true;
    }
    if (!DBusCall::reachable(m_bus, PortalRequest::service))
        return false;
    m_started = true;
    m_handler = std::move(handler);
    m_bus.connect(PortalRequest::service, PortalRequest::desktopPath, interface,
                  QStringLiteral("Activated"), this,
                  SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    m_bus.connect(PortalRequest::service, PortalRequest::desktopPath, interface,
                  QStringLiteral("Deactivated"), this,
                  SLOT(deactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    rebind();
    return true;
}

void PortalGlobalShortcutsKeySource::stop()
{
    if (!m_started)
        return;
    m_bus.disconnect(PortalRequest::service, PortalRequest::desktopPath, interface,
                     QStringLiteral("Activated"), this,
                     SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    m_bus.disconnect(PortalRequest::service, PortalRequest::desktopPath, interface,
                     QStringLiteral("Deactivated"), this,
                     SLOT(deactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    ++m_generation;
    if (m_request)
        m_request->cancel();
    closeSession();
    m_asked.clear();
    m_serviceRefusals.clear();
    m_hold.clear();
    m_handler = {};
    m_started = false;
}

void PortalGlobalShortcutsKeySource::setSwallowedCombos(QList<Combo> combos)
{
    m_combos = std::move(combos);
    if (m_started && wanted() != m_asked)
        rebind();
    else
        updateRefusals();
}

QHash<QString, PortalGlobalShortcutsKeySource::Combo> PortalGlobalShortcutsKeySource::wanted() const
{
    QHash<QString, Combo> wanted;
    for (const Combo &combo : std::as_const(m_combos)) {
        if (ComboKeys::unregistrable(combo, serviceName).isEmpty())
            wanted.insert(ComboKeys::id(combo), combo);
    }
    return wanted;
}

void PortalGlobalShortcutsKeySource::rebind()
{
    ++m_generation;
    if (m_request)
        m_request->cancel();
    m_hold.releaseAll(m_handler);
    closeSession();
    m_serviceRefusals.clear();
    m_asked = wanted();
    updateRefusals();
    if (!m_asked.isEmpty())
        createSession();
}

void PortalGlobalShortcutsKeySource::createSession()
{
    const unsigned generation = m_generation;
    m_request = PortalRequest::createSession(
        m_bus, m_scheduler, interface, QStringLiteral("shortcut"), sessionTimeoutSeconds, this,
        [this, generation](const QString &session, const QString &problem) {
            if (generation != m_generation)
                return;
            if (session.isEmpty()) {
                refuseAll(problem);
                return;
            }
            m_session = session;
            m_bus.connect(PortalRequest::service, m_session, sessionInterface,
                          QStringLiteral("Closed"), this, SLOT(sessionClosed()));
            bind();
        });
}

void PortalGlobalShortcutsKeySource::bind()
{
    Shortcuts shortcuts;
    for (auto it = m_asked.cbegin(); it != m_asked.cend(); ++it)
        shortcuts.append({it.key(),
                          {{QStringLiteral("description"),
                            QStringLiteral("Ovrin shortcut %1").arg(ComboKeys::label(it.value()))},
                           {QStringLiteral("preferred_trigger"), ComboKeys::trigger(it.value())}}});
    const unsigned generation = m_generation;
    const QString session = m_session;
    m_request = PortalRequest::send(
        m_bus, m_scheduler,
        [session, shortcuts](const QString &token) {
            QDBusMessage call =
                QDBusMessage::createMethodCall(PortalRequest::service, PortalRequest::desktopPath,
                                               interface, QStringLiteral("BindShortcuts"));
            call << QVariant::fromValue(QDBusObjectPath(session)) << QVariant::fromValue(shortcuts)
                 << QString() << QVariantMap{{QStringLiteral("handle_token"), token}};
            return call;
        },
        bindTimeoutSeconds, this,
        [this, generation](const PortalRequest::Answer &answer) {
            if (generation != m_generation)
                return;
            if (answer.outcome != PortalRequest::Outcome::granted) {
                refuseAll(answer.outcome == PortalRequest::Outcome::cancelled
                              ? QStringLiteral("the shortcuts were declined in the desktop's "
                                               "dialog")
                              : QStringLiteral("the desktop did not bind the shortcuts: %1")
                                    .arg(answer.problem));
                return;
            }
            const QStringList bound =
                shortcutIds(answer.results.value(QStringLiteral("shortcuts")));
            for (auto it = m_asked.cbegin(); it != m_asked.cend(); ++it) {
                if (bound.contains(it.key()))
                    m_bound.insert(it.key(), it.value());
                else
                    m_serviceRefusals.insert(it.key(), QStringLiteral("the desktop did not take %1")
                                                           .arg(ComboKeys::label(it.value())));
            }
            updateRefusals();
        });
}

void PortalGlobalShortcutsKeySource::closeSession()
{
    m_bound.clear();
    if (m_session.isEmpty())
        return;
    m_bus.disconnect(PortalRequest::service, m_session, sessionInterface, QStringLiteral("Closed"),
                     this, SLOT(sessionClosed()));
    DBusCall::post(m_bus,
                   QDBusMessage::createMethodCall(PortalRequest::service, m_session,
                                                  sessionInterface, QStringLiteral("Close")));
    m_session.clear();
}

void PortalGlobalShortcutsKeySource::activated(const QDBusObjectPath &session, const QString &id,
                                               qulonglong, const QVariantMap &)
{
    const auto combo = m_bound.constFind(id);
    if (session.path() == m_session && combo != m_bound.cend())
        m_hold.press(*combo, m_handler);
}

void PortalGlobalShortcutsKeySource::deactivated(const QDBusObjectPath &session, const QString &id,
                                                 qulonglong, const QVariantMap &)
{
    const auto combo = m_bound.constFind(id);
    if (session.path() == m_session && combo != m_bound.cend())
        m_hold.release(*combo, m_handler);
}

void PortalGlobalShortcutsKeySource::sessionClosed()
{
    m_hold.releaseAll(m_handler);
    m_bus.disconnect(PortalRequest::service, m_session, sessionInterface, QStringLiteral("Closed"),
                     this, SLOT(sessionClosed()));
    m_session.clear();
    m_bound.clear();
    refuseAll(QStringLiteral("the desktop closed the shortcut session"));
}

void PortalGlobalShortcutsKeySource::refuseAll(const QString &reason)
{
    for (auto it = m_asked.cbegin(); it != m_asked.cend(); ++it) {
        if (!m_bound.contains(it.key()))
            m_serviceRefusals.insert(
                it.key(),
                QStringLiteral("%1 is not global: %2").arg(ComboKeys::label(it.value()), reason));
    }
    updateRefusals();
}

void PortalGlobalShortcutsKeySource::updateRefusals()
{
    const auto refusals = ComboKeys::refusals(m_combos, serviceName, m_serviceRefusals, m_refusals);
    if (refusals == m_refusals)
        return;
    m_refusals = refusals;
    Q_EMIT refusalsChanged();
}
