#pragma once

// Sends the paste and copy keystrokes to the focused application.
class KeySynthesizer
{
public:
    enum class Command { paste, copy };

    virtual ~KeySynthesizer() = default;
    // The keystroke the focused application understands (terminals want Shift too), with
    // no other modifier, whatever keys the user holds. False when it could not be sent
    // (no device, the desktop refused), so the caller can tell the user to press it.
    virtual bool send(Command command) = 0;
};
