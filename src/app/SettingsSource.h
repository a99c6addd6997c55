#pragma once

#include "stores/Settings.h"

// The settings in force.
class SettingsSource
{
public:
    virtual ~SettingsSource() = default;
    virtual Settings current() const = 0;
};
