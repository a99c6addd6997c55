#pragma once

#include <QRect>

#include <optional>

// Where the HUD may appear.
class HUDScreens
{
public:
    virtual ~HUDScreens() = default;
    // The usable area (without panels and docks) of the screen under the mouse pointer, or
    // of the primary screen when the pointer is on none; nothing when there is no screen.
    virtual std::optional<QRect> activeScreen() const = 0;
};
