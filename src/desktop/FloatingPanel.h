#pragma once

#include "core/TimerHandle.h"

#include <QQuickView>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <functional>

class WindowSystem;
class Scheduler;
class Screens;

// A borderless window that floats above the others and hosts one QML view: the base of our
// floating panels. It never takes keyboard focus, so the application the user types in keeps
// it while the panel is up. Geometry is in device-independent pixels, y pointing down.
//
// With a compositor the window is translucent and the view draws its own shadow around a
// transparent margin; without one, transparent pixels come out black, so `translucent` is
// false, the view draws an opaque shape and the window is clipped to setOpaqueShape().
// The view reaches these properties through its attached `Window.window`.
class FloatingPanel : public QQuickView
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Floating panels are made by C++.")
    Q_PROPERTY(bool translucent READ isTranslucent CONSTANT)
    Q_PROPERTY(bool acceptsMouse READ acceptsMouse WRITE setAcceptsMouse NOTIFY acceptsMouseChanged)
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)
public:
    // Translucency is asked once, here: a window's alpha channel is fixed when it is created.
    // Without a window system the panel is opaque and stays on the workspace it shows on.
    FloatingPanel(Scheduler &scheduler, const WindowSystem *windows, QSize size);

    bool isTranslucent() const { return m_translucent; }

    bool acceptsMouse() const { return m_acceptsMouse; }
    // False lets every click through to the windows below.
    void setAcceptsMouse(bool accepts);

    // Loads the root component from its qrc URL, sized to the window. Properties are set
    // before the component completes, so `required` properties can be filled. On failure
    // returns false and errorString() says why; a panel that was showing keeps showing.
    bool load(const QUrl &url, const QVariantMap &initialProperties = {});
    // The same with one object for the view to bind to, as its `model` property.
    bool load(const QUrl &url, QObject *model);
    QString errorString() const { return m_errorString; }

    // Where the opaque view is drawn when the panel is not translucent; outside it nothing is.
    void setOpaqueShape(const QRect &shape, int radius);

    // From fadeIn() until a fadeOut() starts: a fading-out panel counts as gone.
    bool isShown() const { return m_shown; }
    // Shows the window if needed and raises it, without activating it.
    void bringToFront();
    // Shows the window and brings its opacity to 1 over `seconds`, from 0 when it was hidden.
    // Stops a running fadeOut(), whose `done` then never runs.
    void fadeIn(double seconds);
    // Brings the opacity to 0 over `seconds`, then hides the window, restores opacity 1 and
    // runs `done`. Does nothing (and never runs `done`) when the panel is not shown.
    void fadeOut(double seconds, std::function<void()> done = {});

    // The user drags the panel by its background: the view calls beginDrag() on press and
    // dragMoved() as the pointer moves. Positions come from the pointer itself, not from the
    // event's local coordinates, which shift as the window moves under them.
    Q_INVOKABLE void beginDrag();
    Q_INVOKABLE void dragMoved();
    // A drag keeps the panel on the usable area of the screen under the pointer, all but
    // `margin` pixels on each side; unconstrained without screens.
    void setDragBounds(const Screens *screens, int margin);
    // Where a panel of `size` may stand on a screen's usable area `visible`: only `margin`
    // pixels on each side may leave it. A panel larger than the screen keeps its top-left
    // corner in, which keeps a card's header and close button in reach.
    static QPoint clampedOrigin(QPoint origin, QSize size, const QRect &visible, int margin);

Q_SIGNALS:
    void acceptsMouseChanged();
    void shownChanged();
    // The user moved the panel to `topLeft`. Sent at once: the window system may report the
    // new position() only later.
    void dragged(QPoint topLeft);

private:
    void applyFlags();
    void animateOpacity(qreal target, double seconds, std::function<void()> done);
    void setShown(bool shown);

    Scheduler &m_scheduler;
    const WindowSystem *m_windows;
    bool m_translucent;
    bool m_acceptsMouse = true;
    bool m_shown = false;
    QString m_errorString;
    TimerHandle m_fade;
    const Screens *m_dragScreens = nullptr;
    int m_dragMargin = 0;
    QPoint m_dragStartPointer;
    QPoint m_dragStartPosition;
    QPoint m_dragLastPosition;
};
