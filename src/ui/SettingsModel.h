#pragma once

#include "stores/Settings.h"

#include <QJsonObject>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;
class SettingsStore;

// The settings page's view of the settings store: one property per field, and every
// change is saved at once.
class SettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool cleanupEnabled READ cleanupEnabled WRITE setCleanupEnabled NOTIFY changed)
    Q_PROPERTY(
        bool pasteAutomatically READ pasteAutomatically WRITE setPasteAutomatically NOTIFY changed)
    // "system", "light" or "dark".
    Q_PROPERTY(QString theme READ theme WRITE setTheme NOTIFY changed)
    Q_PROPERTY(QString micUID READ micUID WRITE setMicUID NOTIFY changed)
    Q_PROPERTY(bool includeComputerAudio READ includeComputerAudio WRITE setIncludeComputerAudio
                   NOTIFY changed)
    Q_PROPERTY(bool warmMicrophone READ warmMicrophone WRITE setWarmMicrophone NOTIFY changed)
    Q_PROPERTY(bool restoreClipboard READ restoreClipboard WRITE setRestoreClipboard NOTIFY changed)
    // Shortcuts as settings.json holds them.
    Q_PROPERTY(QJsonObject pushToTalkKey READ pushToTalkKey WRITE setPushToTalkKey NOTIFY changed)
    Q_PROPERTY(QJsonObject askKey READ askKey WRITE setAskKey NOTIFY changed)
    Q_PROPERTY(QJsonObject screenKey READ screenKey WRITE setScreenKey NOTIFY changed)
public:
    explicit SettingsModel(SettingsStore &store, QObject *parent = nullptr);
    static SettingsModel *create(QQmlEngine *, QJSEngine *);

    bool cleanupEnabled() const;
    void setCleanupEnabled(bool on);
    bool pasteAutomatically() const;
    void setPasteAutomatically(bool on);
    QString theme() const;
    void setTheme(const QString &name);
    QString micUID() const;
    void setMicUID(const QString &uid);
    bool includeComputerAudio() const;
    void setIncludeComputerAudio(bool on);
    bool warmMicrophone() const;
    void setWarmMicrophone(bool on);
    bool restoreClipboard() const;
    void setRestoreClipboard(bool on);
    QJsonObject pushToTalkKey() const;
    void setPushToTalkKey(const QJsonObject &shortcut);
    QJsonObject askKey() const;
    void setAskKey(const QJsonObject &shortcut);
    QJsonObject screenKey() const;
    void setScreenKey(const QJsonObject &shortcut);

Q_SIGNALS:
    void changed();

private:
    const Settings &current() const;
    // Saves a copy of the current settings with one field changed, unless it is the same.
    template <class Edit> void edit(Edit change);
    void setShortcut(Shortcut Settings::*field, const QJsonObject &object);

    SettingsStore &m_store;
};
