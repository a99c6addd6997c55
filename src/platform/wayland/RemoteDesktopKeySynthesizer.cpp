#include "platform/wayland/RemoteDesktopKeySynthesizer.h"

#include "platform/wayland/DBusCall.h"
#include "platform/wayland/PortalRequest.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

namespace {

const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
constexpr uint keyboardDevice = 1;
constexpr uint persistUntilRevoked = 2;

QDBusMessage portalCall(const QString &method)
{
    return QDBusMessage::createMethodCall(PortalRequest::service, PortalRequest::desktopPath,
                                          RemoteDesktopKeySynthesizer::interface, method);
}

} // namespace

const QString RemoteDesktopKeySynthesizer::interface =
    QStringLiteral("org.freedesktop.portal.RemoteDesktop");

RemoteDesktopKeySynthesizer::RemoteDesktopKeySynthesizer(QDBusConnection bus, Scheduler &scheduler,
                                                         LoadToken loadToken, SaveToken saveToken,
                                                         TerminalFocused terminalFocused,
                                                         QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_scheduler(scheduler),
      m_loadToken(std::move(loadToken)), m_saveToken(std::move(saveToken)),
      m_terminalFocused(std::move(terminalFocused))
{}

RemoteDesktopKeySynthesizer::~RemoteDesktopKeySynthesizer()
{
    closeSession();
}

void RemoteDesktopKeySynthesizer::offered(QDBusConnection bus, Scheduler &scheduler,
                                          QObject *context, std::function<void(bool)> done)
{
    PortalRequest::interfaceOffered(std::move(bus), scheduler, interface, context, std::move(done));
}

void RemoteDesktopKeySynthesizer::prepare()
{
    if (m_state == State::asking || m_state == State::ready)
        return;
    if (!m_bus.isConnected()) {
        setState(State::refused, QStringLiteral("there is no D-Bus session bus"));
        return;
    }
    setState(State::asking);
    createSession();
}

void RemoteDesktopKeySynthesizer::createSession()
{
    m_request = PortalRequest::createSession(
        m_bus, m_scheduler, interface, QStringLiteral("remote control"), stepTimeoutSeconds, this,
        [this](const QString &session, const QString &problem) {
            if (session.isEmpty()) {
                fail(problem);
                return;
            }
            m_session = session;
            m_bus.connect(PortalRequest::service, m_session, sessionInterface,
                          QStringLiteral("Closed"), this, SLOT(sessionClosed()));
            selectDevices();
        });
}

void RemoteDesktopKeySynthesizer::selectDevices()
{
    QVariantMap options{{QStringLiteral("types"), keyboardDevice},
                        {QStringLiteral("persist_mode"), persistUntilRevoked}};
    const QString restoreToken = m_loadToken ? m_loadToken() : QString();
    if (!restoreToken.isEmpty())
        options.insert(QStringLiteral("restore_token"), restoreToken);
    const QString session = m_session;
    m_request = PortalRequest::send(
        m_bus, m_scheduler,
        [session, options](const QString &token) mutable {
            options.insert(QStringLiteral("handle_token"), token);
            QDBusMessage call = portalCall(QStringLiteral("SelectDevices"));
            call << QVariant::fromValue(QDBusObjectPath(session)) << options;
            return call;
        },
        stepTimeoutSeconds, this,
        [this](const PortalRequest::Answer &answer) {
            if (answer.outcome != PortalRequest::Outcome::granted) {
                fail(QStringLiteral("the desktop offered no keyboard: %1").arg(answer.problem));
                return;
            }
            startSession();
        });
}

void RemoteDesktopKeySynthesizer::startSession()
{
    const QString session = m_session;
    m_request = PortalRequest::send(
        m_bus, m_scheduler,
        [session](const QString &token) {
            QDBusMessage call = portalCall(QStringLiteral("Start"));
            call << QVariant::fromValue(QDBusObjectPath(session)) << QString()
                 << QVariantMap{{QStringLiteral("handle_token"), token}};
            return call;
        },
        startTimeoutSeconds, this,
        [this](const PortalRequest::Answer &answer) {
            if (answer.outcome == PortalRequest::Outcome::cancelled) {
                fail(QStringLiteral("keyboard control was declined; paste with Ctrl+V yourself, "
                                    "or allow it when Ovrin asks again"));
                return;
            }
            if (answer.outcome != PortalRequest::Outcome::granted) {
                fail(QStringLiteral("the desktop did not start keyboard control: %1")
                         .arg(answer.problem));
                return;
            }
            const QVariant devices = answer.results.value(QStringLiteral("devices"));
            if (devices.isValid() && !(devices.toUInt() & keyboardDevice)) {
                fail(QStringLiteral("the desktop granted no keyboard"));
                return;
            }
            // A restore token is good for one start: the new one replaces it, and none (a
            // desktop that keeps no grants) leaves nothing worth keeping.
            if (m_saveToken)
                m_saveToken(answer.results.value(QStringLiteral("restore_token")).toString());
            m_saidSendFailed = false;
            setState(State::ready);
        });
}

bool RemoteDesktopKeySynthesizer::send(Command command)
{
    if (m_state != State::ready)
        return false;
    const bool terminal = m_terminalFocused && m_terminalFocused();
    const int key = command == Command::paste ? keyV : keyC;
    notifyKey(leftCtrl, true);
    if (terminal)
        notifyKey(leftShift, true);
    notifyKey(key, true);
    notifyKey(key, false);
    if (terminal)
        notifyKey(leftShift, false);
    notifyKey(leftCtrl, false);
    return true;
}

void RemoteDesktopKeySynthesizer::notifyKey(int keycode, bool pressed)
{
    QDBusMessage call = portalCall(QStringLiteral("NotifyKeyboardKeycode"));
    call << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariantMap() << keycode
         << uint(pressed ? 1 : 0);
    // Keys go out in order on the one connection; only a refusal is worth waiting for.
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        if (!watcher->isError() || m_saidSendFailed || m_state != State::ready)
            return;
        m_saidSendFailed = true;
        closeSession();
        fail(QStringLiteral("the desktop stopped taking keystrokes: %1")
                 .arg(DBusCall::describe(watcher->reply())),
             State::idle);
    });
}

void RemoteDesktopKeySynthesizer::sessionClosed()
{
    m_bus.disconnect(PortalRequest::service, m_session, sessionInterface, QStringLiteral("Closed"),
                     this, SLOT(sessionClosed()));
    m_session.clear();
    if (m_request)
        m_request->cancel();
    setState(State::idle, QStringLiteral("the desktop ended keyboard control"));
}

void RemoteDesktopKeySynthesizer::fail(const QString &reason, State state)
{
    closeSession();
    setState(state, reason);
}

void RemoteDesktopKeySynthesizer::setState(State state, const QString &reason)
{
    if (state == m_state && reason == m_reason)
        return;
    m_state = state;
    m_reason = reason;
    if (!reason.isEmpty())
        qInfo("Ovrin: keystrokes through the desktop portal — %s.", qPrintable(reason));
    Q_EMIT stateChanged(state, reason);
}

void RemoteDesktopKeySynthesizer::closeSession()
{
    if (m_request)
        m_request->cancel();
    if (m_session.isEmpty())
        return;
    m_bus.disconnect(PortalRequest::service, m_session, sessionInterface, QStringLiteral("Closed"),
                     this, SLOT(sessionClosed()));
    DBusCall::post(m_bus,
                   QDBusMessage::createMethodCall(PortalRequest::service, m_session,
                                                  sessionInterface, QStringLiteral("Close")));
    m_session.clear();
}
