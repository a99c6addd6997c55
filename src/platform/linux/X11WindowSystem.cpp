#include "platform/linux/X11WindowSystem.h"

#include <QByteArray>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>

#include <memory>

namespace {

using DisplayPtr = std::unique_ptr<Display, decltype(&XCloseDisplay)>;

DisplayPtr openDisplay()
{
    return DisplayPtr(XOpenDisplay(nullptr), &XCloseDisplay);
}

// An EWMH request to the window manager about a mapped window.
void sendToWindowManager(Display *display, Window window, const char *message, long first,
                         long second)
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, message, False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = first;
    event.xclient.data.l[1] = second;
    event.xclient.data.l[2] = 0;
    event.xclient.data.l[3] = 1; // from an application
    XSendEvent(display, DefaultRootWindow(display), False,
               SubstructureRedirectMask | SubstructureNotifyMask, &event);
}

} // namespace

bool X11WindowSystem::translucencyAvailable() const
{
    const DisplayPtr display = openDisplay();
    if (!display)
        return false;
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(DefaultScreen(display.get()));
    const Atom selection = XInternAtom(display.get(), name.constData(), False);
    return XGetSelectionOwner(display.get(), selection) != None;
}

void X11WindowSystem::showOnEveryWorkspace(quintptr window) const
{
    const DisplayPtr display = openDisplay();
    if (!display || !window)
        return;
    constexpr long allDesktops = 0xFFFFFFFF;
    // The property for a window manager that maps it later, the messages for one that has.
    const unsigned long desktop = allDesktops;
    XChangeProperty(display.get(), Window(window),
                    XInternAtom(display.get(), "_NET_WM_DESKTOP", False), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char *>(&desktop), 1);
    sendToWindowManager(display.get(), Window(window), "_NET_WM_DESKTOP", allDesktops, 0);
    constexpr long add = 1;
    sendToWindowManager(display.get(), Window(window), "_NET_WM_STATE", add,
                        long(XInternAtom(display.get(), "_NET_WM_STATE_STICKY", False)));
    XSync(display.get(), False);
}

void X11WindowSystem::markAsNotification(quintptr window) const
{
    const DisplayPtr display = openDisplay();
    if (!display || !window)
        return;
    const Atom type = XInternAtom(display.get(), "_NET_WM_WINDOW_TYPE_NOTIFICATION", False);
    XChangeProperty(display.get(), Window(window),
                    XInternAtom(display.get(), "_NET_WM_WINDOW_TYPE", False), XA_ATOM, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char *>(&type), 1);
    XSync(display.get(), False);
}

std::optional<WindowSystem::Pointer> X11WindowSystem::pointer() const
{
    const DisplayPtr display = openDisplay();
    int event = 0, error = 0;
    if (!display || !XFixesQueryExtension(display.get(), &event, &error))
        return std::nullopt;
    XFixesCursorImage *image = XFixesGetCursorImage(display.get());
    if (!image)
        return std::nullopt;
    Pointer pointer;
    pointer.size = QSize(image->width, image->height);
    pointer.topLeft = QPoint(image->x - image->xhot, image->y - image->yhot);
    // One pixel in each unsigned long, whatever its width.
    const qsizetype count = qsizetype(image->width) * image->height;
    pointer.pixels.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        pointer.pixels.append(quint32(image->pixels[i]));
    XFree(image);
    if (pointer.size.isEmpty())
        return std::nullopt;
    return pointer;
}
