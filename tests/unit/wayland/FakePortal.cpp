#include "FakePortal.h"

#include "PrivateBus.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

} // namespace

FakePortal::FakePortal(PrivateBus &bus) : m_bus(bus)
{
    m_bus.services().registerVirtualObject(path, this, QDBusConnection::SubPath);
    m_bus.services().registerService(service);
}

FakePortal::~FakePortal()
{
    m_bus.services().unregisterService(service);
    m_bus.services().unregisterObject(path, QDBusConnection::UnregisterTree);
}

FakePortal::Handler FakePortal::answering(std::optional<uint> code,
                                          std::function<QVariantMap(const QDBusMessage &)> results)
{
    return [this, code, results](const QDBusMessage &call) -> QVariantList {
        const QVariantMap options = optionsOf(call);
        if (code)
            m_bus.respond(call, options, *code, results ? results(call) : QVariantMap());
        return {QVariant::fromValue(QDBusObjectPath(PrivateBus::requestPath(call, options)))};
    };
}

QList<QDBusMessage> FakePortal::callsOf(const QString &member) const
{
    QList<QDBusMessage> found;
    for (const QDBusMessage &call : calls) {
        if (call.member() == member)
            found << call;
    }
    return found;
}

QVariantMap FakePortal::optionsOf(const QDBusMessage &call)
{
    const QVariantList arguments = call.arguments();
    for (auto it = arguments.crbegin(); it != arguments.crend(); ++it) {
        if (it->metaType() == QMetaType::fromType<QVariantMap>())
            return it->toMap();
        if (it->metaType() == QMetaType::fromType<QDBusArgument>() &&
            qvariant_cast<QDBusArgument>(*it).currentSignature() == QLatin1String("a{sv}"))
            return qdbus_cast<QVariantMap>(*it);
    }
    return {};
}

bool FakePortal::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    calls << message;
    const QString method = message.interface() + QLatin1Char('.') + message.member();
    if (method == QLatin1String("org.freedesktop.DBus.Properties.Get")) {
        const QString interface = message.arguments().value(0).toString();
        if (message.path() == path && versions.contains(interface))
            connection.send(
                message.createReply(QVariant::fromValue(QDBusVariant(versions.value(interface)))));
        else
            connection.send(message.createErrorReply(QDBusError::UnknownProperty,
                                                     QStringLiteral("No such property")));
        return true;
    }
    if (method == QLatin1String("org.freedesktop.host.portal.Registry.Register")) {
        registeredApps << message.arguments().value(0).toString();
        connection.send(message.createReply());
        return true;
    }
    const auto handler = handlers.constFind(method);
    if (handler == handlers.cend()) {
        connection.send(message.createErrorReply(QDBusError::UnknownMethod,
                                                 QStringLiteral("No such method ") + method));
        return true;
    }
    connection.send(message.createReply((*handler)(message)));
    return true;
}
