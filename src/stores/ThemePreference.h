#pragma once

#include "stores/Settings.h"

// Where the appearance follows the saved theme at once (the window's theme store).
class ThemePreference
{
public:
    virtual ~ThemePreference() = default;
    virtual void setPreference(AppTheme theme) = 0;
};
