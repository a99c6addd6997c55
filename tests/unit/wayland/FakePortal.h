#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <QStringList>
#include <QVariantMap>

#include <functional>

class PrivateBus;

// The desktop portal on a private bus: its name, its object and every path below it (requests,
// sessions). Each method a test needs is scripted; every call is kept, in order. The host
// registry is built in.
class FakePortal : public QDBusVirtualObject
{
public:
    // Gives the reply's arguments.
    using Handler = std::function<QVariantList(const QDBusMessage &call)>;

    explicit FakePortal(PrivateBus &bus);
    ~FakePortal() override;

    // A method of the Request kind: its Response (code, results) goes out before its reply,
    // which no client may count on; no answer at all when `code` is empty.
    Handler answering(std::optional<uint> code,
                      std::function<QVariantMap(const QDBusMessage &)> results = {});

    // The calls of one method ("Start"), in order.
    QList<QDBusMessage> callsOf(const QString &member) const;
    // The options (the last a{sv}) a call carried.
    static QVariantMap optionsOf(const QDBusMessage &call);

    QHash<QString, uint> versions;    // interface → its version property
    QHash<QString, Handler> handlers; // "org.freedesktop.portal.X.Method" → what it does
    QList<QDBusMessage> calls;
    QStringList registeredApps;

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    PrivateBus &m_bus;
};
