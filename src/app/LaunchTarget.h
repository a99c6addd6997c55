#pragma once

#include <QProcessEnvironment>
#include <QString>

// Whether this process is the Ovrin a user should run: the installed one (its desktop entry
// beside the binary's prefix) or the one ./run.sh built and started. A bare binary started
// some other way is not what the desktop's accessibility and sign-in links point at.
class LaunchTarget
{
public:
    static inline const QString desktopEntryId = QStringLiteral("com.ovrin.app");
    // Set by ./run.sh for the process it starts.
    static inline const QString launcherVariable = QStringLiteral("OVRIN_LAUNCHER");

    LaunchTarget(QString desktopFileName, QString binaryPath, QString launcher);
    // This process; reads the launcher variable once and removes it from the environment,
    // so that applications Ovrin opens do not inherit it.
    static LaunchTarget current();

    const QString &identifier() const { return m_desktopFileName; }
    const QString &path() const { return m_binaryPath; }
    // False also without an identifier.
    bool isProper() const;
    // Installed under a prefix that holds its desktop entry (updates come from packages).
    bool isInstalled() const;

private:
    QString m_desktopFileName;
    QString m_binaryPath;
    QString m_launcher;
};
