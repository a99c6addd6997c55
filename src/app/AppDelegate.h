#pragma once

#include "app/PlatformServices.h"
#include "app/SessionState.h"
#include "app/StatusShell.h"

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
class AppDelegate : public QObject, public StatusShell
{
    Q_OBJECT
public:
    static constexpr double permissionPollSeconds = 2.0;

    AppDelegate(PlatformServices platform, Clock &clock, Scheduler &scheduler,
                QObject *parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    AppModel &model();
    TrayStatusItem &statusItem();
    CaptureStack &capture();
    MainWindow &mainWindow();

    // A command line of a later `ovrin` process, or this one's.
    void handleArguments(const QStringList &arguments);
    void handleURL(const QUrl &url);

    // StatusShell
    void setStatusText(const QString &text) override;
    void updateStatusIcon(SessionState state) override;
    void showMainWindow() override;
    void openPrivacySettings(const QString &page) override;

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
    void applyHotkeySetting();
    void logBundleIdentity();
    void logWrongTarget();
    void logEnvironment();
    void restoreSignIn();
    void startPermissionPolling();
    void pollPermissions();
    void updateUI();
    void menuWillOpen();
    void settingsChanged();

    struct Private;
    std::unique_ptr<Private> d;
};
