#include "ui/MainWindowState.h"

#include "core/ProcessWide.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJSEngine>

MainWindowState &MainWindowState::shared()
{
    return processWide<MainWindowState>([] { return new MainWindowState; });
}

MainWindowState *MainWindowState::create(QQmlEngine *, QJSEngine *)
{
    MainWindowState *state = &shared();
    QJSEngine::setObjectOwnership(state, QJSEngine::CppOwnership);
    return state;
}

void MainWindowState::setTrayMissing(bool missing)
{
    if (m_trayMissing == missing)
        return;
    m_trayMissing = missing;
    Q_EMIT trayMissingChanged();
}

void MainWindowState::setSignInError(const QString &error)
{
    if (m_signInError == error)
        return;
    m_signInError = error;
    Q_EMIT signInErrorChanged();
}

void MainWindowState::setHelpTopic(const QString &topic)
{
    if (m_helpTopic == topic)
        return;
    m_helpTopic = topic;
    Q_EMIT helpTopicChanged();
}

void MainWindowState::setUpdateInfo(const QString &info)
{
    if (m_updateInfo == info)
        return;
    m_updateInfo = info;
    Q_EMIT updateInfoChanged();
}

QString MainWindowState::backendCommand() const
{
    return backendCommandIn(QCoreApplication::applicationDirPath());
}

QString MainWindowState::backendCommandIn(const QString &directory)
{
    const QFileInfo server(QDir(directory).filePath(QStringLiteral("ovrin-server")));
    if (server.isExecutable() && !server.absolutePath().startsWith(QLatin1String("/usr/")))
        return QStringLiteral("cd %1 && ./ovrin-server").arg(server.absolutePath());
    return QStringLiteral("ovrin-server");
}
