#pragma once

// Key codes of the shortcut model (the ANSI virtual key codes that settings files hold)
// to and from X keysyms. By keysym, so shortcuts follow the keyboard layout.
class KeyCodeTable
{
public:
    // -1 when the keysym has no code in the model.
    static int fromKeysym(unsigned long keysym);
    // 0 (NoSymbol) when the code is unknown.
    static unsigned long toKeysym(int keyCode);
};
