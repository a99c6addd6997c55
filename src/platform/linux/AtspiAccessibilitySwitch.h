#pragma once

#include "platform/AccessibilitySwitch.h"

#include <optional>

// The `IsEnabled` property of `org.a11y.Status` on the session bus, which GTK and Qt
// read at start-up to decide whether to expose their widgets over AT-SPI.
class AtspiAccessibilitySwitch : public AccessibilitySwitch
{
public:
    Outcome switchOn() override;
    // Nothing when the accessibility bus does not answer.
    std::optional<bool> isOn();
    // For tests that need to see a switch from off to on.
    bool setOn(bool on);
};
