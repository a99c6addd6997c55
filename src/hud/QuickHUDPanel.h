#pragma once

#include "core/TimerHandle.h"
#include "desktop/FloatingPanel.h"
#include "hud/HUDPanel.h"

#include <QMetaObject>

#include <memory>

class WindowSystem;
class HUDHistory;
class Screens;
class HUDState;
class Scheduler;

// The HUD's window: a floating panel that never takes focus, showing the QML views of the
// pill and the answer card. Moves, resizes and fades run on the Scheduler.
class QuickHUDPanel : public HUDPanel
{
    Q_OBJECT
public:
    static constexpr double frameSeconds = 0.28;
    static constexpr double fadeSeconds = 0.18;

    // `history` may be null (an empty list of previous interactions); `windows` may be null
    // (an opaque panel).
    QuickHUDPanel(HUDHistory *history, const Screens &screens, Scheduler &scheduler,
                  const WindowSystem *windows);
    ~QuickHUDPanel() override;

    // Made by create(); null before.
    FloatingPanel *window() const override { return m_window.get(); }

    void create(HUDState &state) override;
    bool isVisible() const override;
    QRect frame() const override { return m_frame; }
    void setFrame(const QRect &frame, bool animate, std::function<void()> done) override;
    void setAcceptsMouse(bool accepts) override;
    void raise() override;
    void fadeIn() override;
    void fadeOut(std::function<void()> done) override;

private:
    void apply(const QRect &frame);

    HUDState *m_state = nullptr;
    HUDHistory *m_history;
    const Screens &m_screens;
    Scheduler &m_scheduler;
    const WindowSystem *m_windows;
    std::unique_ptr<FloatingPanel> m_window;
    // The frame last set or dragged to; the window system may report it later.
    QRect m_frame;
    TimerHandle m_animation;
    QRect m_animationTarget;
    std::function<void()> m_animationDone;
    QMetaObject::Connection m_stateGone;
};
