#pragma once

#include "platform/DesktopRung.h"

#include <functional>
#include <memory>

class AccessibilitySwitch;
class ClipboardWatcher;
class ClipboardWriter;
class ScreenGrabber;
class WindowSystem;
class FocusedTextReader;
class InstalledApps;
class KeyEventSource;
class KeySynthesizer;
class LoginItem;
class PermissionProbe;
class SystemLog;

// The platform implementations main() picks for the application. All outlive it.
struct PlatformServices
{
    PermissionProbe &permissions;
    LoginItem &loginItem;
    SystemLog &systemLog;
    KeyEventSource &keySource;
    KeySynthesizer &keySynthesizer;
    FocusedTextReader &focusedText;
    ClipboardWatcher &clipboard;
    InstalledApps &installedApps;
    AccessibilitySwitch &accessibilitySwitch;
    // Null: floating panels are drawn opaque and screenshots have no pointer.
    const WindowSystem *windowSystem = nullptr;
    // Null: Qt's own clipboard.
    ClipboardWriter *clipboardWriter = nullptr;
    // Null: the screen is grabbed through Qt.
    ScreenGrabber *screenGrabber = nullptr;
    // A clipboard reader of its own for each call, for a worker thread; empty when the
    // clipboard can't be read that way (it is then not restored after a paste).
    std::function<std::unique_ptr<ClipboardWatcher>()> clipboardReaders = {};
    // The session ("X11", "Wayland (sway)") and how each function reaches it.
    QString desktopName = {};
    DesktopRungs desktopRungs = {};
};
