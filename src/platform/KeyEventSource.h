#pragma once

#include <QList>

#include <cstdint>
#include <functional>

// Every key event of the session, with the five modifier bits of the shortcut model
// (fn 0x800000, control 0x40000, option 0x80000, shift 0x20000, command 0x100000) and
// key codes in the shortcut model's numbering.
class KeyEventSource
{
public:
    enum class Type { keyDown, keyUp, flagsChanged };
    struct Event
    {
        Type type;
        int keyCode = -1;        // none for flagsChanged
        std::uint64_t flags = 0; // modifiers held with this event
    };
    // A key with exact modifiers whose events must not reach the focused application.
    struct Combo
    {
        int keyCode;
        std::uint64_t modifiers;
        friend bool operator==(const Combo &, const Combo &) = default;
    };
    // Returns true when the event belongs to a shortcut (to drop it where possible).
    using Handler = std::function<bool(const Event &)>;

    virtual ~KeyEventSource() = default;
    // False when the session does not let us see every key ("not trusted").
    virtual bool start(Handler handler) = 0;
    virtual void stop() = 0;
    // The modifiers held right now, whatever the last event said.
    virtual std::uint64_t currentModifierFlags() const = 0;
    // Replaces the combos to swallow; applied at once while started.
    virtual void setSwallowedCombos(QList<Combo> combos) = 0;
};
