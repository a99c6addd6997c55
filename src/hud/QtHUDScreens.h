#pragma once

#include "hud/HUDScreens.h"

// The screens as QGuiApplication knows them.
class QtHUDScreens : public HUDScreens
{
public:
    std::optional<QRect> activeScreen() const override;
};
