#include "state/LaunchAtLoginManager.h"

#include "platform/LoginItem.h"

#include <QSettings>

LaunchAtLoginManager::LaunchAtLoginManager(LoginItem &loginItem, QSettings &defaults)
    : m_loginItem(loginItem), m_defaults(defaults)
{}

bool LaunchAtLoginManager::isEnabled() const
{
    return m_loginItem.isEnabled();
}

bool LaunchAtLoginManager::shouldOfferPrompt() const
{
    return !m_defaults.value(promptAnsweredKey, false).toBool() && !m_loginItem.isEnabled();
}

bool LaunchAtLoginManager::setEnabled(bool on, QString &error)
{
    return m_loginItem.setEnabled(on, error);
}

void LaunchAtLoginManager::markPromptAnswered()
{
    m_defaults.setValue(promptAnsweredKey, true);
    m_defaults.sync();
}
