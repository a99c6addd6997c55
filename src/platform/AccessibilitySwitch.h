#pragma once

// The session-wide switch that makes toolkits expose their widgets to the accessibility
// layer. Applications read it when they start, so those started while it was off stay
// invisible until they are restarted.
class AccessibilitySwitch
{
public:
    enum class Outcome {
        alreadyOn,
        switchedOn, // applications started before now need a restart to be readable
        failed,
    };

    virtual ~AccessibilitySwitch() = default;
    virtual Outcome switchOn() = 0;
};
