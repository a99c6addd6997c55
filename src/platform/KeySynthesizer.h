#pragma once

// Sends the paste and copy keystrokes to the focused application.
class KeySynthesizer
{
public:
    enum class Command { paste, copy };

    virtual ~KeySynthesizer() = default;
    // The keystroke the focused application understands (terminals want Shift too), with
    // no other modifier, whatever keys the user holds.
    virtual void send(Command command) = 0;
};
