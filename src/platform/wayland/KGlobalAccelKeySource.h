#pragma once

#include "platform/KeyEventSource.h"
#include "platform/wayland/ComboHold.h"
#include "platform/wayland/ComboKeys.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

#include <functional>
#include <memory>

class QDBusServiceWatcher;
class Scheduler;

// Shortcuts through KDE Plasma's global accelerator service, which sees keys that a Wayland
// session shows no other client. Each combination becomes an action of our component with
// exactly its keys (the user's choice in our settings wins over anything remembered); the
// service's pressed and released signals are played as the key events of holding the
// combination. Only shortcuts with a key: modifiers held alone and the fn key are no global
// accelerators there.
class KGlobalAccelKeySource : public QObject, public KeyEventSource
{
    Q_OBJECT
public:
    static const QString service;   // org.kde.kglobalaccel
    static const QString component; // our component's unique name
    // How long a call to the service may take before it counts as not answering.
    static constexpr double callTimeoutSeconds = 5;

    KGlobalAccelKeySource(QDBusConnection bus, Scheduler &scheduler, QObject *parent = nullptr);
    ~KGlobalAccelKeySource() override;

    // Asynchronous: `done(true)`, later, when the service runs on `bus`; false when it does not
    // or does not answer within a second. Nothing is called once `context` is gone.
    static void offered(QDBusConnection bus, Scheduler &scheduler, QObject *context,
                        std::function<void(bool)> done);

    // False without the service on the bus (asks the bus daemon only, at most a second).
    // Registration goes on in the background; what it could not register, refusals() tells.
    bool start(Handler handler) override;
    // Unregisters every combination, so the desktop no longer keeps those keys from others.
    void stop() override;
    std::uint64_t currentModifierFlags() const override { return m_hold.modifiers(); }
    void setSwallowedCombos(QList<Combo> combos) override;

    // The combinations not registered and why: fn, a key without a name there, a key already
    // taken by another shortcut, or a service that failed.
    const QList<ComboKeys::Refusal> &refusals() const { return m_refusals; }
    // The combinations the service took: only their presses are heard.
    QList<Combo> registeredCombos() const { return m_registered.values(); }

Q_SIGNALS:
    void refusalsChanged();

private Q_SLOTS:
    void shortcutPressed(const QString &componentUnique, const QString &actionUnique,
                         qlonglong timestamp);
    void shortcutReleased(const QString &componentUnique, const QString &actionUnique,
                          qlonglong timestamp);

private:
    void sync();
    void registerAction(const QString &id, const Combo &combo);
    void setKeys(const QString &id, const Combo &combo, bool olderCall);
    void unregisterAction(const QString &id);
    void forgetStaleActions();
    void followComponent();
    void unfollowComponent();
    // Connects (or disconnects) the component's pressed and released signals.
    void listenToComponent(bool listen);
    void serviceOwnerChanged(const QString &newOwner);
    void refuse(const QString &id, const QString &reason);
    void updateRefusals();
    QStringList actionId(const QString &id, const Combo &combo) const;

    QDBusConnection m_bus;
    Scheduler &m_scheduler;
    Handler m_handler;
    bool m_started = false;
    unsigned m_generation = 0; // answers of an earlier service instance or start are stale
    QList<Combo> m_combos;
    QHash<QString, Combo> m_registered;        // action id → combination the service took
    QHash<QString, Combo> m_pending;           // asked, not answered yet
    QHash<QString, QString> m_serviceRefusals; // id → why the service refused it
    QList<ComboKeys::Refusal> m_refusals;
    bool m_olderCalls = false; // the service predates setShortcutKeys
    QString m_componentPath;
    bool m_askedComponent = false;
    ComboHold m_hold;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
};
