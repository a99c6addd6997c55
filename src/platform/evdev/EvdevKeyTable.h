#pragma once

// Evdev key codes to the X keysyms a US layout gives those keys. Evdev codes name positions,
// as the shortcut model's codes do, so going through the US keysym lets KeyCodeTable name
// the key; the layout the user types with is the compositor's and cannot be seen from here.
class EvdevKeyTable
{
public:
    // 0 (NoSymbol) for a key no shortcut or modifier can use.
    static unsigned long keysym(int evdevCode);
};
