#pragma once

#include "platform/DesktopRung.h"

#include <QProcessEnvironment>
#include <QSet>
#include <QString>

// Which way each function reaches a Wayland desktop, chosen once at start from what the
// session offers: the compositor's protocols, the services on the session bus, the kernel
// devices we may use and the tools installed. Pure: the facts are gathered elsewhere.
class WaylandLadder
{
public:
    enum class Desktop { gnome, kde, wlroots, other };
    enum class Hotkeys { evdev, kglobalaccel, portal, commandOnly };
    enum class Paste { uinput, virtualKeyboard, remoteDesktop, clipboardOnly };
    enum class Clipboard { dataControl, xwayland };
    enum class Screenshots { screencopy, portal, none };

    struct Facts
    {
        Desktop desktop = Desktop::other;
        QSet<QString> protocols; // Wayland globals the compositor offers
        bool kglobalaccel = false;
        bool portalGlobalShortcuts = false;
        bool portalRemoteDesktop = false;
        bool portalScreenshot = false;
        bool evdevReadable = false;  // at least one keyboard could be opened
        bool uinputWritable = false; // the virtual keyboard device could be made
        bool wlClipboardTools = false;
        bool grim = false;
    };

    struct Choice
    {
        Hotkeys hotkeys;
        Paste paste;
        Clipboard clipboard;
        Screenshots screenshots;
        DesktopRungs rungs; // Hotkeys, Paste, Clipboard, Floating panels, Screenshots
    };

    // A Wayland session, whatever display Qt itself talks to.
    static bool isWaylandSession(const QProcessEnvironment &environment);
    static Desktop desktopOf(const QProcessEnvironment &environment);
    static Choice choose(const Facts &facts);

    static constexpr const char *inputGroupCommand = "sudo usermod -aG input $USER";
};
