#include "app/AppDelegate.h"
#include "platform/linux/SyslogSystemLog.h"
#include "platform/linux/UnixSignalWatcher.h"
#include "platform/linux/X11PermissionProbe.h"
#include "platform/linux/XdgAutostartLoginItem.h"

#include <QApplication>

int main(int argc, char *argv[])
{
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
