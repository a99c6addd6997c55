#include "platform/wayland/DBusCall.h"

#include "core/Scheduler.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QPointer>

namespace {

const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

// One call on its way: the watcher and the bound die together with the context.
class PendingCall : public QObject
{
public:
    PendingCall(QObject *context, DBusCall::Done done) : QObject(context), m_done(std::move(done))
    {}

    void finish(const QDBusMessage &reply)
    {
        if (!m_done)
            return;
        m_timer.cancel();
        auto done = std::move(m_done);
        m_done = {};
        deleteLater();
        done(reply);
    }

    TimerHandle m_timer;

private:
    DBusCall::Done m_done;
};

} // namespace

const QString DBusCall::timeoutError = QStringLiteral("org.freedesktop.DBus.Error.Timeout");

void DBusCall::send(QDBusConnection bus, Scheduler &scheduler, const QDBusMessage &call,
                    double timeoutSeconds, QObject *context, Done done)
{
    auto *pending = new PendingCall(context, std::move(done));
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), pending);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, pending,
                     [pending, watcher] { pending->finish(watcher->reply()); });
    const QString service = call.service();
    QPointer<PendingCall> alive(pending);
    pending->m_timer = scheduler.schedule(timeoutSeconds, [alive, service, timeoutSeconds] {
        if (alive)
            alive->finish(QDBusMessage::createError(
                timeoutError,
                QStringLiteral("%1 did not answer within %2 s").arg(service).arg(timeoutSeconds)));
    });
}

void DBusCall::post(QDBusConnection bus, const QDBusMessage &call)
{
    QDBusMessage message = call;
    message.setAutoStartService(false); // no service started just to be told goodbye
    bus.send(message);
}

void DBusCall::interfaceVersion(QDBusConnection bus, Scheduler &scheduler, const QString &service,
                                const QString &path, const QString &interface,
                                double timeoutSeconds, QObject *context,
                                std::function<void(std::optional<uint>)> done)
{
    QDBusMessage get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << interface << QStringLiteral("version");
    send(bus, scheduler, get, timeoutSeconds, context,
         [done = std::move(done)](const QDBusMessage &reply) {
             if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                 done(std::nullopt);
                 return;
             }
             QVariant value = reply.arguments().first();
             if (value.metaType() == QMetaType::fromType<QDBusVariant>())
                 value = qvariant_cast<QDBusVariant>(value).variant();
             bool number = false;
             const uint version = value.toUInt(&number);
             done(number && version > 0 ? std::optional<uint>(version) : std::nullopt);
         });
}

bool DBusCall::reachable(QDBusConnection bus, const QString &service, int timeoutMs)
{
    if (!bus.isConnected())
        return false;
    QDBusMessage hasOwner = QDBusMessage::createMethodCall(busService, busPath, busService,
                                                           QStringLiteral("NameHasOwner"));
    hasOwner << service;
    const QDBusMessage owner = bus.call(hasOwner, QDBus::Block, timeoutMs);
    if (owner.type() == QDBusMessage::ReplyMessage && !owner.arguments().isEmpty() &&
        owner.arguments().first().toBool())
        return true;
    const QDBusMessage activatable =
        bus.call(QDBusMessage::createMethodCall(busService, busPath, busService,
                                                QStringLiteral("ListActivatableNames")),
                 QDBus::Block, timeoutMs);
    return activatable.type() == QDBusMessage::ReplyMessage && !activatable.arguments().isEmpty() &&
           activatable.arguments().first().toStringList().contains(service);
}

QString DBusCall::describe(const QDBusMessage &error)
{
    const QString name = error.errorName();
    if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
        name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return QStringLiteral("the desktop service is not running");
    if (name == timeoutError || name == QLatin1String("org.freedesktop.DBus.Error.NoReply"))
        return error.errorMessage().isEmpty() ? QStringLiteral("the desktop service did not answer")
                                              : error.errorMessage();
    if (name == QLatin1String("org.freedesktop.DBus.Error.Disconnected"))
        return QStringLiteral("the D-Bus session bus is gone");
    return QStringLiteral("%1 (%2)").arg(error.errorMessage(), name);
}

bool DBusCall::isUnknownMethod(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ErrorMessage &&
           (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod") ||
            reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownInterface"));
}
