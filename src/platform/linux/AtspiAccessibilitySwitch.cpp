#include "platform/linux/AtspiAccessibilitySwitch.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace {

// The bus launcher answers at once; a session without one must not stall the caller.
constexpr int callTimeoutMs = 500;

QDBusMessage propertiesCall(const QString &method)
{
    return QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.freedesktop.DBus.Properties"), method);
}

} // namespace

AccessibilitySwitch::Outcome AtspiAccessibilitySwitch::switchOn()
{
    const std::optional<bool> on = isOn();
    if (!on)
        return Outcome::failed;
    if (*on)
        return Outcome::alreadyOn;
    return setOn(true) ? Outcome::switchedOn : Outcome::failed;
}

std::optional<bool> AtspiAccessibilitySwitch::isOn()
{
    QDBusMessage call = propertiesCall(QStringLiteral("Get"));
    call << QStringLiteral("org.a11y.Status") << QStringLiteral("IsEnabled");
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, callTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    const QVariant value = qvariant_cast<QDBusVariant>(reply.arguments().constFirst()).variant();
    if (value.typeId() != QMetaType::Bool)
        return std::nullopt;
    return value.toBool();
}

bool AtspiAccessibilitySwitch::setOn(bool on)
{
    QDBusMessage call = propertiesCall(QStringLiteral("Set"));
    call << QStringLiteral("org.a11y.Status") << QStringLiteral("IsEnabled")
         << QVariant::fromValue(QDBusVariant(on));
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, callTimeoutMs);
    return reply.type() == QDBusMessage::ReplyMessage;
}
