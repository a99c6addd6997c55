#include "platform/linux/XFixesClipboardWatcher.h"

#include <QDeadlineTimer>

#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>
#include <poll.h>

XFixesClipboardWatcher::XFixesClipboardWatcher() : m_display(XOpenDisplay(nullptr))
{
    int error = 0;
    if (!m_display || !XFixesQueryExtension(m_display, &m_eventBase, &error)) {
        if (m_display)
            XCloseDisplay(m_display);
        m_display = nullptr;
        return;
    }
    XFixesSelectSelectionInput(m_display, DefaultRootWindow(m_display),
                               XInternAtom(m_display, "CLIPBOARD", False),
                               XFixesSetSelectionOwnerNotifyMask);
    XSync(m_display, False);
}

XFixesClipboardWatcher::~XFixesClipboardWatcher()
{
    if (m_display)
        XCloseDisplay(m_display);
}

void XFixesClipboardWatcher::drain()
{
    while (m_display && XPending(m_display)) {
        XEvent event;
        XNextEvent(m_display, &event);
        if (event.type == m_eventBase + XFixesSelectionNotify)
            ++m_count;
    }
}

std::uint64_t XFixesClipboardWatcher::changeCount()
{
    drain();
    return m_count;
}

bool XFixesClipboardWatcher::waitForChange(std::uint64_t since, int milliseconds)
{
    if (!m_display)
        return false;
    // Waits on this connection only: the application's event loop is not run here.
    const QDeadlineTimer deadline(milliseconds);
    XFlush(m_display);
    while (changeCount() == since) {
        const qint64 left = deadline.remainingTime();
        if (left <= 0)
            return false;
        pollfd fd{ConnectionNumber(m_display), POLLIN, 0};
        poll(&fd, 1, int(left));
    }
    return true;
}
