#include "stores/SettingsStore.h"

#include "core/ProcessWide.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>

SettingsStore &SettingsStore::shared()
{
    return processWide<SettingsStore>([] { return new SettingsStore(defaultFilePath()); });
}

QString SettingsStore::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Ovrin/settings.json");
}

SettingsStore::SettingsStore(QString filePath, QObject *parent)
    : QObject(parent), m_filePath(std::move(filePath))
{
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly))
        return; // not written yet: defaults
    // A settings file of any shape must never stop the application from starting.
    if (const auto settings = Settings::decode(QJsonDocument::fromJson(file.readAll()).object()))
        m_current = *settings;
}

QByteArray SettingsStore::encodeFile(const Settings &settings)
{
    // QJsonObject keeps its keys sorted, so the indented form is also the sorted one.
    return QJsonDocument(settings.encode()).toJson(QJsonDocument::Indented);
}

void SettingsStore::save(const Settings &settings)
{
    m_current = settings;
    QSaveFile file(m_filePath);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(encodeFile(settings));
        file.commit();
    }
    Q_EMIT changed();
}
