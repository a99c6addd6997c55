#pragma once

#include "platform/KeyEventSource.h"

#include <iterator>
#include <optional>

// A shortcut that a desktop service reports whole (pressed, released) played as the key events
// of holding it: each modifier going down as flagsChanged, then the key; on release the key,
// then the modifiers in reverse. So the engine sees what a keyboard would have shown it.
class ComboHold
{
public:
    using Combo = KeyEventSource::Combo;
    using Handler = KeyEventSource::Handler;

    // A press while another combination is held lets that one go first; a press of the one held
    // is the key repeating.
    void press(const Combo &combo, const Handler &handler);
    // Ignored unless `combo` is the one held.
    void release(const Combo &combo, const Handler &handler);
    // Lets go of whatever is held (a service that went away sends no release).
    void releaseAll(const Handler &handler);
    // Forgets what is held without telling anyone.
    void clear();

    std::uint64_t modifiers() const { return m_flags; }

private:
    void setFlags(std::uint64_t flags, const Handler &handler);

    std::optional<Combo> m_held;
    std::uint64_t m_flags = 0;
};
