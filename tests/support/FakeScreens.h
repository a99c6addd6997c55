#pragma once

#include "desktop/Screens.h"

// The screen under the pointer, as a test sets it.
class FakeScreens : public Screens
{
public:
    std::optional<QRect> activeScreen() const override { return screen; }

    std::optional<QRect> screen = QRect(0, 0, 1920, 1080);
};
