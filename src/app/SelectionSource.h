#pragma once

#include <QString>

#include <optional>

// The text selected in the focused application, trimmed; nothing when there is none.
class SelectionSource
{
public:
    virtual ~SelectionSource() = default;
    virtual std::optional<QString> viaAccessibility() = 0;
    // Synthetic copy; blocks the caller briefly and restores the user's clipboard text.
    virtual std::optional<QString> viaCopy() = 0;
};
