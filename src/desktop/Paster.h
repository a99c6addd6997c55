#pragma once

#include "core/TimerHandle.h"

#include <QString>

class KeySynthesizer;
class Scheduler;

// Puts text into the focused application: the clipboard (which keeps the text
// afterwards), then the paste keystroke 0.12 s later, once the user has let go of
// every modifier (at most 1 s more), so a hotkey still held can't turn Ctrl+V into
// another chord.
class Paster
{
public:
    static constexpr double pasteDelay = 0.12;
    static constexpr double modifierPoll = 0.02;
    static constexpr int maxModifierPolls = 50;

    Paster(KeySynthesizer &keys, Scheduler &scheduler);
    void paste(const QString &text);

private:
    void sendWhenModifiersUp(int pollsLeft);

    KeySynthesizer &m_keys;
    Scheduler &m_scheduler;
    TimerHandle m_pending;
};
