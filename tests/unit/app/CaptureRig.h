#pragma once

// One capture session controller with everything it works with: the outside world faked
// (microphone, backend calls, screen, keys and the focused field), the rest of the
// application real (the HUD on a fake panel, the sounds, the stores, the correction feature),
// a manual clock, and one ordered list of what the session did.
#include "support/FakeBackend.h"
#include "support/FakeBackendServer.h"
#include "support/FakeHUDPanel.h"
#include "support/FakeKeychain.h"
#include "support/FakePlatform.h"
#include "support/FakeScreens.h"

#include "app/CaptureSessionController.h"
#include "audio/AudioRecorder.h"
#include "audio/Sounds.h"
#include "core/ManualScheduler.h"
#include "correction/Corrections.h"
#include "desktop/ClipboardKeeper.h"
#include "desktop/Paster.h"
#include "desktop/SelectionReader.h"
#include "hud/RecordingHUD.h"
#include "platform/linux/FnKey.h"
#include "screenshot/ScreenCapturer.h"
#include "state/AppModel.h"
#include "state/LaunchAtLoginManager.h"
#include "stores/AuthStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QJsonObject>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

struct FakeRecorder : AudioRecorder, Noting
{
    void start() override
    {
        note("recorder.start");
        if (startError)
            throw DescribedError(*startError);
    }
    std::optional<QByteArray> stop() override
    {
        note("recorder.stop");
        return take;
    }
    std::optional<QString> startError;
    std::optional<QByteArray> take = QByteArray("RIFF-take");
};

struct FakeScreenCapturer : ScreenCapturer, Noting
{
    QCoro::Task<std::optional<QByteArray>> captureActiveDisplay(double maxDimension, double quality,
                                                                const QList<QWindow *> &) override
    {
        note(QStringLiteral("screenshot %1 %2").arg(maxDimension).arg(quality));
        // A copy: QCoro's co_return of an lvalue moves from it.
        co_return std::optional<QByteArray>(jpeg);
    }
    std::optional<QByteArray> jpeg = QByteArray("JPEG");
};

inline const QJsonObject ada{{"id", "u1"},
                             {"email", "ada@example.com"},
                             {"name", "Ada Lovelace"},
                             {"picture", ""},
                             {"provider", "email"}};

// One controller with everything it works with, a manual clock, and one ordered list of
// what the session did.
struct Rig
{
    explicit Rig(bool signedIn = true)
    {
        for (Noting *fake :
             std::initializer_list<Noting *>{&backend, &recorder, &screens, &keys, &panel})
            fake->events = &events;
        HUDState &state = *hud.state();
        QObject::connect(&state, &HUDState::modeChanged,
                         [this, &state] { note("hud " + state.mode().toString()); });
        QObject::connect(&state, &HUDState::questionChanged, [this, &state] {
            if (!state.question().isEmpty())
                note("hud.question " + state.question());
        });
        QObject::connect(&state, &HUDState::followUpHintChanged, [this, &state] {
            if (!state.followUpHint().isEmpty())
                note("hud.followUp " + state.followUpHint());
        });
        QObject::connect(&sounds, &Sounds::played, [this](Sounds::Sound sound) {
            note(QStringList{"cue.start", "cue.stop", "cue.done", "cue.fail"}.at(int(sound)));
        });
        // The focused field takes a paste as a text field does.
        keys.onPaste = [this] { focus.focused->text += QGuiApplication::clipboard()->text(); };
        // The clipboard watcher counts every owner change, ours too.
        QObject::connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, &controller,
                         [this] {
                             ++clipboard.count;
                             note("clipboard " + QGuiApplication::clipboard()->text());
                         });
        QObject::connect(&controller, &CaptureSessionController::statusChanged,
                         [this](const QString &text) { note("status " + text); });
        QObject::connect(&controller, &CaptureSessionController::stateChanged,
                         [this](SessionState state) { states << state; });
        QObject::connect(&controller, &CaptureSessionController::signInNeeded,
                         [this] { note("window.show"); });
        QObject::connect(&controller, &CaptureSessionController::privacyHelpNeeded,
                         [this](const QString &page) { note("privacy " + page); });
        QObject::connect(&corrections.prompt(), &CorrectionPrompt::correctedChanged,
                         [this] { note("prompt.show " + corrections.prompt().corrected()); });

