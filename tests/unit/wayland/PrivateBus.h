#pragma once

#include "core/ManualClock.h"
#include "core/ManualScheduler.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QTemporaryDir>
#include <QVariantMap>

#include <functional>

// A dbus-daemon of the test's own that starts no services, so only the fakes answer; one
// connection for the code under test, one for the fake desktop services. Time is manual.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    // Empty when the bus is up; why not otherwise.
    const QString &problem() const { return m_problem; }
    QDBusConnection client() const;
    QDBusConnection services() const;

    void emitSignal(const QString &path, const QString &interface, const QString &name,
                    const QVariantList &arguments) const;
    // Where the portal answers a call whose options carry a handle_token.
    static QString requestPath(const QDBusMessage &call, const QVariantMap &options);
    // The portal's Response to such a call.
    void respond(const QDBusMessage &call, const QVariantMap &options, uint code,
                 const QVariantMap &results = {}) const;

    // Runs the event loop and the scheduler's posted work until `condition` holds; false after
    // five seconds.
    bool settle(const std::function<bool()> &condition);
    // Returns once the bus has seen everything the client sent while handling what had reached
    // it, so a signal emitted now meets the subscriptions made meanwhile.
    bool flush();

    ManualClock clock;
    ManualScheduler scheduler{clock};

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_clientName;
    QString m_servicesName;
    QString m_problem;
};

// Skips the test when no private bus could be had (no dbus-daemon).
#define OVRIN_REQUIRE_BUS(bus)                                                                     \
    do {                                                                                           \
        if (!(bus).problem().isEmpty())                                                            \
            QSKIP(qPrintable((bus).problem()));                                                    \
    } while (false)
