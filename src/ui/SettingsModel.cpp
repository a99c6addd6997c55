#include "ui/SettingsModel.h"

#include "stores/SettingsStore.h"
#include "ui/QmlStores.h"

#include <QJSEngine>

SettingsModel::SettingsModel(SettingsStore &store, QObject *parent)
    : QObject(parent), m_store(store)
{
    connect(&m_store, &SettingsStore::changed, this, &SettingsModel::changed);
}

SettingsModel *SettingsModel::create(QQmlEngine *, QJSEngine *)
{
    // One per engine: each window's engine owns its own.
    return new SettingsModel(QmlStores::instance<SettingsStore>());
}

const Settings &SettingsModel::current() const
{
    return m_store.current();
}

template <class Edit> void SettingsModel::edit(Edit change)
{
    Settings next = current();
    change(next);
    if (next != current())
        m_store.save(next);
}

bool SettingsModel::cleanupEnabled() const
{
    return current().cleanupEnabled;
}

void SettingsModel::setCleanupEnabled(bool on)
{
    edit([on](Settings &s) { s.cleanupEnabled = on; });
}

bool SettingsModel::pasteAutomatically() const
{
    return current().pasteAutomatically;
}

void SettingsModel::setPasteAutomatically(bool on)
{
    edit([on](Settings &s) { s.pasteAutomatically = on; });
}

QString SettingsModel::theme() const
{
    return appThemeName(current().theme);
}

void SettingsModel::setTheme(const QString &name)
{
    const std::optional<AppTheme> theme = appThemeFromName(name);
    if (!theme)
        return;
    edit([theme](Settings &s) { s.theme = *theme; });
}

QString SettingsModel::micUID() const
{
    return current().micUID;
}

void SettingsModel::setMicUID(const QString &uid)
{
    edit([&uid](Settings &s) { s.micUID = uid; });
}

bool SettingsModel::includeComputerAudio() const
{
    return current().includeComputerAudio;
}

void SettingsModel::setIncludeComputerAudio(bool on)
{
    edit([on](Settings &s) { s.includeComputerAudio = on; });
}

bool SettingsModel::warmMicrophone() const
{
    return current().warmMicrophone;
}

void SettingsModel::setWarmMicrophone(bool on)
{
    edit([on](Settings &s) { s.warmMicrophone = on; });
}

bool SettingsModel::restoreClipboard() const
{
    return current().restoreClipboard;
}

void SettingsModel::setRestoreClipboard(bool on)
{
    edit([on](Settings &s) { s.restoreClipboard = on; });
}

QJsonObject SettingsModel::pushToTalkKey() const
{
    return current().pushToTalkKey.encode();
}

void SettingsModel::setPushToTalkKey(const QJsonObject &shortcut)
{
    setShortcut(&Settings::pushToTalkKey, shortcut);
}

QJsonObject SettingsModel::askKey() const
{
    return current().askKey.encode();
}

void SettingsModel::setAskKey(const QJsonObject &shortcut)
{
    setShortcut(&Settings::askKey, shortcut);
}

QJsonObject SettingsModel::screenKey() const
{
    return current().screenKey.encode();
}

void SettingsModel::setScreenKey(const QJsonObject &shortcut)
{
    setShortcut(&Settings::screenKey, shortcut);
}

void SettingsModel::setShortcut(Shortcut Settings::*field, const QJsonObject &object)
{
    const std::optional<Shortcut> shortcut = Shortcut::decode(object);
    if (!shortcut)
        return;
    edit([&](Settings &s) { s.*field = *shortcut; });
}
