#pragma once

#include "stores/Settings.h"

#include <QObject>

// The settings in force, loaded once from settings.json and written back whole on
// every save. Loading never writes; a broken file gives defaults.
class SettingsStore : public QObject
{
    Q_OBJECT
public:
    // $XDG_CONFIG_HOME/Ovrin/settings.json
    static SettingsStore &shared();
    static QString defaultFilePath();
    explicit SettingsStore(QString filePath, QObject *parent = nullptr);

    const Settings &current() const { return m_current; }
    const QString &fileURL() const { return m_filePath; }
    // Makes `settings` current and replaces the file. A failed write is not reported: the
    // new settings stay in force for this run.
    void save(const Settings &settings);

    // Pretty-printed with keys sorted, as the file holds it.
    static QByteArray encodeFile(const Settings &settings);

Q_SIGNALS:
    // After every save, whether or not the write succeeded.
    void changed();

private:
    QString m_filePath;
    Settings m_current;
};
