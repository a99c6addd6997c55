#pragma once

#include "app/SessionHud.h"
#include "hud/RecordingHUD.h"

// The floating HUD as a capture session drives it.
class HudAdapter : public SessionHud
{
public:
    explicit HudAdapter(RecordingHUD &hud) : m_hud(hud) {}

    void show(const HUDMode &mode) override { m_hud.show(mode); }
    void setLevel(float level) override { m_hud.setLevel(level); }
    void showError(const QString &message) override { m_hud.showError(message); }
    void hide() override { m_hud.hide(); }
    void startStreaming(const QString &question) override { m_hud.startStreaming(question); }
    void appendStreaming(const QString &delta) override { m_hud.appendStreaming(delta); }
    void finishStreaming(const QString &followUp, const QString &finalText) override
    {
        m_hud.finishStreaming(followUp, finalText);
    }

private:
    RecordingHUD &m_hud;
};
