#pragma once

#include <QMetaObject>
#include <QString>

#include <cstdint>
#include <optional>

class ClipboardWatcher;
class ClipboardWriter;
class FocusedTextReader;
class KeySynthesizer;

// The text selected in the focused application, trimmed; nothing when there is none.
// Accessibility first; the synthetic copy is the fallback for applications without it.
class SelectionReader
{
public:
    static constexpr int copyWaitMilliseconds = 140;
    // How long the copying application may take to hand over its text once it has it.
    static constexpr int readWaitMilliseconds = 500;

    // `writer`: null for Qt's own clipboard.
    SelectionReader(FocusedTextReader &focused, KeySynthesizer &keys, ClipboardWatcher &clipboard,
                    ClipboardWriter *writer = nullptr);
    ~SelectionReader();
    SelectionReader(const SelectionReader &) = delete;
    SelectionReader &operator=(const SelectionReader &) = delete;

    std::optional<QString> viaAccessibility();
    // Sends the copy keystroke and waits briefly for the clipboard to change; puts the
    // user's previous clipboard text back afterwards (other kinds of content are lost).
    std::optional<QString> viaCopy();

private:
    void restorePrevious(std::optional<QString> previous, std::uint64_t copied);

    FocusedTextReader &m_focused;
    KeySynthesizer &m_keys;
    ClipboardWatcher &m_clipboard;
    ClipboardWriter *m_writer;
    QMetaObject::Connection m_pendingRestore;
    bool m_restoring = false;
};
