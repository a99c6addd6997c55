#pragma once

#include "app/PlatformServices.h"

#include <memory>

class AppModel;
class Backend;
class CaptureSessionController;
class Clock;
class HotkeyManager;
class Scheduler;
struct Settings;

// Everything a capture session runs on, from the global hotkey to the HUD, built in the order
// each part needs the others: the recorder, the HUD, paste and selection, screenshots, the
// correction feature, and the session controller the hotkey engine drives.
class CaptureStack
{
public:
    CaptureStack(PlatformServices platform, AppModel &model, Backend &backend, Clock &clock,
                 Scheduler &scheduler);
    ~CaptureStack();

    HotkeyManager &hotkey();
    CaptureSessionController &controller();

    // The three shortcuts go to the hotkey engine and their names to the model.
    void applyHotkeySetting(const Settings &settings);
    // Opens or closes the microphone between takes as the setting says; logs a change, and
    // says so when the microphone cannot stay open.
    void applyWarmMicrophone(const Settings &settings);
    bool microphoneWarm() const;

private:
    struct Components;
    std::unique_ptr<Components> d;
};
