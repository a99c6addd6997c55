#pragma once

#include "app/SessionState.h"

#include <QString>

// The application's shell around a session: the status item and its menu, the main window
// and the permission help.
class StatusShell
{
public:
    virtual ~StatusShell() = default;
    virtual void setStatusText(const QString &text) = 0;
    virtual void updateStatusIcon(SessionState state) = 0;
    virtual void showMainWindow() = 0;
    // Shows how to grant a permission; `page` names it ("Privacy_Microphone", …).
    virtual void openPrivacySettings(const QString &page) = 0;
};
