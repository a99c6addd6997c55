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

private:
    bool m_ready = false;
};
