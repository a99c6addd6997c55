#pragma once

#include "platform/LoginItem.h"

// Login item as an XDG autostart entry, "com.ovrin.app.desktop" in the autostart folder.
class XdgAutostartLoginItem : public LoginItem
{
public:
    // `autostartDir` defaults to $XDG_CONFIG_HOME/autostart; `executable` to this process.
    explicit XdgAutostartLoginItem(QString autostartDir = {}, QString executable = {});

    bool isEnabled() const override;
    bool setEnabled(bool on, QString &error) override;

    QString entryPath() const;

private:
    QString m_autostartDir;
    QString m_executable;
};
