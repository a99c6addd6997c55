#pragma once

#include <QString>

#include <optional>

// One text element of another application, kept so that later reads go to the same
// element even after the keyboard focus has moved elsewhere.
class TextElement
{
public:
    virtual ~TextElement() = default;
    // The element's whole text; nothing when it can't be read (the element or its
    // application is gone, it has no text, or it is a password field).
    virtual std::optional<QString> value() = 0;
    // A password field, whose text is never read.
    virtual bool isSecret() const = 0;
};
