#pragma once

#include "app/PlatformServices.h"
#include "app/SessionState.h"

#include <QObject>
#include <QStringList>
#include <QUrl>

#include <memory>

class AppModel;
class CaptureStack;
class Clock;
class MainWindow;
class Scheduler;
class TrayStatusItem;

// Owns the long-lived objects of the application, runs its launch sequence, the tray menu,
// the permission poll and the requests other Ovrin processes hand over.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    static constexpr double permissionPollSeconds = 2.0;

    AppDelegate(PlatformServices platform, Clock &clock, Scheduler &scheduler,
                QObject *parent = nullptr);
    ~AppDelegate() override;

    // Menus, tray, hotkeys, sign-in and permissions, then the window and the 2 s poll.
    void launch();
    AppModel &model();
    TrayStatusItem &statusItem();
    CaptureStack &capture();
    MainWindow &mainWindow();

    // A command line of a later `ovrin` process, or this one's.
    void handleArguments(const QStringList &arguments);
    void handleURL(const QUrl &url);

    void setStatusText(const QString &text);
    void showMainWindow();
    // Shows how to grant a permission; `page` names it ("Privacy_Microphone", …).
    void openPrivacySettings(const QString &page);

    void requestAccessibilityAccess();
    void requestMicrophoneAccess();
    void ensureHotkeyActive();
    // While a shortcut is being recorded the global hotkeys rest.
    void pauseHotkeys(bool paused);
    enum class MeetingToggleOrigin { tray, meetingsPage };
    void toggleMeeting(MeetingToggleOrigin origin);
    void openSettings();

Q_SIGNALS:
    void quitRequested();

private:
    void setupMainMenu();
    void setupStatusItem();
    void observeMeetingRecorder();
    void wireModel();
    void wireCapture();
    void applyHotkeySetting();
    void logLaunchTarget();
    void logWrongTarget();
    void logEnvironment();
    void restoreSignIn();
    void startPermissionPolling();
    void pollPermissions();
    void updateTrayIcon();
    void prepareTrayMenu();
    void settingsChanged();
    void fnKeyChanged();

    struct Private;
    std::unique_ptr<Private> d;
};
