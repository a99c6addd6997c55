#include "app/CaptureStack.h"

#include "app/CaptureSessionController.h"
#include "audio/AudioRecorder.h"
#include "audio/Sounds.h"
#include "correction/Corrections.h"
#include "desktop/ClipboardKeeper.h"
#include "desktop/Paster.h"
#include "desktop/QtScreens.h"
#include "desktop/SelectionReader.h"
#include "hotkeys/HotkeyManager.h"
#include "hud/HUDHistory.h"
#include "hud/QuickHUDPanel.h"
#include "hud/RecordingHUD.h"
#include "platform/linux/FnKey.h"
#include "screenshot/ScreenCapturer.h"
#include "state/AppModel.h"
#include "stores/AuthStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"

struct CaptureStack::Components
{
    Components(PlatformServices platform, AppModel &model, Backend &backend, Clock &clock,
               Scheduler &scheduler)
        : model(model), recorder([] { return SettingsStore::shared().current().micUID; }),
          hotkey(platform.keySource, clock, scheduler), history(HistoryStore::shared()),
          hudPanel(&history, screens, scheduler, platform.windowSystem),
          hud(hudPanel, screens, clock, scheduler, HistoryStore::shared()),
          paster(platform.keySynthesizer, scheduler, platform.clipboardWriter,
                 &platform.focusedText),
          clipboardKeeper(platform.clipboardReaders),
          selection(platform.focusedText, platform.keySynthesizer, platform.clipboard,
                    platform.clipboardWriter),
          screenshots(platform.windowSystem, platform.screenGrabber),
          corrections(platform.focusedText, clock, scheduler, DictionaryStore::shared(), screens,
                      platform.windowSystem),
          controller(CaptureServices{
              .recorder = recorder,
              .backend = backend,
              .screens = screenshots,
              .apps = platform.installedApps,
              .permissions = platform.permissions,
              .paster = paster,
              .clipboardKeeper = clipboardKeeper,
              .selection = selection,
              .hud = hud,
              .corrections = corrections,
              .sounds = Sounds::shared(),
              .auth = AuthStore::shared(),
              .history = HistoryStore::shared(),
              .settings = SettingsStore::shared(),
              .model = model,
              .scheduler = scheduler,
          })
    {}

    AppModel &model;
    AudioRecorder recorder;
    HotkeyManager hotkey;
    QtScreens screens;
    HUDHistory history;
    QuickHUDPanel hudPanel;
    RecordingHUD hud;
    Paster paster;
    ClipboardKeeper clipboardKeeper;
    SelectionReader selection;
    ScreenCapturer screenshots;
    Corrections corrections;
    CaptureSessionController controller;
};

CaptureStack::CaptureStack(PlatformServices platform, AppModel &model, Backend &backend,
                           Clock &clock, Scheduler &scheduler)
    : d(std::make_unique<Components>(platform, model, backend, clock, scheduler))
{
    CaptureSessionController *controller = &d->controller;
    QObject::connect(&d->hotkey, &HotkeyManager::captureArmed, controller,
                     &CaptureSessionController::handleCaptureArmed);
    QObject::connect(&d->hotkey, &HotkeyManager::captureDisarmed, controller,
                     &CaptureSessionController::handleCaptureDisarmed);
    QObject::connect(&d->hotkey, &HotkeyManager::holdStarted, controller,
                     &CaptureSessionController::handleHoldStart);
    QObject::connect(&d->hotkey, &HotkeyManager::holdStopped, controller,
                     &CaptureSessionController::handleHoldStop);
    QObject::connect(&d->hotkey, &HotkeyManager::handsFreeStarted, controller,
                     &CaptureSessionController::handleHandsFreeStart);
    QObject::connect(&d->hotkey, &HotkeyManager::handsFreeStopped, controller,
                     &CaptureSessionController::handleHandsFreeStop);
}

CaptureStack::~CaptureStack()
{
    d->hotkey.stop();
}

HotkeyManager &CaptureStack::hotkey()
{
    return d->hotkey;
}

CaptureSessionController &CaptureStack::controller()
{
    return d->controller;
}

void CaptureStack::applyWarmMicrophone(const Settings &settings)
{
    if (settings.warmMicrophone == d->recorder.isWarm())
        return;
    if (d->recorder.setWarm(settings.warmMicrophone))
        d->model.log(settings.warmMicrophone
                         ? QStringLiteral("Microphone kept ready between dictations.")
                         : QStringLiteral("Microphone closed between dictations."));
    else
        d->model.log(QStringLiteral("Couldn't keep the microphone ready: ") +
                     AudioRecorder::unavailableText());
}

bool CaptureStack::microphoneWarm() const
{
    return d->recorder.isWarm();
}

void CaptureStack::applyHotkeySetting(const Settings &settings)
{
    for (CaptureMode mode : {CaptureMode::paste, CaptureMode::ask, CaptureMode::screen})
        d->hotkey.setShortcut(mode, settings.shortcut(mode));
    d->model.nameShortcuts(settings.pushToTalkKey, settings.askKey, settings.screenKey,
                           FnKey::shared().label());
}
