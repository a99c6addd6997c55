#include "app/AppDelegate.h"
#include "app/CommandLineTool.h"
#include "app/DesktopPlatform.h"
#include "app/InstanceChannel.h"
#include "audio/AudioDevices.h"
#include "audio/MeetingRecorder.h"
#include "backend/Backend.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "hotkeys/ShortcutRecorder.h"
#include "platform/linux/PortalColorScheme.h"
#include "platform/linux/PulseSoundServer.h"
#include "platform/linux/PulseSystemAudioSource.h"
#include "platform/linux/TerminalPrompt.h"
#include "platform/linux/UnixSignalWatcher.h"
#include "platform/linux/X11KeyboardMap.h"
#include "stores/AuthStore.h"
#include "ui/ThemeStore.h"

#include <QApplication>
#include <QCoro/QCoroTask>
#include <QQuickWindow>
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

    // Our windows are flat panels and lists: the software scene graph draws them as well and
    // saves about 100 MB and half a second at start over GL (llvmpipe without a GPU). A
    // renderer asked for in the environment still wins.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") &&
        qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);

    DesktopPlatform::chooseQtPlatform();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Ovrin"));
    QApplication::setOrganizationName(QStringLiteral("Ovrin"));
    QApplication::setApplicationVersion(QStringLiteral(OVRIN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.ovrin.app"));
    // A tray application: closing its last window must not end it.
    QApplication::setQuitOnLastWindowClosed(false);

    // One Ovrin per user: a later launch (a sign-in link, a toggle command from a desktop
    // shortcut) hands its arguments to the running one and ends.
    InstanceChannel channel;
    if (channel.forward(arguments))
        return 0;
    if (!channel.listen()) {
        // One is running but was busy: give it longer before starting a second one.
        if (channel.forward(arguments, 8000))
            return 0;
        std::fprintf(stderr, "Ovrin: another Ovrin holds the instance socket but does not "
                             "answer; starting anyway.\n");
    }

    UnixSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &UnixSignalWatcher::terminationRequested, &app,
                     &QApplication::quit);

    X11KeyboardMap keyboardMap;
    ShortcutRecorder::setDefaultKeyboardMap(&keyboardMap);
    PulseSoundServer soundServer;
    AudioDevices::setSoundServer(&soundServer);
    PulseSystemAudioSource computerAudio;
    MeetingRecorder::shared().setSystemAudioSource(&computerAudio);
    // The desktop's light or dark is known before the window first paints.
    PortalColorScheme colorScheme;
    ThemeStore::shared().setColorSchemeSource(&colorScheme);

    SystemClock clock;
    QtScheduler scheduler;
    DesktopPlatform platform(clock, scheduler);
    AppDelegate delegate(platform.services(), clock, scheduler);
    QObject::connect(&delegate, &AppDelegate::quitRequested, &app, &QApplication::quit);
    QObject::connect(&channel, &InstanceChannel::argumentsReceived, &delegate,
                     &AppDelegate::handleArguments);
    delegate.launch();
    platform.prepare();
    // This launch's own request (a sign-in link, a toggle) once everything is up.
    if (arguments.size() > 1)
        delegate.handleArguments(arguments);

    const int status = app.exec();
    ShortcutRecorder::setDefaultKeyboardMap(nullptr);
    AudioDevices::setSoundServer(nullptr);
    MeetingRecorder::shared().setSystemAudioSource(nullptr);
    return status;
}
