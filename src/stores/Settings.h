#pragma once

#include "hotkeys/CaptureMode.h"
#include "hotkeys/Shortcut.h"

#include <QString>

enum class AppTheme { system, light, dark };

// The user's preferences. Value type; every field has a default.
struct Settings
{
    bool cleanupEnabled = false;
    Shortcut pushToTalkKey = Shortcut::legacy(QStringLiteral("fn"));
    Shortcut askKey = Shortcut::legacy(QStringLiteral("fn+control"));
    Shortcut screenKey = Shortcut::legacy(QStringLiteral("fn+control+option"));
    bool pasteAutomatically = true;
    AppTheme theme = AppTheme::system;
    // Empty: the system's default input.
    QString micUID;

    // The shortcut that starts `mode`.
    const Shortcut &shortcut(CaptureMode mode) const;

    friend bool operator==(const Settings &, const Settings &) = default;
};
