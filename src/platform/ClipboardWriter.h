#pragma once

#include <QString>

// Puts text on the clipboard where the toolkit's own clipboard does not reach the other
// applications (a Wayland desktop without focus on our side).
class ClipboardWriter
{
public:
    virtual ~ClipboardWriter() = default;
    // We own the clipboard with `text` until someone else copies; false when the desktop did
    // not take it.
    virtual bool setText(const QString &text) = 0;
    virtual bool clear() = 0;
};
