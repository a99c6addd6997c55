#include "platform/linux/X11CompositorProbe.h"

#include <QByteArray>

#include <X11/Xlib.h>

bool X11CompositorProbe::translucencyAvailable() const
{
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return false;
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(DefaultScreen(display));
    const Atom selection = XInternAtom(display, name.constData(), False);
    const bool owned = XGetSelectionOwner(display, selection) != None;
    XCloseDisplay(display);
    return owned;
}
