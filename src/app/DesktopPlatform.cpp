#include "app/DesktopPlatform.h"

#include "platform/linux/AtspiAccessibilitySwitch.h"
#include "platform/linux/AtspiFocusedTextReader.h"
#include "platform/linux/SyslogSystemLog.h"
#include "platform/linux/X11KeySource.h"
#include "platform/linux/X11KeySynthesizer.h"
#include "platform/linux/X11PermissionProbe.h"
#include "platform/linux/X11WindowSystem.h"
#include "platform/linux/XFixesClipboardWatcher.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "platform/linux/XdgInstalledApps.h"
#include "platform/wayland/WaylandLadder.h"
#include "platform/wayland/WaylandPlatform.h"
#include "stores/SecretServiceKeychain.h"

#include <QCoro/QCoroTask>
#include <QProcessEnvironment>

namespace {

const QString restoreTokenKey = QStringLiteral("com.ovrin.app.remoteDesktopToken");

bool waylandSession()
{
    return WaylandLadder::isWaylandSession(QProcessEnvironment::systemEnvironment());
}

DesktopRungs x11Rungs()
{
    return {
        {QStringLiteral("Hotkeys"), QStringLiteral("XInput 2"), {}, true},
        {QStringLiteral("Paste"), QStringLiteral("XTest"), {}, true},
        {QStringLiteral("Clipboard"), QStringLiteral("X selection"), {}, true},
        {QStringLiteral("Floating panels"), QStringLiteral("X windows"), {}, true},
        {QStringLiteral("Screenshots"), QStringLiteral("X screen grab"), {}, true},
    };
}

} // namespace

struct DesktopPlatform::Parts
{
    explicit Parts(bool wayland) : windowSystem(wayland) {}

    X11PermissionProbe x11Permissions;
    XdgAutostartLoginItem loginItem;
    SyslogSystemLog systemLog;
    AtspiFocusedTextReader focusedText;
    XFixesClipboardWatcher x11Clipboard;
    XdgInstalledApps installedApps;
    AtspiAccessibilitySwitch accessibilitySwitch;
    X11WindowSystem windowSystem;
    // X11 only.
    std::unique_ptr<X11KeySource> x11Keys;
    std::unique_ptr<X11KeySynthesizer> x11Synthesizer;
    // Wayland only.
    SecretServiceKeychain keychain;
    QString restoreToken;
    std::unique_ptr<WaylandPlatform> wayland;
    std::unique_ptr<PermissionProbe> waylandPermissions;
};

void DesktopPlatform::chooseQtPlatform()
{
    // Our panels need X's window types and our pointer the X server's picture; a native
    // Wayland window could not float without focus (no layer-shell for Qt 6 here).
    if (waylandSession() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

DesktopPlatform::DesktopPlatform(const Clock &clock, Scheduler &scheduler)
    : d(std::make_unique<Parts>(waylandSession()))
{
    if (!waylandSession()) {
        d->x11Keys = std::make_unique<X11KeySource>();
        d->x11Synthesizer = std::make_unique<X11KeySynthesizer>();
        return;
    }
    Parts *parts = d.get();
    WaylandPlatform::Options options;
    options.focusedIsTerminal = [parts] { return parts->focusedText.focusedIsTerminal(); };
    options.loadRestoreToken = [parts] { return parts->restoreToken; };
    options.saveRestoreToken = [parts](const QString &token) {
        parts->restoreToken = token;
        [](Keychain &keychain, QString token) -> QCoro::Task<void> {
            const Keychain::Reply reply = co_await keychain.save(restoreTokenKey, token);
            if (!reply.error.isEmpty())
                qWarning("Could not keep the remote-control consent: %s", qPrintable(reply.error));
        }(parts->keychain, token);
    };
    d->wayland = std::make_unique<WaylandPlatform>(clock, scheduler, std::move(options));
    d->waylandPermissions = d->wayland->permissions(d->x11Permissions);
}

DesktopPlatform::~DesktopPlatform() = default;

PlatformServices DesktopPlatform::services()
{
    // XWayland's clipboard where Wayland's own is not written to directly.
    const auto clipboardReaders = [] { return std::make_unique<XFixesClipboardWatcher>(); };
    if (!d->wayland)
        return PlatformServices{.permissions = d->x11Permissions,
                                .loginItem = d->loginItem,
                                .systemLog = d->systemLog,
                                .keySource = *d->x11Keys,
                                .keySynthesizer = *d->x11Synthesizer,
                                .focusedText = d->focusedText,
                                .clipboard = d->x11Clipboard,
                                .installedApps = d->installedApps,
                                .accessibilitySwitch = d->accessibilitySwitch,
                                .windowSystem = &d->windowSystem,
                                .clipboardReaders = clipboardReaders,
                                .desktopName = QStringLiteral("X11"),
                                .desktopRungs = x11Rungs()};
    WaylandPlatform &wayland = *d->wayland;
    return PlatformServices{.permissions = *d->waylandPermissions,
                            .loginItem = d->loginItem,
                            .systemLog = d->systemLog,
                            .keySource = wayland.keySource(),
                            .keySynthesizer = wayland.keySynthesizer(),
                            .focusedText = d->focusedText,
                            .clipboard = wayland.clipboardWatcher() ? *wayland.clipboardWatcher()
                                                                    : d->x11Clipboard,
                            .installedApps = d->installedApps,
                            .accessibilitySwitch = d->accessibilitySwitch,
                            .windowSystem = &d->windowSystem,
                            .clipboardWriter = wayland.clipboardWriter(),
                            .screenGrabber = wayland.screenGrabber(),
                            .clipboardReaders = clipboardReaders,
                            .desktopName = wayland.desktopName(),
                            .desktopRungs = wayland.choice().rungs};
}

void DesktopPlatform::prepare()
{
    if (!d->wayland || d->wayland->choice().paste != WaylandLadder::Paste::remoteDesktop)
        return;
    // The consent kept from an earlier run first, so the desktop does not ask again.
    Parts *parts = d.get();
    [](Parts *parts) -> QCoro::Task<void> {
        const Keychain::Reply reply = co_await parts->keychain.read(restoreTokenKey);
        parts->restoreToken = reply.value;
        parts->wayland->prepare();
    }(parts);
}
