#pragma once

#include <QRect>

#include <optional>

// Where our floating panels appear: the HUD and the correction banner.
class Screens
{
public:
    virtual ~Screens() = default;
    // The usable area (without panels and docks) of the screen under the mouse pointer, or
    // of the primary screen when the pointer is on none; nothing when there is no screen.
    virtual std::optional<QRect> activeScreen() const = 0;
};
