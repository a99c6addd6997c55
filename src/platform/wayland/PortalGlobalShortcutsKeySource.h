#pragma once

#include "platform/KeyEventSource.h"
#include "platform/wayland/ComboHold.h"
#include "platform/wayland/ComboKeys.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>

class PortalRequest;
class QDBusObjectPath;
class Scheduler;

// Shortcuts through the desktop portal's GlobalShortcuts interface: one session whose shortcuts
// are our combinations, each proposed with its keys (the desktop may let the user pick others;
// whatever they are, their activation plays our combination). Activated and Deactivated are
// played as the key events of holding it. A session binds only once, so new combinations mean
// a new session.
class PortalGlobalShortcutsKeySource : public QObject, public KeyEventSource
{
    Q_OBJECT
public:
    static const QString interface; // org.freedesktop.portal.GlobalShortcuts
    static constexpr double sessionTimeoutSeconds = 10;
    // Binding may show the user a dialog.
    static constexpr double bindTimeoutSeconds = 120;

    PortalGlobalShortcutsKeySource(QDBusConnection bus, Scheduler &scheduler,
                                   QObject *parent = nullptr);
    ~PortalGlobalShortcutsKeySource() override;

    // Asynchronous: `done(true)`, later, when the portal has the interface (its version can be
    // read); false otherwise or after two seconds. Nothing is called once `context` is gone.
    static void offered(QDBusConnection bus, Scheduler &scheduler, QObject *context,
                        std::function<void(bool)> done);

    // False without a portal on the bus (asks the bus daemon only, at most a second). Binding
    // goes on in the background; what the desktop did not take, refusals() tells.
    bool start(Handler handler) override;
    void stop() override;
    std::uint64_t currentModifierFlags() const override { return m_hold.modifiers(); }
    void setSwallowedCombos(QList<Combo> combos) override;

    const QList<ComboKeys::Refusal> &refusals() const { return m_refusals; }
    // The session's object path; empty until the desktop made one.
    const QString &session() const { return m_session; }

Q_SIGNALS:
    void refusalsChanged();

private Q_SLOTS:
    void activated(const QDBusObjectPath &session, const QString &id, qulonglong timestamp,
                   const QVariantMap &options);
    void deactivated(const QDBusObjectPath &session, const QString &id, qulonglong timestamp,
                     const QVariantMap &options);
    void sessionClosed();

private:
    QHash<QString, Combo> wanted() const;
    void rebind();
    void createSession();
    void bind();
    void closeSession();
    void refuseAll(const QString &reason);
    void updateRefusals();

    QDBusConnection m_bus;
    Scheduler &m_scheduler;
    Handler m_handler;
    bool m_started = false;
    unsigned m_generation = 0; // answers for an earlier session are stale
    QList<Combo> m_combos;
    QHash<QString, Combo> m_asked; // id → combination, for the session being made or made
    QHash<QString, Combo> m_bound; // the ones the desktop took
    QHash<QString, QString> m_serviceRefusals; // id → reason
    QList<ComboKeys::Refusal> m_refusals;
    QString m_session;
    QPointer<PortalRequest> m_request;
    ComboHold m_hold;
};