        if (signedIn) {
            server.on("GET", "/auth/me").json(QJsonObject{{"user", ada}});
            QCoro::waitFor(auth.applyToken(QStringLiteral("token")));
        }
        model.refreshPermissions();
        scheduler.runPending();
        events.clear();
    }
    ~Rig() { QGuiApplication::clipboard()->clear(); }

    void note(const QString &event) { events << event; }
    void setSettings(bool cleanup, bool paste)
    {
        Settings changed = settings.current();
        changed.cleanupEnabled = cleanup;
        changed.pasteAutomatically = paste;
        settings.save(changed);
    }
    // Log messages (without the time) since the last take().
    QStringList log() const { return systemLog.lines; }
    // Runs deferred work (status lines), returns the events since the last take() and
    // forgets them.
    QStringList take()
    {
        scheduler.runPending();
        systemLog.lines.clear();
        return std::exchange(events, {});
    }
    // A whole press-and-release, and the paste keystroke's delay; returns the events after
    // the press and keeps its log.
    QStringList dictate(CaptureMode mode = CaptureMode::paste)
    {
        controller.handleHoldStart(mode);
        take();
        controller.handleHoldStop(mode);
        scheduler.advance(Paster::pasteDelay);
        return std::exchange(events, {});
    }
    bool idle() const
    {
        return controller.state() == SessionState::idle && model.activity() == Activity::idle;
    }
    // The history lists the backend was asked for, in order.
    QStringList historyRequests() const
    {
        QStringList scopes;
        for (const FakeRequest &request : server.requests()) {
            if (request.path == QStringLiteral("/history"))
                scopes << request.target.section(u'=', 1);
        }
        return scopes;
    }

    QStringList events;
    QTemporaryDir dir;
    QSettings defaults{dir.filePath("defaults.ini"), QSettings::IniFormat};
    ManualClock clock;
    ManualScheduler scheduler{clock};
    FakeBackendServer server;
    bool listening = server.listen();
    FakeBackend backend{server.baseURL()};
    FakeKeychain keychain;
    AuthStore auth{backend, keychain};
    HistoryStore history{backend, clock};
    DictionaryStore dictionary{backend};
    SettingsStore settings{dir.filePath("settings.json")};
    FakePermissions permissions;
    FakeLoginItem loginItem;
    LaunchAtLoginManager launchAtLogin{loginItem, defaults};
    RecordingSystemLog systemLog;
    AppModel model{clock, permissions, backend, launchAtLogin, systemLog};
    FakeRecorder recorder;
    FakeScreenCapturer screens;
    FakeInstalledApps apps;
    FakeKeySynthesizer keys;
    FakeFocusedText focus;
    FakeClipboardWatcher clipboard;
    Paster paster{keys, scheduler, nullptr, &focus};
    // What a reader of the clipboard finds there before a dictation.
    std::optional<ClipboardContents> heldClipboard = ClipboardContents();
    ClipboardKeeper keeper{[this] {
                               auto reader = std::make_unique<FakeClipboardWatcher>();
                               reader->held = heldClipboard;
                               return reader;
                           },
                           false};
    SelectionReader selection{focus, keys, clipboard};
    FakeHUDPanel panel;
    FakeScreens hudScreens;
    RecordingHUD hud{panel, hudScreens, clock, scheduler, history};
    Corrections corrections{focus, clock, scheduler, dictionary, hudScreens, nullptr};
    Sounds sounds;
    CaptureSessionController controller{CaptureServices{
        .recorder = recorder,
        .backend = backend,
        .screens = screens,
        .apps = apps,
        .permissions = permissions,
        .paster = paster,
        .clipboardKeeper = keeper,
        .selection = selection,
        .hud = hud,
        .corrections = corrections,
        .sounds = sounds,
        .auth = auth,
        .history = history,
        .settings = settings,
        .model = model,
        .scheduler = scheduler,
    }};
    QList<SessionState> states;
};
