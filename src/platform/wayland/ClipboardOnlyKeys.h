#pragma once

#include "platform/KeySynthesizer.h"

// Where no keystroke can be sent to other applications: the text stays on the clipboard
// and the user is told to paste it.
class ClipboardOnlyKeys : public KeySynthesizer
{
public:
    bool send(Command) override { return false; }
};
