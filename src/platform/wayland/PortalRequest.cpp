#include "platform/wayland/PortalRequest.h"

#include "core/Scheduler.h"
#include "platform/wayland/DBusCall.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QHash>
#include <QPointer>
#include <QRandomGenerator>

#include <atomic>

namespace {

const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString registryInterface = QStringLiteral("org.freedesktop.host.portal.Registry");

// Per connection (its name and unique bus name): whether the registry has answered, and who
// waits for it.
struct Registration
{
    bool answered = false;
    QList<std::function<void()>> waiting;
};

QHash<QString, Registration> &registrations()
{
    static QHash<QString, Registration> byConnection;
    return byConnection;
}

} // namespace

const QString PortalRequest::service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString PortalRequest::desktopPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString PortalRequest::appId = QStringLiteral("com.ovrin.app");

PortalRequest::PortalRequest(QDBusConnection bus, QObject *context, Done done)
    : QObject(context), m_bus(std::move(bus)), m_token(newToken()), m_done(std::move(done))
{}

PortalRequest::~PortalRequest()
{
    if (m_done)
        closeOnPortal();
}

void PortalRequest::interfaceOffered(QDBusConnection bus, Scheduler &scheduler,
                                     const QString &interface, QObject *context,
                                     std::function<void(bool)> done)
{
    // The registry comes first: the portal fixes who we are at our first call.
    registerApp(bus, context, [bus, &scheduler, interface, context, done]() mutable {
        DBusCall::interfaceVersion(
            bus, scheduler, service, desktopPath, interface, 2, context,
            [done](std::optional<uint> version) { done(version.has_value()); });
    });
}

PortalRequest *PortalRequest::createSession(QDBusConnection bus, Scheduler &scheduler,
                                            const QString &interface, const QString &what,
                                            double timeoutSeconds, QObject *context,
                                            SessionDone done)
{
    return send(
        bus, scheduler,
        [interface](const QString &token) {
            QDBusMessage call = QDBusMessage::createMethodCall(service, desktopPath, interface,
                                                               QStringLiteral("CreateSession"));
            call << QVariantMap{{QStringLiteral("handle_token"), token},
                                {QStringLiteral("session_handle_token"), newToken()}};
            return call;
        },
        timeoutSeconds, context,
        [what, done = std::move(done)](const Answer &answer) {
            const QVariant handle = answer.results.value(QStringLiteral("session_handle"));
            // Portals send the handle as a string, though the documentation says object path.
            const QString session = handle.metaType() == QMetaType::fromType<QDBusObjectPath>()
                                        ? handle.value<QDBusObjectPath>().path()
                                        : handle.toString();
            if (answer.outcome == Outcome::granted && !session.isEmpty())
                done(session, {});
            else
                done({}, QStringLiteral("the desktop opened no %1 session: %2")
                             .arg(what, answer.problem.isEmpty() ? QStringLiteral("it named none")
                                                                 : answer.problem));
        });
}

PortalRequest *PortalRequest::send(QDBusConnection bus, Scheduler &scheduler, MakeCall makeCall,
                                   double timeoutSeconds, QObject *context, Done done)
{
    auto *request = new PortalRequest(bus, context, std::move(done));
    request->m_timer = scheduler.schedule(timeoutSeconds, [request, timeoutSeconds] {
        request->closeOnPortal();
        request->finish(
            {Outcome::timedOut,
             {},
             QStringLiteral("the desktop did not answer within %1 s").arg(timeoutSeconds)});
    });
    registerApp(bus, request, [request, makeCall = std::move(makeCall)] {
        if (request->m_done)
            request->call(makeCall(request->m_token));
    });
    return request;
}

QString PortalRequest::requestPath(const QString &uniqueName, const QString &token)
{
    QString sender = uniqueName;
    if (sender.startsWith(QLatin1Char(':')))
        sender.remove(0, 1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("%1/request/%2/%3").arg(desktopPath, sender, token);
}

QString PortalRequest::newToken()
{
    static std::atomic<unsigned> counter = 0;
    return QStringLiteral("ovrin%1_%2")
        .arg(++counter)
        .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
}

void PortalRequest::registerApp(QDBusConnection bus, QObject *context, std::function<void()> then)
{
    const QString key = bus.name() + QLatin1Char('\n') + bus.baseService();
    Registration &registration = registrations()[key];
    QPointer<QObject> alive(context);
    auto guarded = [alive, then = std::move(then)] {
        if (alive)
            then();
    };
    if (registration.answered) {
        guarded();
        return;
    }
    registration.waiting.append(std::move(guarded));
    if (registration.waiting.size() > 1)
        return; // asked already
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, desktopPath, registryInterface, "Register");
    call << appId << QVariantMap();
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [key, watcher] {
        watcher->deleteLater();
        Registration &done = registrations()[key];
        done.answered = true;
        const auto waiting = std::exchange(done.waiting, {});
        for (const auto &next : waiting)
            next();
    });
}

void PortalRequest::cancel()
{
    if (!m_done)
        return;
    closeOnPortal();
    m_done = {};
    m_timer.cancel();
    deleteLater();
}

void PortalRequest::call(const QDBusMessage &message)
{
    follow(requestPath(m_bus.baseService(), m_token));
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            finish({Outcome::failed, {}, DBusCall::describe(reply)});
            return;
        }
        // Portals before handle tokens answered on a path of their own choosing.
        const QString handle = reply.arguments().value(0).value<QDBusObjectPath>().path();
        if (!handle.isEmpty() && handle != m_path)
            follow(handle);
    });
}

void PortalRequest::follow(const QString &path)
{
    if (!m_path.isEmpty())
        m_bus.disconnect(service, m_path, requestInterface, QStringLiteral("Response"), this,
                         SLOT(response(uint, QVariantMap)));
    m_path = path;
    m_bus.connect(service, m_path, requestInterface, QStringLiteral("Response"), this,
                  SLOT(response(uint, QVariantMap)));
}

void PortalRequest::response(uint code, const QVariantMap &results)
{
    switch (code) {
    case 0:
        finish({Outcome::granted, results, {}});
        break;
    case 1:
        finish({Outcome::cancelled, results, QStringLiteral("the request was declined")});
        break;
    default:
        finish({Outcome::ended, results, QStringLiteral("the desktop ended the request")});
        break;
    }
}

void PortalRequest::finish(const Answer &answer)
{
    if (!m_done)
        return;
    m_timer.cancel();
    m_bus.disconnect(service, m_path, requestInterface, QStringLiteral("Response"), this,
                     SLOT(response(uint, QVariantMap)));
    const Done done = std::exchange(m_done, {});
    deleteLater();
    done(answer);
}

void PortalRequest::closeOnPortal()
{
    if (m_path.isEmpty())
        return;
    DBusCall::post(m_bus, QDBusMessage::createMethodCall(service, m_path, requestInterface,
                                                         QStringLiteral("Close")));
}
