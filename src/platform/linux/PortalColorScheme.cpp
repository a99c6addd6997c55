#include "platform/linux/PortalColorScheme.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");
// ReadOne came with version 2 of the interface; Read wraps the value in one more variant.
const QString readOneMethod = QStringLiteral("ReadOne");
const QString readMethod = QStringLiteral("Read");

bool isError(const QDBusMessage &reply, QLatin1String name)
{
    return reply.type() == QDBusMessage::ErrorMessage && reply.errorName() == name;
}

bool isUnknownMethod(const QDBusMessage &reply)
{
    return isError(reply, QLatin1String("org.freedesktop.DBus.Error.UnknownMethod"));
}

bool isTimeout(const QDBusMessage &reply)
{
    return isError(reply, QLatin1String("org.freedesktop.DBus.Error.NoReply")) ||
           isError(reply, QLatin1String("org.freedesktop.DBus.Error.Timeout"));
}

bool isAbsent(const QDBusMessage &reply)
{
    return isError(reply, QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")) ||
           isError(reply, QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"));
}

} // namespace

PortalColorScheme::PortalColorScheme(QDBusConnection bus, int firstReadTimeoutMs, QObject *parent)
    : ColorSchemeSource(parent), m_bus(std::move(bus))
{
    if (!m_bus.isConnected()) {
        sayUnavailable(QStringLiteral("no D-Bus session bus"));
        return;
    }
    // Subscribed before the first read, so a change while it travels is not missed. The
    // subscription follows the name: a portal that starts later is heard too.
    m_bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                  SLOT(settingChanged(QString, QString, QDBusVariant)));
    QString method = readOneMethod;
    QDBusMessage reply = m_bus.call(readCall(method), QDBus::Block, firstReadTimeoutMs);
    if (isUnknownMethod(reply)) {
        method = readMethod;
        reply = m_bus.call(readCall(method), QDBus::Block, firstReadTimeoutMs);
    }
    if (isTimeout(reply)) {
        sayUnavailable(QStringLiteral("the desktop portal did not answer within %1 ms; its "
                                      "answer applies when it comes")
                           .arg(firstReadTimeoutMs));
        readAsynchronously(method);
        return;
    }
    takeReply(reply);
}

std::optional<ColorSchemeSource::Scheme> PortalColorScheme::schemeOf(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = qvariant_cast<QDBusVariant>(value).variant();
    switch (value.typeId()) {
    case QMetaType::UInt:
    case QMetaType::Int:
    case QMetaType::UShort:
    case QMetaType::Short:
    case QMetaType::UChar:
    case QMetaType::ULongLong:
    case QMetaType::LongLong:
        break;
    default:
        return std::nullopt;
    }
    // Values a later desktop may add mean no preference.
    switch (value.toLongLong()) {
    case 1:
        return Scheme::dark;
    case 2:
        return Scheme::light;
    default:
        return Scheme::noPreference;
    }
}

void PortalColorScheme::settingChanged(const QString &settingNamespace, const QString &key,
                                       const QDBusVariant &value)
{
    if (settingNamespace != appearance || key != colorSchemeKey)
        return;
    m_heardChange = true;
    setScheme(schemeOf(QVariant::fromValue(value)).value_or(Scheme::noPreference));
}

QDBusMessage PortalColorScheme::readCall(const QString &method) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call << appearance << colorSchemeKey;
    return call;
}

void PortalColorScheme::takeReply(const QDBusMessage &reply)
{
    if (isAbsent(reply)) {
        sayUnavailable(QStringLiteral("no desktop portal on the session bus"));
        return;
    }
    if (reply.type() == QDBusMessage::ErrorMessage) {
        sayUnavailable(QStringLiteral("the desktop portal answered %1: %2")
                           .arg(reply.errorName(), reply.errorMessage()));
        return;
    }
    const std::optional<Scheme> scheme =
        reply.arguments().isEmpty() ? std::nullopt : schemeOf(reply.arguments().first());
    if (!scheme) {
        sayUnavailable(QStringLiteral("the desktop portal's answer is no colour scheme (%1)")
                           .arg(reply.signature()));
        return;
    }
    setScheme(*scheme);
}

void PortalColorScheme::readAsynchronously(const QString &method)
{
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(readCall(method)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, method] {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        if (method == readOneMethod && isUnknownMethod(reply))
            readAsynchronously(readMethod);
        else if (!m_heardChange) // a signal since is newer than this answer
            takeReply(reply);
    });
}

void PortalColorScheme::setScheme(Scheme scheme)
{
    if (m_scheme == scheme)
        return;
    m_scheme = scheme;
    Q_EMIT schemeChanged(scheme);
}

void PortalColorScheme::sayUnavailable(const QString &reason)
{
    if (m_saidUnavailable)
        return;
    m_saidUnavailable = true;
    qInfo("Ovrin: the desktop's colour scheme is unknown — %s.", qPrintable(reason));
}
