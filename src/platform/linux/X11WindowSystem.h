#pragma once

#include "platform/WindowSystem.h"

// A compositing manager on X11 announces itself by owning the _NET_WM_CM_S<screen> selection
// of the screen it composites; asked afresh on every call, as compositors come and go. Every
// workspace is the EWMH "all desktops" of the window manager, and the pointer's picture
// comes from XFixes.
class X11WindowSystem : public WindowSystem
{
public:
    // `unmanagedPanels`: this X server is XWayland on a Wayland desktop.
    explicit X11WindowSystem(bool unmanagedPanels = false) : m_unmanagedPanels(unmanagedPanels) {}

    bool translucencyAvailable() const override;
    void showOnEveryWorkspace(quintptr window) const override;
    std::optional<Pointer> pointer() const override;
    bool panelsBypassWindowManager() const override { return m_unmanagedPanels; }
    void markAsNotification(quintptr window) const override;

private:
    bool m_unmanagedPanels;
};
