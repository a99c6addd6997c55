#include "platform/wayland/WaylandPlatform.h"

#include "platform/evdev/EvdevKeySource.h"
#include "platform/evdev/UinputKeyboard.h"
#include "platform/wayland/ClipboardOnlyKeys.h"
#include "platform/wayland/CommandOnlyKeySource.h"
#include "platform/wayland/GrimScreenGrabber.h"
#include "platform/wayland/KGlobalAccelKeySource.h"
#include "platform/wayland/PortalGlobalShortcutsKeySource.h"
#include "platform/wayland/PortalScreenGrabber.h"
#include "platform/wayland/RemoteDesktopKeySynthesizer.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandPermissionProbe.h"
#include "platform/wayland/WlClipboard.h"
#include "platform/wayland/WlrVirtualKeyboard.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

WaylandPlatform::WaylandPlatform(const Clock &clock, Scheduler &scheduler, Options options,
                                 double probeSeconds, QObject *parent)
    : QObject(parent), m_options(std::move(options))
{
    m_connection = std::make_unique<WaylandConnection>(
        m_options.environment.value(QStringLiteral("WAYLAND_DISPLAY")));
    gather(scheduler, probeSeconds);
    m_choice = WaylandLadder::choose(m_facts);
    build(clock, scheduler);
}

WaylandPlatform::~WaylandPlatform() = default;

QString WaylandPlatform::desktopName() const
{
    const QString desktop = m_options.environment.value(QStringLiteral("XDG_CURRENT_DESKTOP"));
    return desktop.isEmpty() ? QStringLiteral("Wayland")
                             : QStringLiteral("Wayland (%1)").arg(desktop.section(u':', 0, 0));
}

void WaylandPlatform::gather(Scheduler &scheduler, double probeSeconds)
{
    m_facts.desktop = WaylandLadder::desktopOf(m_options.environment);
    for (auto it = m_connection->globals().cbegin(); it != m_connection->globals().cend(); ++it)
        m_facts.protocols.insert(it.key());
    m_facts.wlClipboardTools = WlClipboard::toolsInstalled();
    m_facts.grim = GrimScreenGrabber::installed();

    // The kernel rungs come first in the ladder; a device that opens is kept for use.
    auto uinput = UinputKeyboard::create(m_options.focusedIsTerminal, m_options.uinputPath);
    if (uinput.keyboard) {
        m_facts.uinputWritable = true;
        m_keySynthesizer = std::move(uinput.keyboard);
    }
    auto evdev = std::make_unique<EvdevKeySource>(FnKey::shared().key(), m_options.deviceDirectory);
    if (evdev->start([](const KeyEventSource::Event &) { return false; })) {
        evdev->stop();
        m_facts.evdevReadable = true;
        m_keySource = std::move(evdev);
    }

    // The desktop's services answer over D-Bus, each within its own bound.
    int pending = 4;
    QEventLoop loop;
    const auto answer = [&pending, &loop](bool &fact) {
        return [&pending, &loop, &fact](bool offered) {
            fact = offered;
            if (--pending == 0)
                loop.quit();
        };
    };
    QObject context;
    KGlobalAccelKeySource::offered(m_options.bus, scheduler, &context,
                                   answer(m_facts.kglobalaccel));
    PortalGlobalShortcutsKeySource::offered(m_options.bus, scheduler, &context,
                                            answer(m_facts.portalGlobalShortcuts));
    RemoteDesktopKeySynthesizer::offered(m_options.bus, scheduler, &context,
                                         answer(m_facts.portalRemoteDesktop));
    PortalScreenGrabber::offered(m_options.bus, scheduler, &context,
                                 answer(m_facts.portalScreenshot));
    if (pending > 0) {
        QTimer::singleShot(int(probeSeconds * 1000), &loop, &QEventLoop::quit);
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
}

void WaylandPlatform::build(const Clock &clock, Scheduler &scheduler)
{
    using L = WaylandLadder;
    switch (m_choice.hotkeys) {
    case L::Hotkeys::evdev:
        break; // kept while gathering
    case L::Hotkeys::kglobalaccel:
        m_keySource = std::make_unique<KGlobalAccelKeySource>(m_options.bus, scheduler);
        break;
    case L::Hotkeys::portal:
        m_keySource = std::make_unique<PortalGlobalShortcutsKeySource>(m_options.bus, scheduler);
        break;
    case L::Hotkeys::commandOnly:
        m_keySource = std::make_unique<CommandOnlyKeySource>();
        break;
    }

    switch (m_choice.paste) {
    case L::Paste::uinput:
        break; // kept while gathering
    case L::Paste::virtualKeyboard: {
        auto keyboard =
            std::make_unique<WlrVirtualKeyboard>(*m_connection, clock, m_options.focusedIsTerminal);
        if (keyboard->isReady()) {
            m_keySynthesizer = std::move(keyboard);
            break;
        }
        m_choice.paste = L::Paste::clipboardOnly;
        m_choice.rungs[1] = DesktopRung{
            QStringLiteral("Paste"), QStringLiteral("Copied only — press Ctrl+V"),
            QStringLiteral("The compositor refused a virtual keyboard: ") + keyboard->problem(),
            false};
        m_keySynthesizer = std::make_unique<ClipboardOnlyKeys>();
        break;
    }
    case L::Paste::remoteDesktop: {
        auto remote = std::make_unique<RemoteDesktopKeySynthesizer>(
            m_options.bus, scheduler, m_options.loadRestoreToken, m_options.saveRestoreToken,
            m_options.focusedIsTerminal);
        RemoteDesktopKeySynthesizer *raw = remote.get();
        m_prepare = [raw] { raw->prepare(); };
        m_keySynthesizer = std::move(remote);
        break;
    }
    case L::Paste::clipboardOnly:
        m_keySynthesizer = std::make_unique<ClipboardOnlyKeys>();
        break;
    }

    if (m_choice.clipboard == L::Clipboard::dataControl) {
        m_clipboard = std::make_unique<WlClipboard>();
        m_clipboardWatcher = m_clipboard.get();
        m_clipboardWriter = m_clipboard.get();
    }

    switch (m_choice.screenshots) {
    case L::Screenshots::screencopy:
        m_screenGrabber = std::make_unique<GrimScreenGrabber>();
        break;
    case L::Screenshots::portal:
        m_screenGrabber = std::make_unique<PortalScreenGrabber>(m_options.bus, scheduler);
        break;
    case L::Screenshots::none:
        break;
    }
}

std::unique_ptr<PermissionProbe> WaylandPlatform::permissions(PermissionProbe &base) const
{
    return std::make_unique<WaylandPermissionProbe>(
        base, m_choice.hotkeys != WaylandLadder::Hotkeys::commandOnly, m_screenGrabber != nullptr);
}

void WaylandPlatform::prepare()
{
    if (m_prepare)
        m_prepare();
}
