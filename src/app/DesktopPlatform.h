#pragma once

#include "app/PlatformServices.h"

#include <QString>

#include <memory>

class Clock;
class Scheduler;

// The platform objects of this session, chosen once at start: X11 throughout, or on a
// Wayland desktop the rungs its compositor and services allow (our windows stay X clients
// through XWayland). Outlives the application objects it serves.
class DesktopPlatform
{
public:
    // Before QApplication: on Wayland, Qt talks to XWayland.
    static void chooseQtPlatform();

    DesktopPlatform(const Clock &clock, Scheduler &scheduler);
    ~DesktopPlatform();
    DesktopPlatform(const DesktopPlatform &) = delete;
    DesktopPlatform &operator=(const DesktopPlatform &) = delete;

    PlatformServices services();
    // After launch: starts what needs the user's consent ahead of its first use.
    void prepare();

private:
    struct Parts;
    std::unique_ptr<Parts> d;
};
