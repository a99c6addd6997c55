#pragma once

#include "desktop/Screens.h"

// The screens as QGuiApplication knows them.
class QtScreens : public Screens
{
public:
    std::optional<QRect> activeScreen() const override;
};
