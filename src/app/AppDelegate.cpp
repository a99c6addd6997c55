#include "app/AppDelegate.h"

#include "app/CaptureSessionController.h"
#include "app/CaptureStack.h"
#include "app/LaunchTarget.h"
#include "app/RequestHandler.h"
#include "app/TrayStatusItem.h"
#include "audio/AudioRecorder.h"
#include "audio/MeetingRecorder.h"
#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/Scheduler.h"
#include "hotkeys/HotkeyManager.h"
#include "hotkeys/ShortcutRecording.h"
#include "platform/AccessibilitySwitch.h"
#include "platform/PermissionProbe.h"
#include "platform/linux/FnKey.h"
#include "state/AppModel.h"
#include "state/LaunchAtLoginManager.h"
#include "stores/AuthStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"
#include "ui/MainWindow.h"
#include "ui/MainWindowState.h"

#include <QDBusConnection>
#include <QPointer>
#include <QSettings>

namespace {

QString wrongTargetWarning()
{
    return QStringLiteral("⚠️ Wrong launch target. Accessibility will not work reliably.");
}

} // namespace

struct AppDelegate::Private
{
    Private(PlatformServices platform, Clock &clock, Scheduler &scheduler)
        : platform(platform), clock(clock), scheduler(scheduler),
          defaults(QStringLiteral("Ovrin"), QStringLiteral("Ovrin")),
          launchAtLogin(platform.loginItem, defaults),
          model(clock, platform.permissions, Backend::shared(), launchAtLogin, platform.systemLog),
          target(LaunchTarget::current()),
          capture(platform, model, Backend::shared(), clock, scheduler),
          requests(model, capture.controller())
    {}

    PlatformServices platform;
    Clock &clock;
    Scheduler &scheduler;
    QSettings defaults;
    LaunchAtLoginManager launchAtLogin;
    AppModel model;
    LaunchTarget target;
    CaptureStack capture;
    MainWindow mainWindow;
    RequestHandler requests;
    std::unique_ptr<TrayStatusItem> statusItem;
    TimerHandle permissionTimer;
    bool isMeetingRecording = false;
    bool hotkeysPaused = false;
    bool resumeHotkeys = false;
    SessionState sessionState = SessionState::idle;
};

AppDelegate::AppDelegate(PlatformServices platform, Clock &clock, Scheduler &scheduler,
                         QObject *parent)
    : QObject(parent), d(std::make_unique<Private>(platform, clock, scheduler))
{
    // The choice of this keyboard's fn key is kept with the user defaults.
    FnKey::shared().keepIn(&d->defaults);
}

AppDelegate::~AppDelegate()
{
    FnKey::shared().keepIn(nullptr);
    // Nothing may reach the session once the delegate goes.
    d->permissionTimer.cancel();
    d->capture.hotkey().stop();
}

AppModel &AppDelegate::model()
{
    return d->model;
}

TrayStatusItem &AppDelegate::statusItem()
{
    return *d->statusItem;
}

CaptureStack &AppDelegate::capture()
{
    return d->capture;
}

MainWindow &AppDelegate::mainWindow()
{
    return d->mainWindow;
}

void AppDelegate::launch()
{
    setupMainMenu();
    setupStatusItem();
    observeMeetingRecorder();
    wireModel();
    wireCapture();
    applyHotkeySetting();
    connect(&SettingsStore::shared(), &SettingsStore::changed, this, &AppDelegate::settingsChanged);
    connect(&FnKey::shared(), &FnKey::keyChanged, this, &AppDelegate::fnKeyChanged);
    logLaunchTarget();
    logEnvironment();
    if (!d->platform.desktopRungs.isEmpty())
        d->model.setDesktopRungs(d->platform.desktopName, d->platform.desktopRungs);
    d->model.log(QStringLiteral("Launched."));
    restoreSignIn();
    d->model.refreshPermissions();
    ensureHotkeyActive();
    showMainWindow();
    startPermissionPolling();
    updateTrayIcon();
}

