#pragma once

class AccessibilitySwitch;
class ClipboardWatcher;
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
};
