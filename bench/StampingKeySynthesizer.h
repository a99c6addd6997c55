#pragma once

#include "core/Clock.h"
#include "platform/KeySynthesizer.h"

#include <optional>

// Passes keystrokes on and stamps the moment the paste keystroke has gone out.
class StampingKeySynthesizer : public KeySynthesizer
{
public:
    StampingKeySynthesizer(KeySynthesizer &inner, const Clock &clock)
        : m_inner(inner), m_clock(clock)
    {}

    std::optional<double> pasteSent;

    bool send(Command command) override
    {
        const bool sent = m_inner.send(command);
        if (command == Command::paste)
            pasteSent = m_clock.now();
        return sent;
    }

private:
    KeySynthesizer &m_inner;
    const Clock &m_clock;
};
