#pragma once

// Sends the paste and copy keystrokes to the focused application.
class KeySynthesizer
{
public:
    enum class Command { paste, copy };

    virtual ~KeySynthesizer() = default;
    // The keystroke the focused application understands (terminals want Shift too).
    virtual void send(Command command) = 0;
    // Whether the user still holds a modifier key, which would change the keystroke.
    virtual bool userModifiersHeld() const = 0;
};
