#include "PrivateBus.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDeadlineTimer>
#include <QFile>

namespace {

int s_buses = 0;

const char config[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

PrivateBus::PrivateBus()
{
    // Not the session configuration: it would start the real portal for a call no fake takes.
    QFile file(m_dir.filePath(QStringLiteral("bus.conf")));
    if (!m_dir.isValid() || !file.open(QIODevice::WriteOnly)) {
        m_problem = QStringLiteral("no temporary folder for the bus");
        return;
    }
    file.write(QString::fromLatin1(config).arg(m_dir.path()).toUtf8());
    file.close();
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + file.fileName(),
                    QStringLiteral("--print-address"), QStringLiteral("--nofork")});
    if (!m_daemon.waitForStarted(5000) || !m_daemon.waitForReadyRead(5000)) {
        m_problem = QStringLiteral("dbus-daemon did not start: ") + m_daemon.errorString();
        return;
    }
    const QString address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    ++s_buses;
    m_clientName = QStringLiteral("client-%1").arg(s_buses);
    m_servicesName = QStringLiteral("services-%1").arg(s_buses);
    if (!QDBusConnection::connectToBus(address, m_clientName).isConnected() ||
        !QDBusConnection::connectToBus(address, m_servicesName).isConnected())
        m_problem = QStringLiteral("cannot connect to the private bus at ") + address;
}

PrivateBus::~PrivateBus()
{
    if (!m_clientName.isEmpty()) {
        QDBusConnection::disconnectFromBus(m_clientName);
        QDBusConnection::disconnectFromBus(m_servicesName);
    }
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }
}

QDBusConnection PrivateBus::client() const
{
    return QDBusConnection(m_clientName);
}

QDBusConnection PrivateBus::services() const
{
    return QDBusConnection(m_servicesName);
}

void PrivateBus::emitSignal(const QString &path, const QString &interface, const QString &name,
                            const QVariantList &arguments) const
{
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
    signal.setArguments(arguments);
    services().send(signal);
}

QString PrivateBus::requestPath(const QDBusMessage &call, const QVariantMap &options)
{
    const QString sender = call.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
        .arg(sender, options.value(QStringLiteral("handle_token")).toString());
}

void PrivateBus::respond(const QDBusMessage &call, const QVariantMap &options, uint code,
                         const QVariantMap &results) const
{
    emitSignal(requestPath(call, options), QStringLiteral("org.freedesktop.portal.Request"),
               QStringLiteral("Response"), {code, results});
}

bool PrivateBus::settle(const std::function<bool()> &condition)
{
    QDeadlineTimer deadline(5000);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        scheduler.runPending();
    }
    return true;
}

bool PrivateBus::flush()
{
    // The first answer comes after every reply queued before it has been handled; the second
    // ask leaves after whatever those handlers sent, and the bus takes a client's messages in
    // order.
    for (int trip = 0; trip < 2; ++trip) {
        QDBusPendingCall ping = client().asyncCall(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
        QDBusPendingCallWatcher watcher(ping);
        bool answered = false;
        QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, [&] { answered = true; });
        if (!settle([&] { return answered; }))
            return false;
    }
    return true;
}
