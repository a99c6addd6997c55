#pragma once

#include <QString>

class LoginItem;
class QSettings;

// The login item plus the remembered answer to the "start at login?" prompt.
class LaunchAtLoginManager
{
public:
    static inline const QString promptAnsweredKey = QStringLiteral("launchAtLoginPromptAnswered");

    LaunchAtLoginManager(LoginItem &loginItem, QSettings &defaults);

    bool isEnabled() const;
    // The prompt may be offered: never answered, and not already a login item.
    bool shouldOfferPrompt() const;
    // Registers or unregisters; on failure returns false with the description in `error`.
    bool setEnabled(bool on, QString &error);
    void markPromptAnswered();

private:
    LoginItem &m_loginItem;
    QSettings &m_defaults;
};
