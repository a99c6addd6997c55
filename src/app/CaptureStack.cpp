#include "app/CaptureStack.h"

#include "app/AppModel.h"
#include "app/CaptureSessionController.h"
#include "app/CorrectionAdapter.h"
#include "app/CueAdapter.h"
#include "app/DesktopAdapter.h"
#include "app/HudAdapter.h"
#include "app/RecorderAdapter.h"
#include "app/StoresAdapter.h"
#include "audio/AudioRecorder.h"
#include "correction/CorrectionWatcher.h"
#include "desktop/CorrectionPrompt.h"
#include "desktop/FloatingPanel.h"
#include "desktop/Paster.h"
#include "desktop/SelectionReader.h"
#include "hotkeys/HotkeyManager.h"
#include "hud/HUDHistory.h"
#include "hud/QtHUDScreens.h"
#include "hud/QuickHUDPanel.h"
#include "screenshot/ScreenCapturer.h"
#include "stores/AuthStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"

struct CaptureStack::Components
{
    Components(PlatformServices platform, AppModel &model, SessionBackend &backend, Clock &clock,
               Scheduler &scheduler, StatusShell &shell)
        : model(model), recorder([] { return SettingsStore::shared().current().micUID; }),
          recorderAdapter(recorder), hotkey(platform.keySource, clock, scheduler),
          history(HistoryStore::shared()),
          hudPanel(&history, screens, scheduler, platform.windowSystem),
          hud(hudPanel, screens, clock, scheduler), hudAdapter(hud),
          paster(platform.keySynthesizer, scheduler),
          selection(platform.focusedText, platform.keySynthesizer, platform.clipboard),
          screenshots(platform.windowSystem),
          desktop(paster, selection, screenshots, platform.installedApps,
                  [this] { return ownPanels(); }),
          watcher(platform.focusedText, clock, scheduler),
          prompt(
              scheduler,
              [](QString term, std::optional<QString> heardAs) {
                  DictionaryStore::shared().add(std::move(term), std::move(heardAs));
              },
              platform.windowSystem),
          corrections(watcher, prompt),
          stores(AuthStore::shared(), HistoryStore::shared(), SettingsStore::shared()),
          cues(Sounds::shared()),
          controller(SessionServices{recorderAdapter, hudAdapter, backend, desktop, desktop,
                                     desktop, desktop, corrections, cues, stores, stores, stores,
                                     shell},
                     model, platform.permissions, scheduler)
    {}

    // Our panels, which a screenshot must leave out.
    QList<QWindow *> ownPanels() const { return {hudPanel.window(), prompt.panel()}; }

    AppModel &model;
    AudioRecorder recorder;
    RecorderAdapter recorderAdapter;
    HotkeyManager hotkey;
    QtHUDScreens screens;
    HUDHistory history;
    QuickHUDPanel hudPanel;
    RecordingHUD hud;
    HudAdapter hudAdapter;
    Paster paster;
    SelectionReader selection;
    ScreenCapturer screenshots;
    DesktopAdapter desktop;
    CorrectionWatcher watcher;
    CorrectionPrompt prompt;
    CorrectionAdapter corrections;
    StoresAdapter stores;
    CueAdapter cues;
    CaptureSessionController controller;
};

CaptureStack::CaptureStack(PlatformServices platform, AppModel &model, SessionBackend &backend,
                           Clock &clock, Scheduler &scheduler, StatusShell &shell)
    : d(std::make_unique<Components>(platform, model, backend, clock, scheduler, shell))
{
    d->hud.setHistoryRefresher([] { HistoryStore::shared().refresh({HistoryScope::chat}); });

    // The engine posts its callbacks to a later turn; the controller may be gone by then
    // only at exit, when the engine is stopped first.
    CaptureSessionController &controller = d->controller;
    d->hotkey.onHoldStart = [&controller](CaptureMode mode) { controller.handleHoldStart(mode); };
    d->hotkey.onHoldStop = [&controller](CaptureMode mode) { controller.handleHoldStop(mode); };
    d->hotkey.onHandsFreeStart = [&controller] { controller.handleHandsFreeStart(); };
    d->hotkey.onHandsFreeStop = [&controller] { controller.handleHandsFreeStop(); };
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

void CaptureStack::applyHotkeySetting(const Settings &settings)
{
    for (CaptureMode mode : {CaptureMode::paste, CaptureMode::ask, CaptureMode::screen})
        d->hotkey.setShortcut(mode, settings.shortcut(mode));
    d->model.setHotkeyName(settings.pushToTalkKey.displayName());
    d->model.setAskKeyName(settings.askKey.displayName());
    d->model.setScreenKeyName(settings.screenKey.displayName());
    d->model.setHandsFreeKeyName(Shortcut::doubleTapName());
}
