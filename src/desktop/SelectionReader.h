#pragma once

#include <QString>

#include <optional>

class ClipboardWatcher;
class FocusedTextReader;
class KeySynthesizer;

// The text selected in the focused application, trimmed; nothing when there is none.
// Accessibility first; the synthetic copy is the fallback for applications without it.
class SelectionReader
{
public:
    static constexpr int copyWaitMilliseconds = 140;

    SelectionReader(FocusedTextReader &focused, KeySynthesizer &keys, ClipboardWatcher &clipboard);

    std::optional<QString> viaAccessibility();
    // Sends the copy keystroke and waits briefly for the clipboard to change; puts the
    // user's previous clipboard text back afterwards (other kinds of content are lost).
    std::optional<QString> viaCopy();

private:
    FocusedTextReader &m_focused;
    KeySynthesizer &m_keys;
    ClipboardWatcher &m_clipboard;
};
