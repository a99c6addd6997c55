#pragma once

#include <QObject>
#include <QRect>

#include <functional>

class HUDState;
class QWindow;

// The floating window that hosts the HUD views, as RecordingHUD drives it. Geometry is in
// global, device-independent pixels with y pointing down; the frame includes the transparent
// 44-pixel shadow margin on every side. The window never takes focus.
class HUDPanel : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Makes the window showing the views of `state`, hidden and ignoring the mouse. Called
    // once, before anything else; the state outlives the panel.
    virtual void create(HUDState &state) = 0;
    // True from fadeIn() until a fadeOut() starts: a fading-out panel counts as gone, so
    // that a new pill or card fades in again instead of vanishing with the old one.
    virtual bool isVisible() const = 0;
    virtual QRect frame() const = 0;
    // Moves and resizes the window, over 0.28 s with ease-in-out when `animate` is set.
    // `done` runs once the frame is reached (at once when not animated). A new call
    // replaces a running animation, whose `done` then never runs.
    virtual void setFrame(const QRect &frame, bool animate, std::function<void()> done) = 0;
    // The pill lets clicks through to the windows below; the card takes them.
    virtual void setAcceptsMouse(bool accepts) = 0;
    // Brings the window to the front without activating it.
    virtual void raise() = 0;
    // Shows the window at opacity 0, raises it without activating it and fades it in over
    // 0.18 s. Stops a running fadeOut(), whose `done` then never runs.
    virtual void fadeIn() = 0;
    // Fades to opacity 0 over 0.18 s, then hides the window, restores opacity 1 and runs `done`.
    virtual void fadeOut(std::function<void()> done) = 0;
    // The window, once made.
    virtual QWindow *window() const = 0;

Q_SIGNALS:
    // The window's position changed, by the user dragging it or otherwise.
    void moved();
};
