#pragma once

#include "core/TimerHandle.h"

#include <QString>

class KeySynthesizer;
class Scheduler;

// Puts text into the focused application: the clipboard (which keeps the text
// afterwards), then the paste keystroke 0.12 s later. A modifier the user still holds does
// not spoil it: the keystroke is sent with the paste chord's modifiers alone.
class Paster
{
public:
    static constexpr double pasteDelay = 0.12;

    Paster(KeySynthesizer &keys, Scheduler &scheduler);
    void paste(const QString &text);
    // Only onto the clipboard, where the user pastes it.
    void copy(const QString &text);

private:
    KeySynthesizer &m_keys;
    Scheduler &m_scheduler;
    TimerHandle m_pending;
};
