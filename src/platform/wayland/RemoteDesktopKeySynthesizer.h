#pragma once

#include "platform/KeySynthesizer.h"

#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class PortalRequest;
class Scheduler;

// The paste and copy keystrokes through the portal's RemoteDesktop interface: a session with a
// keyboard, granted by the user once; the restore token the desktop hands back lets later runs
// start without asking again. Keys are sent as evdev key codes of a PC keyboard, so Ctrl+V is
// the keys where Ctrl and V are, whatever the layout.
class RemoteDesktopKeySynthesizer : public QObject, public KeySynthesizer
{
    Q_OBJECT
public:
    enum class State {
        idle,    // no session (not asked yet, or the desktop closed it)
        asking,  // the session is being made; the desktop may be asking the user
        ready,   // keystrokes go out
        refused, // the user or the desktop said no; reason() tells
    };
    Q_ENUM(State)

    static const QString interface; // org.freedesktop.portal.RemoteDesktop
    // evdev key codes
    static constexpr int leftCtrl = 29, leftShift = 42, keyV = 47, keyC = 46;
    static constexpr double stepTimeoutSeconds = 10;
    // Starting the session shows the user a dialog unless the restore token still holds.
    static constexpr double startTimeoutSeconds = 120;

    using LoadToken = std::function<QString()>;
    using SaveToken = std::function<void(const QString &)>;
    using TerminalFocused = std::function<bool()>;

    RemoteDesktopKeySynthesizer(QDBusConnection bus, Scheduler &scheduler, LoadToken loadToken,
                                SaveToken saveToken, TerminalFocused terminalFocused,
                                QObject *parent = nullptr);
    // Closes the session.
    ~RemoteDesktopKeySynthesizer() override;

    // Asynchronous: `done(true)`, later, when the portal has the interface (its version can be
    // read); false otherwise or after two seconds. Nothing is called once `context` is gone.
    static void offered(QDBusConnection bus, Scheduler &scheduler, QObject *context,
                        std::function<void(bool)> done);

    // Makes the session ahead of the first keystroke; nothing while asking or ready.
    void prepare();
    // False, and nothing queued, unless the session is ready.
    bool send(Command command) override;

    State state() const { return m_state; }
    // Why the session is refused or was closed, in the user's words.
    const QString &reason() const { return m_reason; }

Q_SIGNALS:
    void stateChanged(RemoteDesktopKeySynthesizer::State state, const QString &reason);

private Q_SLOTS:
    void sessionClosed();

private:
    void createSession();
    void selectDevices();
    void startSession();
    void notifyKey(int keycode, bool pressed);
    void fail(const QString &reason, State state = State::refused);
    void setState(State state, const QString &reason = {});
    void closeSession();

    QDBusConnection m_bus;
    Scheduler &m_scheduler;
    LoadToken m_loadToken;
    SaveToken m_saveToken;
    TerminalFocused m_terminalFocused;
    State m_state = State::idle;
    QString m_reason;
    QString m_session;
    QPointer<PortalRequest> m_request;
    bool m_saidSendFailed = false;
};
