#include "support/XTestKeyboard.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

XTestKeyboard::XTestKeyboard() : m_display(XOpenDisplay(nullptr)) {}

XTestKeyboard::~XTestKeyboard()
{
    if (m_display)
        XCloseDisplay(m_display);
}

void XTestKeyboard::send(const QByteArray &keysym, bool down)
{
    if (!m_display)
        return;
    const KeyCode code = XKeysymToKeycode(m_display, XStringToKeysym(keysym.constData()));
    if (code == 0)
        qFatal("the test X server has no key for %s", keysym.constData());
    XTestFakeKeyEvent(m_display, code, down ? True : False, CurrentTime);
    XSync(m_display, False);
}

void XTestKeyboard::press(const QByteArray &keysym)
{
    send(keysym, true);
}

void XTestKeyboard::release(const QByteArray &keysym)
{
    send(keysym, false);
}

void XTestKeyboard::tap(const QByteArray &keysym)
{
    press(keysym);
    release(keysym);
}
