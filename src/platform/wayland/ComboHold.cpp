#include "platform/wayland/ComboHold.h"

namespace {

// The order modifiers go down in; they come up in reverse.
constexpr std::uint64_t modifierOrder[] = {0x40000, 0x80000, 0x20000, 0x100000, 0x800000};

} // namespace

void ComboHold::press(const Combo &combo, const Handler &handler)
{
    if (m_held && !(*m_held == combo))
        releaseAll(handler);
    if (!m_held) {
        m_held = combo;
        for (std::uint64_t bit : modifierOrder) {
            if (combo.modifiers & bit)
                setFlags(m_flags | bit, handler);
        }
    }
    if (handler)
        handler({KeyEventSource::Type::keyDown, combo.keyCode, m_flags});
}

void ComboHold::release(const Combo &combo, const Handler &handler)
{
    if (m_held && *m_held == combo)
        releaseAll(handler);
}

void ComboHold::releaseAll(const Handler &handler)
{
    if (!m_held)
        return;
    const Combo combo = *m_held;
    m_held.reset();
    if (handler)
        handler({KeyEventSource::Type::keyUp, combo.keyCode, m_flags});
    for (auto bit = std::rbegin(modifierOrder); bit != std::rend(modifierOrder); ++bit) {
        if (m_flags & *bit)
            setFlags(m_flags & ~*bit, handler);
    }
}

void ComboHold::clear()
{
    m_held.reset();
    m_flags = 0;
}

void ComboHold::setFlags(std::uint64_t flags, const Handler &handler)
{
    m_flags = flags;
    if (handler)
        handler({KeyEventSource::Type::flagsChanged, -1, m_flags});
}
