#pragma once

#include "core/TimerHandle.h"

#include <QString>

#include <functional>

class ClipboardWriter;
class KeySynthesizer;
class Scheduler;

// Puts text into the focused application: the clipboard (which keeps the text
// afterwards), then the paste keystroke 0.12 s later. A modifier the user still holds does
// not spoil it: the keystroke is sent with the paste chord's modifiers alone.
class Paster
{
public:
    static constexpr double pasteDelay = 0.12;

    // `writer`: null for Qt's own clipboard.
    Paster(KeySynthesizer &keys, Scheduler &scheduler, ClipboardWriter *writer = nullptr);
    // `undelivered` runs when the keystroke could not be sent: the text stays on the
    // clipboard for the user to paste.
    void paste(const QString &text, std::function<void()> undelivered = {});
    // Only onto the clipboard, where the user pastes it.
    void copy(const QString &text);

private:
    KeySynthesizer &m_keys;
    ClipboardWriter *m_writer;
    Scheduler &m_scheduler;
    TimerHandle m_pending;
};