void AppDelegate::setupStatusItem()
{
    d->statusItem = std::make_unique<TrayStatusItem>();
    TrayStatusItem *item = d->statusItem.get();
    connect(item, &TrayStatusItem::openRequested, this, &AppDelegate::showMainWindow);
    connect(item, &TrayStatusItem::settingsRequested, this, &AppDelegate::openSettings);
    connect(item, &TrayStatusItem::meetingToggleRequested, this,
            [this] { toggleMeeting(MeetingToggleOrigin::tray); });
    connect(item, &TrayStatusItem::quitRequested, this, &AppDelegate::quitRequested);
    connect(item, &TrayStatusItem::menuAboutToShow, this, &AppDelegate::prepareTrayMenu);
    connect(item, &TrayStatusItem::transcriptChosen, this,
            [this](const QString &text) { d->capture.controller().copyTranscript(text); });
    item->show();
}

void AppDelegate::setupMainMenu()
{
    // The window's menu: About, Check for Updates…, Quit and the editing commands.
    d->mainWindow.load();
    MainWindowState &window = MainWindowState::shared();
    connect(&window, &MainWindowState::quitRequested, this, &AppDelegate::quitRequested);
    connect(&window, &MainWindowState::meetingToggleRequested, this,
            [this] { toggleMeeting(MeetingToggleOrigin::meetingsPage); });
    window.setUpdateInfo(
        d->target.isInstalled()
            ? QStringLiteral("Ovrin is updated with your system's packages: your package "
                             "manager installs new versions when they are released.")
            : QStringLiteral("This Ovrin was built from its source folder. To update it, pull "
                             "the latest changes there and start it again with ./run.sh."));
}

void AppDelegate::observeMeetingRecorder()
{
    MeetingRecorder &meetings = MeetingRecorder::shared();
    const auto follow = [this, &meetings] {
        d->isMeetingRecording = meetings.isRecording();
        d->statusItem->setMeetingRecording(d->isMeetingRecording);
        updateTrayIcon();
    };
    connect(&meetings, &MeetingRecorder::isRecordingChanged, this, follow);
    connect(&meetings, &MeetingRecorder::logLine, this,
            [this](const QString &line) { d->model.log(line); });
    follow();
}

void AppDelegate::wireModel()
{
    connect(&ShortcutRecording::shared(), &ShortcutRecording::activeChanged, this,
            &AppDelegate::pauseHotkeys);
    connect(&d->model, &AppModel::microphoneAccessRequested, this,
            &AppDelegate::requestMicrophoneAccess);
    connect(&d->model, &AppModel::accessibilityAccessRequested, this,
            &AppDelegate::requestAccessibilityAccess);
    connect(&d->requests, &RequestHandler::mainWindowWanted, this, &AppDelegate::showMainWindow);
}

void AppDelegate::wireCapture()
{
    CaptureSessionController &controller = d->capture.controller();
    connect(&controller, &CaptureSessionController::stateChanged, this, [this](SessionState state) {
        d->sessionState = state;
        updateTrayIcon();
    });
    connect(&controller, &CaptureSessionController::statusChanged, this,
            &AppDelegate::setStatusText);
    connect(&controller, &CaptureSessionController::signInNeeded, this,
            &AppDelegate::showMainWindow);
    connect(&controller, &CaptureSessionController::privacyHelpNeeded, this,
            &AppDelegate::openPrivacySettings);
}

void AppDelegate::applyHotkeySetting()
{
    const Settings &settings = SettingsStore::shared().current();
    d->capture.applyHotkeySetting(settings);
    d->capture.applyWarmMicrophone(settings);
    updateTrayIcon();
}

void AppDelegate::settingsChanged()
{
    d->model.log(QStringLiteral("Settings updated."));
    applyHotkeySetting();
}

void AppDelegate::fnKeyChanged()
{
    // The key source and the keyboard map follow on their own; the names carry the key's.
    applyHotkeySetting();
    d->model.log(QStringLiteral("Fn key set to %1.").arg(FnKey::shared().label()));
}

void AppDelegate::logLaunchTarget()
{
    const QString identifier =
        d->target.identifier().isEmpty() ? QStringLiteral("(none)") : d->target.identifier();
    d->model.log(QStringLiteral("Running as %1 — %2").arg(identifier, d->target.path()));
    if (!d->target.isProper())
        logWrongTarget();
}

