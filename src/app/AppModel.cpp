#include "app/AppModel.h"

#include "app/BackendHealth.h"
#include "app/LaunchAtLoginManager.h"
#include "core/Clock.h"
#include "platform/PermissionProbe.h"
#include "platform/SystemLog.h"

#include <QPointer>

AppModel::AppModel(Clock &clock, PermissionProbe &permissions, BackendHealth &backend,
                   LaunchAtLoginManager &launchAtLogin, SystemLog &systemLog, QObject *parent)
    : QObject(parent), m_clock(clock), m_permissions(permissions), m_backend(backend),
      m_launchAtLogin(launchAtLogin), m_systemLog(systemLog)
{}

AppModel::~AppModel() = default;

template <typename T> void AppModel::assign(T &field, const T &value, void (AppModel::*changed)())
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)();
}

void AppModel::setSelectedTab(int tab)
{
    assign(m_selectedTab, tab, &AppModel::selectedTabChanged);
}

void AppModel::setActivity(Activity activity)
{
    assign(m_activity, activity, &AppModel::activityChanged);
}

void AppModel::setHotkeyName(const QString &name)
{
    assign(m_hotkeyName, name, &AppModel::hotkeyNameChanged);
}

void AppModel::setAskKeyName(const QString &name)
{
    assign(m_askKeyName, name, &AppModel::askKeyNameChanged);
}

void AppModel::setScreenKeyName(const QString &name)
{
    assign(m_screenKeyName, name, &AppModel::screenKeyNameChanged);
}

void AppModel::setHotkeyIsDown(bool down)
{
    assign(m_hotkeyIsDown, down, &AppModel::hotkeyIsDownChanged);
}

void AppModel::setLastTranscript(const QString &text)
{
    assign(m_lastTranscript, text, &AppModel::lastTranscriptChanged);
}

void AppModel::refresh()
{
    if (onRefresh)
        onRefresh();
}

void AppModel::requestMicrophone()
{
    if (onRequestMicrophone)
        onRequestMicrophone();
}

void AppModel::requestAccessibility()
{
    if (onRequestAccessibility)
        onRequestAccessibility();
}

void AppModel::log(const QString &message)
{
    const QString time = m_clock.wallTime().toString(QStringLiteral("HH:mm:ss"));
    m_logLines.append(QLatin1Char('[') + time + QStringLiteral("] ") + message);
    if (m_logLines.size() > maxLogLines)
        m_logLines.remove(0, m_logLines.size() - maxLogLines);
    Q_EMIT logLinesChanged();
    m_systemLog.write(message);
}

void AppModel::refreshPermissions()
{
    assign(m_micAuthorized,
           m_permissions.microphoneAuthorization() == MicrophoneAuthorization::authorized,
           &AppModel::micAuthorizedChanged);
    assign(m_accessibilityTrusted, m_permissions.accessibilityTrusted(),
           &AppModel::accessibilityTrustedChanged);
    assign(m_screenRecordingTrusted, m_permissions.screenRecordingTrusted(),
           &AppModel::screenRecordingTrustedChanged);
    assign(m_launchAtLoginEnabled, m_launchAtLogin.isEnabled(),
           &AppModel::launchAtLoginEnabledChanged);
    checkBackend();
}

QCoro::Task<void> AppModel::checkBackend()
{
    // The poll runs every 2 s and a dead backend takes 3 s to time out: never stack checks.
    if (m_backendCheckRunning)
        co_return;
    m_backendCheckRunning = true;
    QPointer<AppModel> self(this);
    const bool reachable = co_await m_backend.health();
    if (!self)
        co_return;
    m_backendCheckRunning = false;
    assign(m_backendReachable, reachable, &AppModel::backendReachableChanged);
}

void AppModel::evaluateLaunchAtLoginPrompt(bool isProperBundle)
{
    assign(m_launchAtLoginEnabled, m_launchAtLogin.isEnabled(),
           &AppModel::launchAtLoginEnabledChanged);
    if (isProperBundle && m_micAuthorized && m_accessibilityTrusted &&
        m_launchAtLogin.shouldOfferPrompt() && !m_showLaunchAtLoginPrompt) {
        m_showLaunchAtLoginPrompt = true;
        Q_EMIT showLaunchAtLoginPromptChanged();
    }
}

void AppModel::setLaunchAtLogin(bool on)
{
    QString error;
    if (!m_launchAtLogin.setEnabled(on, error))
        log(QStringLiteral("Launch at login failed: ") + error);
    m_launchAtLogin.markPromptAnswered();
    assign(m_launchAtLoginEnabled, m_launchAtLogin.isEnabled(),
           &AppModel::launchAtLoginEnabledChanged);
    log(m_launchAtLoginEnabled ? QStringLiteral("Launch at login enabled.")
                               : QStringLiteral("Launch at login disabled."));
}
