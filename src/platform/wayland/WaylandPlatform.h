#pragma once

#include "platform/DesktopRung.h"
#include "platform/wayland/WaylandLadder.h"

#include <QDBusConnection>
#include <QObject>
#include <QProcessEnvironment>

#include <functional>
#include <memory>

class ClipboardWatcher;
class ClipboardWriter;
class Clock;
class KeyEventSource;
class KeySynthesizer;
class PermissionProbe;
class Scheduler;
class ScreenGrabber;
class WaylandConnection;
class WlClipboard;

// The platform of a Wayland session: finds out at start what the session offers, chooses a
// rung for each function (WaylandLadder) and owns the objects of the chosen rungs.
class WaylandPlatform : public QObject
{
    Q_OBJECT
public:
    struct Options
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        QDBusConnection bus = QDBusConnection::sessionBus();
        QString deviceDirectory = QStringLiteral("/dev/input");
        QString uinputPath = QStringLiteral("/dev/uinput");
        // The focused application is a terminal (it wants Ctrl+Shift+V).
        std::function<bool()> focusedIsTerminal;
        // The remote-control consent kept between runs (the keyring).
        std::function<QString()> loadRestoreToken;
        std::function<void(const QString &)> saveRestoreToken;
    };

    // Asks the session's services, waiting at most `probeSeconds` for them all.
    WaylandPlatform(const Clock &clock, Scheduler &scheduler, Options options,
                    double probeSeconds = 2, QObject *parent = nullptr);
    ~WaylandPlatform() override;

    const WaylandLadder::Facts &facts() const { return m_facts; }
    const WaylandLadder::Choice &choice() const { return m_choice; }
    // "Wayland (sway)".
    QString desktopName() const;

    KeyEventSource &keySource() { return *m_keySource; }
    KeySynthesizer &keySynthesizer() { return *m_keySynthesizer; }
    // Null where the clipboard goes through XWayland (Qt's own, with the X watcher).
    ClipboardWatcher *clipboardWatcher() const { return m_clipboardWatcher; }
    ClipboardWriter *clipboardWriter() const { return m_clipboardWriter; }
    // Null where no screenshot can be taken.
    ScreenGrabber *screenGrabber() const { return m_screenGrabber.get(); }
    // The permissions as this session grants them, the microphone from `base`.
    std::unique_ptr<PermissionProbe> permissions(PermissionProbe &base) const;
    // Asks for the remote-control session ahead of the first paste (the desktop may ask
    // the user); nothing for other rungs.
    void prepare();

private:
    void gather(Scheduler &scheduler, double probeSeconds);
    void build(const Clock &clock, Scheduler &scheduler);

    Options m_options;
    std::unique_ptr<WaylandConnection> m_connection;
    WaylandLadder::Facts m_facts;
    WaylandLadder::Choice m_choice;
    std::unique_ptr<KeyEventSource> m_keySource;
    std::unique_ptr<KeySynthesizer> m_keySynthesizer;
    std::unique_ptr<WlClipboard> m_clipboard;
    ClipboardWatcher *m_clipboardWatcher = nullptr;
    ClipboardWriter *m_clipboardWriter = nullptr;
    std::unique_ptr<ScreenGrabber> m_screenGrabber;
    std::function<void()> m_prepare;
};
