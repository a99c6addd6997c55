#pragma once

#include "app/AppLauncher.h"
#include "app/CorrectionHooks.h"
#include "app/CuePlayer.h"
#include "app/HistoryRefresher.h"
#include "app/ScreenshotSource.h"
#include "app/SelectionSource.h"
#include "app/SessionBackend.h"
#include "app/SessionHud.h"
#include "app/SessionRecorder.h"
#include "app/SettingsSource.h"
#include "app/SignInState.h"
#include "app/StatusShell.h"
#include "app/TextOutput.h"

// The neighbours a capture session talks to. All references outlive the controller.
struct SessionServices
{
    SessionRecorder &recorder;
    SessionHud &hud;
    SessionBackend &backend;
    TextOutput &text;
    SelectionSource &selection;
    ScreenshotSource &screenshots;
    AppLauncher &apps;
    CorrectionHooks &corrections;
    CuePlayer &cues;
    SignInState &signIn;
    HistoryRefresher &history;
    SettingsSource &settings;
    StatusShell &shell;
};
