#include "app/LaunchTarget.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>

LaunchTarget::LaunchTarget(QString desktopFileName, QString binaryPath, QString launcher)
    : m_desktopFileName(std::move(desktopFileName)), m_binaryPath(std::move(binaryPath)),
      m_launcher(std::move(launcher))
{}

LaunchTarget LaunchTarget::current()
{
    static const QString launcher = [] {
        const QString value = qEnvironmentVariable(launcherVariable.toLatin1().constData());
        qunsetenv(launcherVariable.toLatin1().constData());
        return value;
    }();
    return LaunchTarget(QGuiApplication::desktopFileName(), QCoreApplication::applicationFilePath(),
                        launcher);
}

bool LaunchTarget::isInstalled() const
{
    // <prefix>/bin/ovrin with <prefix>/share/applications/com.ovrin.app.desktop
    const QFileInfo binary(m_binaryPath);
    if (binary.dir().dirName() != u"bin")
        return false;
    QDir prefix = binary.dir();
    if (!prefix.cdUp())
        return false;
    return QFileInfo::exists(
        prefix.filePath(QStringLiteral("share/applications/%1.desktop").arg(desktopEntryId)));
}

bool LaunchTarget::isProper() const
{
    if (m_desktopFileName != desktopEntryId)
        return false;
    return isInstalled() || m_launcher == u"run.sh";
}
