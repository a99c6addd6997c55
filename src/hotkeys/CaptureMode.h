#pragma once

#include <QMetaType>
#include <QString>

#include <array>

class Shortcut;

// The action a hotkey starts: dictation pasted into the focused app, Ask AI, Read screen.
enum class CaptureMode { paste, ask, screen };

inline constexpr std::array<CaptureMode, 3> allCaptureModes{CaptureMode::paste, CaptureMode::ask,
                                                            CaptureMode::screen};

// The case name ("paste", "ask", "screen").
QString captureModeName(CaptureMode mode);
// The shortcut a mode has before the user picks one.
Shortcut defaultShortcut(CaptureMode mode);

Q_DECLARE_METATYPE(CaptureMode)
