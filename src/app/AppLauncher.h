#pragma once

#include <QString>
#include <QStringList>

// The installed applications an answer may open by name.
class AppLauncher
{
public:
    virtual ~AppLauncher() = default;
    virtual QStringList names() = 0;
    // Returns false when no application has that name.
    virtual bool open(const QString &name) = 0;
};