void AppDelegate::logWrongTarget()
{
    d->model.log(wrongTargetWarning());
    d->model.log(QStringLiteral("   Use: ./run.sh in the Ovrin folder, or Ovrin from your "
                                "applications menu once it is installed."));
    d->model.log(QStringLiteral("   Avoid: starting build/bin/ovrin directly, from an IDE or a "
                                "debugger, or a copy of the binary moved elsewhere."));
}

void AppDelegate::logEnvironment()
{
    // Neither is fatal: the tray icon appears when a tray host starts, and without a session
    // bus only accessibility and the keychain are unavailable.
    const bool trayMissing = !TrayStatusItem::isTrayAvailable();
    MainWindowState::shared().setTrayMissing(trayMissing);
    if (trayMissing)
        d->model.log(QStringLiteral(
            "No system tray found — the Ovrin icon will appear when a tray starts."));
    if (!QDBusConnection::sessionBus().isConnected())
        d->model.log(QStringLiteral(
            "No D-Bus session bus — accessibility and the keychain are unavailable."));
}

void AppDelegate::restoreSignIn()
{
    AuthStore &auth = AuthStore::shared();
    connect(&auth, &AuthStore::keychainUnavailable, this,
            [this](const QString &message) { d->model.log(message); });
    auth.restore();
}

void AppDelegate::startPermissionPolling()
{
    QPointer<AppDelegate> self(this);
    d->permissionTimer = d->scheduler.repeat(permissionPollSeconds, [self] {
        if (self)
            self->pollPermissions();
    });
}

void AppDelegate::pollPermissions()
{
    d->model.refreshPermissions();
    d->model.evaluateLaunchAtLoginPrompt(d->target.isProper());
    ensureHotkeyActive();
    MainWindowState::shared().setTrayMissing(!TrayStatusItem::isTrayAvailable());
}

void AppDelegate::pauseHotkeys(bool paused)
{
    if (d->hotkeysPaused == paused)
        return;
    d->hotkeysPaused = paused;
    HotkeyManager &hotkey = d->capture.hotkey();
    if (paused) {
        d->resumeHotkeys = hotkey.isStarted();
        hotkey.stop();
    } else if (d->resumeHotkeys) {
        hotkey.start();
    }
}

void AppDelegate::ensureHotkeyActive()
{
    // A settings field is recording a shortcut: the keys are its own for now.
    if (d->hotkeysPaused)
        return;
    HotkeyManager &hotkey = d->capture.hotkey();
    const bool trusted = d->platform.permissions.accessibilityTrusted();
    if (trusted && !hotkey.isStarted()) {
        if (hotkey.start())
            d->model.log(QStringLiteral(
                "✓ Accessibility granted — global hotkey is now ACTIVE. Try it from any app."));
        else
            d->model.log(
                QStringLiteral("ERROR: Accessibility is trusted but the event tap failed to "
                               "install."));
    } else if (!trusted && hotkey.isStarted()) {
        hotkey.stop();
        d->model.log(QStringLiteral("Accessibility was revoked — global hotkey disabled."));
    }
}

void AppDelegate::requestAccessibilityAccess()
{
    if (d->platform.permissions.accessibilityTrusted()) {
        ensureHotkeyActive();
    } else {
        d->model.log(QStringLiteral("Requesting Accessibility permission…"));
        // The Linux counterpart of the system's prompt: the session's accessibility switch.
        switch (d->platform.accessibilitySwitch.switchOn()) {
        case AccessibilitySwitch::Outcome::switchedOn:
            d->model.log(QStringLiteral("Accessibility switched on — applications started "
                                        "before now must be restarted to be read."));
            break;
        case AccessibilitySwitch::Outcome::failed:
            d->model.log(QStringLiteral("Couldn't switch accessibility on."));
            break;
        case AccessibilitySwitch::Outcome::alreadyOn:
            break;
        }
        if (d->platform.permissions.accessibilityTrusted()) {
            d->model.log(QStringLiteral("Accessibility: trusted"));
            ensureHotkeyActive();
        } else {
            if (d->platform.desktopName.startsWith(u"Wayland"))
                d->model.log(QStringLiteral("Hotkeys: nothing on this Wayland session lets Ovrin "
                                            "see keys — see the help in Ovrin's window."));
            else
                d->model.log(QStringLiteral("Accessibility: needs an X11 session with XInput 2.2 "
                                            "and XTEST, and the accessibility bus — see the help "
                                            "in Ovrin's window."));
            if (!d->target.isProper())
                d->model.log(wrongTargetWarning());
            openPrivacySettings(QStringLiteral("Privacy_Accessibility"));
        }
    }
    d->model.refreshPermissions();
    d->model.evaluateLaunchAtLoginPrompt(d->target.isProper());
}

