#pragma once

#include <QString>

// Where delivered text goes: the focused application or the clipboard.
class TextOutput
{
public:
    virtual ~TextOutput() = default;
    // Puts the text on the clipboard and sends the paste keystroke to the focused app.
    virtual void paste(const QString &text) = 0;
    // Replaces the clipboard's contents with the text.
    virtual void copyToClipboard(const QString &text) = 0;
};
