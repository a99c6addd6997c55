#pragma once

#include "platform/TextElement.h"

#include <QString>

#include <memory>
#include <optional>

// The focused text field of whatever application has the keyboard, through the
// accessibility layer.
class FocusedTextReader
{
public:
    virtual ~FocusedTextReader() = default;
    // The selected text of the focused element (untrimmed); nothing without one.
    virtual std::optional<QString> selectedText() = 0;
    // The focused element of another application; null when nothing has focus.
    virtual std::unique_ptr<TextElement> focusedElement() = 0;
};
