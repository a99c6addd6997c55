#include "app/AppDelegate.h"
#include "app/CommandLineTool.h"
#include "backend/Backend.h"
#include "platform/linux/SyslogSystemLog.h"
#include "platform/linux/TerminalPrompt.h"
#include "platform/linux/UnixSignalWatcher.h"
#include "platform/linux/X11PermissionProbe.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "stores/AuthStore.h"

#include <QApplication>
#include <QCoro/QCoroTask>
#include <QTextStream>

#include <cstdio>

namespace {

// The command-line tools run without a display or a session bus.
int runCommand(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Ovrin"));
    QCoreApplication::setOrganizationName(QStringLiteral("Ovrin"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    CommandLineTool tool(Backend::shared(), AuthStore::shared(), out, err);
    tool.setPasswordReader(&TerminalPrompt::readSecret);
    return QCoro::waitFor(tool.run(QCoreApplication::arguments()));
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (CommandLineTool::isCommand(arguments))
        return runCommand(argc, argv);

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Ovrin"));
    QApplication::setOrganizationName(QStringLiteral("Ovrin"));
    QApplication::setDesktopFileName(QStringLiteral("com.ovrin.app"));
    // A tray application: closing its last window must not end it.
    QApplication::setQuitOnLastWindowClosed(false);

    UnixSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &UnixSignalWatcher::terminationRequested, &app,
                     &QApplication::quit);

    X11PermissionProbe permissions;
    XdgAutostartLoginItem loginItem;
    SyslogSystemLog systemLog;
    AppDelegate delegate(PlatformServices{permissions, loginItem, systemLog});
    QObject::connect(&delegate, &AppDelegate::quitRequested, &app, &QApplication::quit);
    delegate.applicationDidFinishLaunching();

    return app.exec();
}
