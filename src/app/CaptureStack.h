#pragma once

#include "app/PlatformServices.h"

#include <memory>

class AppModel;
class CaptureSessionController;
class Clock;
class HotkeyManager;
class Scheduler;
class SessionBackend;
class StatusShell;
struct Settings;

// Everything a capture session runs on, from the global hotkey to the HUD: the recorder, the
// desktop integration, the correction watcher and prompt, the adapters the session controller
// talks through, and the controller itself. Main thread only.
class CaptureStack
{
public:
    CaptureStack(PlatformServices platform, AppModel &model, SessionBackend &backend, Clock &clock,
                 Scheduler &scheduler, StatusShell &shell);
    ~CaptureStack();

    HotkeyManager &hotkey();
    CaptureSessionController &controller();

    // The three shortcuts go to the hotkey engine and their names to the model.
    void applyHotkeySetting(const Settings &settings);

private:
    struct Components;
    std::unique_ptr<Components> d;
};
