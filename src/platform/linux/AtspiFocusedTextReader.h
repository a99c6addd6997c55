#pragma once

#include "platform/FocusedTextReader.h"

// The focused accessible of the active window over AT-SPI: its Text selection, or the
// element itself for later reads.
class AtspiFocusedTextReader : public FocusedTextReader
{
public:
    AtspiFocusedTextReader();
    std::optional<QString> selectedText() override;
    std::unique_ptr<TextElement> focusedElement() override;
    // The focused element is a terminal's (by its role or its application's name), for
    // desktops where the window's class cannot be asked (Wayland).
    bool focusedIsTerminal();

private:
    bool m_ready = false;
};
