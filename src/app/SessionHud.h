#pragma once

#include "hud/HUDMode.h"

// The floating panel as a capture session drives it. Callable from any thread.
class SessionHud
{
public:
    virtual ~SessionHud() = default;
    virtual void show(const HUDMode &mode) = 0;
    virtual void setLevel(float level) = 0;
    virtual void showError(const QString &message) = 0;
    virtual void hide() = 0;
    virtual void startStreaming(const QString &question) = 0;
    virtual void appendStreaming(const QString &delta) = 0;
    virtual void finishStreaming(const QString &followUp, const QString &finalText) = 0;
};
