#pragma once

#include <QString>
#include <QStringList>

// The applications the user can open by name. Every call looks at the disk again.
class InstalledApps
{
public:
    virtual ~InstalledApps() = default;
    // Each name once, in code-point order.
    virtual QStringList names() = 0;
    // Launches the application with that name (exactly, else the first whose name
    // contains it, ignoring case); false when none matches or the launch fails.
    virtual bool open(const QString &name) = 0;
};
