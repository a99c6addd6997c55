#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

#include <functional>
#include <optional>

class QObject;
class Scheduler;

// Method calls to desktop services that may never answer. Each is asynchronous and bounded
// through the Scheduler, so a stuck service costs a late "no answer" instead of a frozen
// application; its answer is dropped when `context` is gone.
class DBusCall
{
public:
    using Done = std::function<void(const QDBusMessage &reply)>;

    // The error a call gets when the Scheduler's bound passes first.
    static const QString timeoutError;

    // `done` runs once, later, with the reply or an error message (timeoutError after
    // `timeoutSeconds`).
    static void send(QDBusConnection bus, Scheduler &scheduler, const QDBusMessage &call,
                     double timeoutSeconds, QObject *context, Done done);
    // Sends without waiting for any answer (closing a session on the way out).
    static void post(QDBusConnection bus, const QDBusMessage &call);

    // The `version` property of `interface` at `path`; nothing when it cannot be read, which is
    // how a portal without that interface answers.
    static void interfaceVersion(QDBusConnection bus, Scheduler &scheduler, const QString &service,
                                 const QString &path, const QString &interface,
                                 double timeoutSeconds, QObject *context,
                                 std::function<void(std::optional<uint>)> done);

    // Whether `service` runs or the bus can start it. Blocks, but only on the bus daemon, which
    // answers at once; at most `timeoutMs`.
    static bool reachable(QDBusConnection bus, const QString &service, int timeoutMs = 1000);

    // An error reply in words for the user ("the desktop service is not running").
    static QString describe(const QDBusMessage &error);
    static bool isUnknownMethod(const QDBusMessage &reply);
};
