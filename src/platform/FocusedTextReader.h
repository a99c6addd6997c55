#pragma once

#include <QString>

#include <optional>

// The focused text field of whatever application has the keyboard, through the
// accessibility layer.
class FocusedTextReader
{
public:
    virtual ~FocusedTextReader() = default;
    // The selected text of the focused element (untrimmed); nothing without one.
    virtual std::optional<QString> selectedText() = 0;
};
