#pragma once

#include <QString>

#include <cstdint>

// Reads the native key events that Qt delivers in the terms of the shortcut model: the
// modifier bit a key holds (fn 0x800000, control 0x40000, option 0x80000, shift 0x20000,
// command 0x100000) or the key code and text of an ordinary key.
class KeyboardMap
{
public:
    // What a QKeyEvent carries of the native event.
    struct NativeKey
    {
        std::uint32_t scanCode = 0;   // QKeyEvent::nativeScanCode()
        std::uint32_t virtualKey = 0; // QKeyEvent::nativeVirtualKey()
    };
    struct Key
    {
        int keyCode = -1;   // -1 when no shortcut can name the key
        QString characters; // what the key types with no modifier held; empty for none
    };

    virtual ~KeyboardMap() = default;
    // 0 for an ordinary key. The key the user chose as fn gives fn, not its usual bit.
    virtual std::uint64_t modifierBit(NativeKey key) const = 0;
    virtual Key key(NativeKey key) const = 0;
};