void AppDelegate::requestMicrophoneAccess()
{
    d->model.log(QStringLiteral("Requesting microphone permission…"));
    QPointer<AppDelegate> self(this);
    AudioRecorder::requestPermission([self](bool granted) {
        if (!self)
            return;
        self->d->model.log(granted ? QStringLiteral("Microphone permission: GRANTED")
                                   : QStringLiteral("Microphone permission: DENIED"));
        self->d->model.refreshPermissions();
        if (!granted) {
            self->d->model.log(QStringLiteral("Microphone denied — open Sound settings to allow."));
            self->openPrivacySettings(QStringLiteral("Privacy_Microphone"));
        }
    });
}

void AppDelegate::setStatusText(const QString &text)
{
    if (d->statusItem)
        d->statusItem->setStatusText(text);
}

void AppDelegate::updateTrayIcon()
{
    if (!d->statusItem)
        return;
    if (d->isMeetingRecording)
        d->statusItem->setIconName(QStringLiteral("media-record"));
    else if (d->sessionState == SessionState::recording)
        d->statusItem->setIconName(QStringLiteral("microphone"));
    else if (d->sessionState == SessionState::working)
        d->statusItem->setIconName(QStringLiteral("waveform"));
    else if (d->capture.microphoneWarm())
        d->statusItem->setIconName(QStringLiteral("microphone-ready"));
    else
        d->statusItem->setIconName(QStringLiteral("microphone-idle"));
}

void AppDelegate::showMainWindow()
{
    d->mainWindow.show();
}

void AppDelegate::openSettings()
{
    d->model.setSelectedTab(1);
    showMainWindow();
}

void AppDelegate::openPrivacySettings(const QString &page)
{
    MainWindowState::shared().setHelpTopic(page);
    showMainWindow();
}

void AppDelegate::prepareTrayMenu()
{
    d->statusItem->setMeetingRecording(d->isMeetingRecording);
    HistoryStore &history = HistoryStore::shared();
    d->statusItem->setRecentTranscripts(
        TrayStatusItem::recentTranscripts(history.transcriptEntries()));
    // What opens next time is fresh; this opening shows what is cached.
    history.refresh({HistoryScope::transcripts});
}

void AppDelegate::toggleMeeting(MeetingToggleOrigin origin)
{
    MeetingRecorder &meetings = MeetingRecorder::shared();
    if (meetings.isRecording()) {
        meetings.stopAndProcess();
        d->model.log(QStringLiteral("Meeting saved — transcribing…"));
        setStatusText(QStringLiteral("Meeting saved — transcribing…"));
        return;
    }
    if (d->platform.permissions.microphoneAuthorization() != MicrophoneAuthorization::authorized) {
        d->model.log(QStringLiteral("Microphone access is required to record a meeting."));
        openPrivacySettings(QStringLiteral("Privacy_Microphone"));
        return;
    }
    try {
        meetings.start();
    } catch (...) {
        d->model.log(QStringLiteral("Couldn't start meeting recording: ") +
                     DescribedError::describe(std::current_exception()));
        return;
    }
    setStatusText(QStringLiteral("Recording meeting…"));
    d->model.log(origin == MeetingToggleOrigin::tray
                     ? QStringLiteral("Meeting recording started from the system tray.")
                     : QStringLiteral("Meeting recording started from the Meetings page."));
}

void AppDelegate::handleArguments(const QStringList &arguments)
{
    d->requests.handleArguments(arguments);
}

void AppDelegate::handleURL(const QUrl &url)
{
    d->requests.handleURL(url);
}
