#pragma once

#include "platform/FocusedTextReader.h"

// The focused accessible of the active window over AT-SPI, and its Text selection.
class AtspiFocusedTextReader : public FocusedTextReader
{
public:
    AtspiFocusedTextReader();
    std::optional<QString> selectedText() override;

private:
    bool m_ready = false;
};
