#pragma once

#include "hotkeys/CaptureMode.h"
#include "hotkeys/Shortcut.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

enum class AppTheme { system, light, dark };

QString appThemeName(AppTheme theme);
std::optional<AppTheme> appThemeFromName(const QString &name);

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
    // Meetings also record what the computer plays.
    bool includeComputerAudio = true;
    // The microphone stays open between dictations, keeping the last moment before the key.
    bool warmMicrophone = false;
    // After a paste, what the clipboard held before goes back once the target has the text.
    bool restoreClipboard = true;

    // The shortcut that starts `mode`.
    const Shortcut &shortcut(CaptureMode mode) const;

    // Forgiving: a field that is missing, of the wrong type or unknown keeps its default,
    // and a hotkey in the older string form is converted. Only a value that is not an
    // object fails (nullopt).
    static std::optional<Settings> decode(const QJsonValue &value);
    // Every key, always.
    QJsonObject encode() const;

    friend bool operator==(const Settings &, const Settings &) = default;
};
