#pragma once

#include <QList>
#include <QPoint>
#include <QSize>

#include <optional>

// What the desktop's window system does for our floating panels and screenshots.
class WindowSystem
{
public:
    // The pointer as drawn now: premultiplied ARGB pixels, row by row, placed with its
    // top-left corner at `topLeft` in the display's device pixels.
    struct Pointer
    {
        QSize size;
        QPoint topLeft;
        QList<quint32> pixels;
    };

    virtual ~WindowSystem() = default;

    // Whether windows with an alpha channel are blended with what lies below them. Without
    // that, their transparent parts show up black, so panels draw an opaque shape instead.
    virtual bool translucencyAvailable() const = 0;
    // Keeps a shown window on every workspace, where the user switches to.
    virtual void showOnEveryWorkspace(quintptr window) const = 0;
    // A screen grab leaves the pointer out; this is what to draw in its place.
    virtual std::optional<Pointer> pointer() const = 0;
    // Where a managed window would take the focus as it appears (an X client on a Wayland
    // desktop), panels bypass the window manager instead, as notification windows, which the
    // compositor never focuses.
    virtual bool panelsBypassWindowManager() const { return false; }
    // Marks a created, not yet shown window as a notification.
    virtual void markAsNotification(quintptr window) const { Q_UNUSED(window); }
};
