#pragma once

#include "hud/HUDPanel.h"
#include "support/FakePlatform.h"

#include <QList>

#include <utility>

// A panel without a window. Frame animations finish at once; a fade-out waits for
// completeFadeOut(). Like a real window it reports every change of position, its own too.
// A fade-out is noted as "hud.hide".
class FakeHUDPanel : public HUDPanel, public Noting
{
public:
    struct FrameChange
    {
        QRect frame;
        bool animated;
    };

    void create(HUDState &) override { ++createCount; }
    bool isVisible() const override { return shown && !fadeOutDone; }
    QRect frame() const override { return currentFrame; }
    void setFrame(const QRect &frame, bool animate, std::function<void()> done) override
    {
        frames.append({frame, animate});
        const bool moved = frame.topLeft() != currentFrame.topLeft();
        currentFrame = frame;
        if (moved)
            Q_EMIT this->moved();
        if (done)
            done();
    }
    void setAcceptsMouse(bool accepts) override { acceptsMouse = accepts; }
    void raise() override { ++raiseCount; }
    void fadeIn() override
    {
        ++fadeInCount;
        fadeOutDone = {};
        shown = true;
    }
    void fadeOut(std::function<void()> done) override
    {
        note("hud.hide");
        ++fadeOutCount;
        fadeOutDone = done ? std::move(done) : [] {};
    }
    QWindow *window() const override { return nullptr; }

    bool fadingOut() const { return bool(fadeOutDone); }
    // Ends a running fade-out; one that a fade-in stopped has nothing left to end.
    void completeFadeOut()
    {
        if (auto done = std::exchange(fadeOutDone, {})) {
            shown = false;
            done();
        }
    }
    // The user drags the window so that its top-left corner lands on `origin`.
    void dragTo(QPoint origin)
    {
        currentFrame.moveTopLeft(origin);
        Q_EMIT moved();
    }
    int contentHeight() const { return currentFrame.height() - 88; }

    int createCount = 0;
    int fadeInCount = 0;
    int fadeOutCount = 0;
    int raiseCount = 0;
    bool shown = false;
    bool acceptsMouse = true;
    QRect currentFrame;
    QList<FrameChange> frames;
    std::function<void()> fadeOutDone;
};
