#include "hotkeys/CaptureMode.h"

#include "hotkeys/Shortcut.h"

QString captureModeName(CaptureMode mode)
{
    switch (mode) {
    case CaptureMode::paste:
        return QStringLiteral("paste");
    case CaptureMode::ask:
        return QStringLiteral("ask");
    case CaptureMode::screen:
        return QStringLiteral("screen");
    }
    return {};
}

Shortcut defaultShortcut(CaptureMode mode)
{
    switch (mode) {
    case CaptureMode::paste:
        return Shortcut::legacy(QStringLiteral("fn"));
    case CaptureMode::ask:
        return Shortcut::legacy(QStringLiteral("fn+control"));
    case CaptureMode::screen:
        return Shortcut::legacy(QStringLiteral("fn+control+option"));
    }
    return Shortcut::legacy(QStringLiteral("fn"));
}
