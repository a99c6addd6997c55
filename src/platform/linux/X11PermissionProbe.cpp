#include "platform/linux/X11PermissionProbe.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>

namespace {

QDBusMessage busAddressCall()
{
    return QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
}

bool isBusAddress(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty() &&
           !reply.arguments().constFirst().toString().isEmpty();
}

} // namespace

// The display's extensions do not change while it lives, so they are read once per
// connection; a missing display is retried on every check.
struct X11PermissionProbe::X11Connection
{
    Display *display = nullptr;
    DisplayFacts facts;
    ~X11Connection()
    {
        if (display)
            XCloseDisplay(display);
    }
};

X11PermissionProbe::X11PermissionProbe(QObject *parent) : QObject(parent)
{
    // The first answer is needed at launch, so this one call waits (briefly); later
    // checks run in the background and report on the next poll.
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected())
        m_atspiBusReachable = isBusAddress(bus.call(busAddressCall(), QDBus::Block, 500));
}

X11PermissionProbe::~X11PermissionProbe() = default;

MicrophoneAuthorization X11PermissionProbe::microphoneAuthorization()
{
    return MicrophoneAuthorization::authorized;
}

bool X11PermissionProbe::accessibilityTrusted()
{
    checkAccessibilityBus();
    const DisplayFacts facts = displayFacts();
    return facts.display && facts.xinput22 && facts.xtest && m_atspiBusReachable;
}

bool X11PermissionProbe::screenRecordingTrusted()
{
    return displayFacts().display;
}

X11PermissionProbe::DisplayFacts X11PermissionProbe::displayFacts()
{
    if (m_x11)
        return m_x11->facts;
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return {};
    m_x11 = std::make_unique<X11Connection>();
    m_x11->display = display;
    m_x11->facts.display = true;

    int opcode = 0, event = 0, error = 0;
    if (XQueryExtension(display, "XInputExtension", &opcode, &event, &error)) {
        int major = 2, minor = 2;
        m_x11->facts.xinput22 = XIQueryVersion(display, &major, &minor) == Success &&
                                (major > 2 || (major == 2 && minor >= 2));
    }
    int major = 0, minor = 0;
    m_x11->facts.xtest = XTestQueryExtension(display, &event, &error, &major, &minor);
    return m_x11->facts;
}

void X11PermissionProbe::checkAccessibilityBus()
{
    if (m_busCheckRunning)
        return;
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        m_atspiBusReachable = false;
        return;
    }
    m_busCheckRunning = true;
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(busAddressCall(), 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        m_atspiBusReachable = isBusAddress(w->reply());
        m_busCheckRunning = false;
        w->deleteLater();
    });
}
