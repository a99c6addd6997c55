#pragma once

#include "hotkeys/Shortcut.h"
#include "platform/DesktopRung.h"
#include "state/Activity.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class Backend;
class QJSEngine;
class QQmlEngine;
class Clock;
class LaunchAtLoginManager;
class PermissionProbe;
class SystemLog;

// Application-wide observable state: the page on show, what the capture loop does,
// permissions, backend reachability, hotkey names, the last transcript, the login item and
// the activity log.
class AppModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(int selectedTab READ selectedTab WRITE setSelectedTab NOTIFY selectedTabChanged)
    Q_PROPERTY(Activity activity READ activity NOTIFY activityChanged)
    Q_PROPERTY(QString activityText READ activityText NOTIFY activityChanged)
    Q_PROPERTY(bool micAuthorized READ micAuthorized NOTIFY micAuthorizedChanged)
    Q_PROPERTY(
        bool accessibilityTrusted READ accessibilityTrusted NOTIFY accessibilityTrustedChanged)
    Q_PROPERTY(bool screenRecordingTrusted READ screenRecordingTrusted NOTIFY
                   screenRecordingTrustedChanged)
    Q_PROPERTY(bool backendReachable READ backendReachable NOTIFY backendReachableChanged)
    Q_PROPERTY(QString hotkeyName READ hotkeyName NOTIFY hotkeyNameChanged)
    Q_PROPERTY(QString askKeyName READ askKeyName NOTIFY askKeyNameChanged)
    Q_PROPERTY(QString screenKeyName READ screenKeyName NOTIFY screenKeyNameChanged)
    // The double tap of the fn key that starts hands-free dictation.
    Q_PROPERTY(QString handsFreeKeyName READ handsFreeKeyName NOTIFY handsFreeKeyNameChanged)
    Q_PROPERTY(bool hotkeyIsDown READ hotkeyIsDown NOTIFY hotkeyIsDownChanged)
    Q_PROPERTY(QString lastTranscript READ lastTranscript NOTIFY lastTranscriptChanged)
    Q_PROPERTY(QStringList logLines READ logLines NOTIFY logLinesChanged)
    Q_PROPERTY(
        bool launchAtLoginEnabled READ launchAtLoginEnabled NOTIFY launchAtLoginEnabledChanged)
    Q_PROPERTY(bool showLaunchAtLoginPrompt READ showLaunchAtLoginPrompt NOTIFY
                   showLaunchAtLoginPromptChanged)
    // How each function reaches this desktop: maps of feature, rung, advice, working.
    Q_PROPERTY(QVariantList desktopRungs READ desktopRungs NOTIFY desktopRungsChanged)
    Q_PROPERTY(QString desktopName READ desktopName NOTIFY desktopRungsChanged)

public:
    static constexpr int maxLogLines = 200;

    AppModel(Clock &clock, PermissionProbe &permissions, Backend &backend,
             LaunchAtLoginManager &launchAtLogin, SystemLog &systemLog, QObject *parent = nullptr);
    ~AppModel() override;

    // The window's instance: the one the application made (the last one alive).
    static AppModel *create(QQmlEngine *, QJSEngine *);

    int selectedTab() const { return m_selectedTab; }
    Activity activity() const { return m_activity; }
    QString activityText() const { return activityDisplayText(m_activity); }
    bool micAuthorized() const { return m_micAuthorized; }
    bool accessibilityTrusted() const { return m_accessibilityTrusted; }
    bool screenRecordingTrusted() const { return m_screenRecordingTrusted; }
    bool backendReachable() const { return m_backendReachable; }
    QString hotkeyName() const { return m_hotkeyName; }
    QString askKeyName() const { return m_askKeyName; }
    QString screenKeyName() const { return m_screenKeyName; }
    QString handsFreeKeyName() const { return m_handsFreeKeyName; }
    bool hotkeyIsDown() const { return m_hotkeyIsDown; }
    QString lastTranscript() const { return m_lastTranscript; }
    QStringList logLines() const { return m_logLines; }
    bool launchAtLoginEnabled() const { return m_launchAtLoginEnabled; }
    bool showLaunchAtLoginPrompt() const { return m_showLaunchAtLoginPrompt; }
    QVariantList desktopRungs() const;
    QString desktopName() const { return m_desktopName; }

    void setSelectedTab(int tab);
    void setActivity(Activity activity);
    // The names of the three shortcuts and of the fn key's double tap, with the fn key shown
    // as `fnKeyName` ("Right Ctrl").
    void nameShortcuts(const Shortcut &dictation, const Shortcut &ask, const Shortcut &screen,
                       const QString &fnKeyName);
    // `desktop`: the session as the user knows it ("Wayland (sway)"). Each rung is logged.
    void setDesktopRungs(const QString &desktop, const DesktopRungs &rungs);
    void setHotkeyIsDown(bool down);
    void setLastTranscript(const QString &text);

    // Home's "Retry": every permission and the backend read again.
    Q_INVOKABLE void refresh() { refreshPermissions(); }
    // Home's "Enable" buttons: the application asks the system (or the user) for them.
    Q_INVOKABLE void requestMicrophone() { Q_EMIT microphoneAccessRequested(); }
    Q_INVOKABLE void requestAccessibility() { Q_EMIT accessibilityAccessRequested(); }

    // Appends "[HH:mm:ss] message" (local time) and passes the message to the system log.
    Q_INVOKABLE void log(const QString &message);
    // Re-reads every permission and starts a backend check.
    Q_INVOKABLE void refreshPermissions();
    QCoro::Task<void> checkBackend();
    // Offers the login item once the app runs properly and has its permissions.
    void evaluateLaunchAtLoginPrompt(bool isProperLaunch);
    Q_INVOKABLE void setLaunchAtLogin(bool on);

Q_SIGNALS:
    void selectedTabChanged();
    void activityChanged();
    void micAuthorizedChanged();
    void accessibilityTrustedChanged();
    void screenRecordingTrustedChanged();
    void backendReachableChanged();
    void hotkeyNameChanged();
    void askKeyNameChanged();
    void screenKeyNameChanged();
    void handsFreeKeyNameChanged();
    void hotkeyIsDownChanged();
    void lastTranscriptChanged();
    void logLinesChanged();
    void launchAtLoginEnabledChanged();
    void showLaunchAtLoginPromptChanged();
    void desktopRungsChanged();
    void microphoneAccessRequested();
    void accessibilityAccessRequested();

private:
    template <typename T> void assign(T &field, const T &value, void (AppModel::*changed)());

    Clock &m_clock;
    PermissionProbe &m_permissions;
    Backend &m_backend;
    LaunchAtLoginManager &m_launchAtLogin;
    SystemLog &m_systemLog;
    bool m_backendCheckRunning = false;

    int m_selectedTab = 0;
    Activity m_activity = Activity::idle;
    bool m_micAuthorized = false;
    bool m_accessibilityTrusted = false;
    bool m_screenRecordingTrusted = false;
    bool m_backendReachable = false;
    // Named by the application once it knows the shortcuts and the fn key.
    QString m_hotkeyName;
    QString m_askKeyName;
    QString m_screenKeyName;
    QString m_handsFreeKeyName;
    bool m_hotkeyIsDown = false;
    QString m_lastTranscript;
    QStringList m_logLines;
    bool m_launchAtLoginEnabled = false;
    bool m_showLaunchAtLoginPrompt = false;
    QString m_desktopName;
    DesktopRungs m_desktopRungs;
};
