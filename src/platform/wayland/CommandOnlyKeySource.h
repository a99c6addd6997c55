#pragma once

#include "platform/KeyEventSource.h"

// Where no key of the session can be seen: the shortcuts are reached through the command
// line (`ovrin toggle`) that the desktop's own key bindings run. Starting succeeds, so the
// application runs normally; Home says how to get hold-to-talk.
class CommandOnlyKeySource : public KeyEventSource
{
public:
    bool start(Handler) override { return true; }
    void stop() override {}
    std::uint64_t currentModifierFlags() const override { return 0; }
    void setSwallowedCombos(QList<Combo>) override {}
};
