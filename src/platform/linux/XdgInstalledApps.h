#pragma once

#include "platform/InstalledApps.h"

#include <QList>
#include <QProcessEnvironment>

// Applications as the desktop's menus know them: desktop entries of type Application in
// the XDG applications folders, launched through GIO so that the entry's Exec field
// codes, working folder and terminal flag are honoured.
class XdgInstalledApps : public InstalledApps
{
public:
    // The folders of this session's environment.
    XdgInstalledApps();
    explicit XdgInstalledApps(QStringList dirs);

    QStringList names() override;
    bool open(const QString &name) override;

    const QStringList &dirs() const { return m_dirs; }
    // $XDG_DATA_HOME/applications, each $XDG_DATA_DIRS/applications, then the Flatpak
    // export folders (user, then system); each folder once, in that order.
    static QStringList applicationDirs(const QProcessEnvironment &environment);

private:
    struct Entry
    {
        QString name;
        QString path;
    };

    QList<Entry> entries() const;
    static bool launch(const QString &path);

    QStringList m_dirs;
};
