#include "platform/linux/XFixesClipboardWatcher.h"

#include <QDeadlineTimer>

#include <X11/Xatom.h>
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
    m_clipboard = XInternAtom(m_display, "CLIPBOARD", False);
    m_property = XInternAtom(m_display, "OVRIN_CLIPBOARD", False);
    m_requestor = XCreateSimpleWindow(m_display, DefaultRootWindow(m_display), 0, 0, 1, 1, 0, 0, 0);
    XSelectInput(m_display, m_requestor, PropertyChangeMask);
    XFixesSelectSelectionInput(m_display, DefaultRootWindow(m_display), m_clipboard,
                               XFixesSetSelectionOwnerNotifyMask);
    XSync(m_display, False);
}

XFixesClipboardWatcher::~XFixesClipboardWatcher()
{
    if (m_display)
        XCloseDisplay(m_display);
}

void XFixesClipboardWatcher::drain(const EventHandler &other)
{
    while (m_display && XPending(m_display)) {
        XEvent event;
        XNextEvent(m_display, &event);
        if (event.type == m_eventBase + XFixesSelectionNotify) {
            ++m_count;
            m_claimTime =
                reinterpret_cast<const XFixesSelectionNotifyEvent &>(event).selection_timestamp;
        } else if (other) {
            other(event);
        }
    }
}

std::uint64_t XFixesClipboardWatcher::changeCount()
{
    if (!m_display)
        return m_count;
    // A round trip: every notice the server sent before now is in, our own claims included.
    XSync(m_display, False);
    drain();
    return m_count;
}

bool XFixesClipboardWatcher::waitUntil(const std::function<bool()> &done,
                                       const QDeadlineTimer &deadline, const EventHandler &other)
{
    XFlush(m_display);
    for (;;) {
        drain(other);
        if (done())
            return true;
        const qint64 left = deadline.remainingTime();
        if (left == 0)
            return false;
        pollfd fd{ConnectionNumber(m_display), POLLIN, 0};
        poll(&fd, 1, int(left));
    }
}

bool XFixesClipboardWatcher::waitForChange(std::uint64_t since, int milliseconds)
{
    if (!m_display)
        return false;
    const QDeadlineTimer deadline(milliseconds);
    changeCount();
    return waitUntil([this, since] { return m_count != since; }, deadline);
}

std::optional<QString> XFixesClipboardWatcher::text(int milliseconds)
{
    if (!m_display)
        return std::nullopt;
    const QDeadlineTimer deadline(milliseconds);
    changeCount(); // the claim time of the owner that holds the clipboard now
    if (const auto utf8 = convert(XInternAtom(m_display, "UTF8_STRING", False), deadline))
        return QString::fromUtf8(*utf8);
    if (deadline.hasExpired())
        return std::nullopt;
    if (const auto latin1 = convert(XA_STRING, deadline))
        return QString::fromLatin1(*latin1);
    return std::nullopt;
}

QString XFixesClipboardWatcher::atomName(unsigned long atom)
{
    char *name = XGetAtomName(m_display, atom);
    const QString result = name ? QString::fromLatin1(name) : QString();
    if (name)
        XFree(name);
    return result;
}

std::optional<ClipboardContents> XFixesClipboardWatcher::contents(int milliseconds,
                                                                  qsizetype maxBytes)
{
    if (!m_display)
        return std::nullopt;
    const QDeadlineTimer deadline(milliseconds);
    changeCount();
    if (XGetSelectionOwner(m_display, m_clipboard) == None)
        return ClipboardContents(); // an empty clipboard
    const std::optional<QByteArray> list =
        convert(XInternAtom(m_display, "TARGETS", False), deadline);
    if (!list || m_lastFormat != 32)
        return std::nullopt;
    QList<Atom> targets;
    for (qsizetype at = 0; at + qsizetype(sizeof(long)) <= list->size(); at += sizeof(long))
        targets << *reinterpret_cast<const long *>(list->constData() + at);
    // What the selection protocol itself answers, and the older names of the text, which
    // come back by themselves when the text is set again.
    static const QStringList protocol{"TARGETS",         "TIMESTAMP",  "MULTIPLE",
                                      "SAVE_TARGETS",    "DELETE",     "INSERT_SELECTION",
                                      "INSERT_PROPERTY", "TEXT",       "STRING",
                                      "COMPOUND_TEXT",   "text/plain", "text/plain;charset=utf-8"};
    ClipboardContents out;
    qsizetype total = 0;
    for (const Atom target : targets) {
        const QString name = atomName(target);
        if (name.isEmpty() || protocol.contains(name))
            continue;
        const std::optional<QByteArray> bytes = convert(target, deadline);
        if (!bytes)
            return std::nullopt;
        if (m_lastFormat != 8)
            continue; // lists of atoms or numbers describe the owner, not the content
        total += bytes->size();
        if (total > maxBytes)
            return std::nullopt;
        out.append({name, *bytes});
    }
    return out;
}

std::optional<QByteArray> XFixesClipboardWatcher::convert(unsigned long target,
                                                          const QDeadlineTimer &deadline)
{
    XDeleteProperty(m_display, m_requestor, m_property);
    XConvertSelection(m_display, m_clipboard, target, m_property, m_requestor, m_claimTime);
    std::optional<Atom> property;
    const bool answered = waitUntil([&property] { return property.has_value(); }, deadline,
                                    [this, &property](const XEvent &event) {
                                        if (event.type == SelectionNotify &&
                                            event.xselection.requestor == m_requestor)
                                            property = event.xselection.property;
                                    });
    if (!answered || *property == None)
        return std::nullopt;

    bool incremental = false;
    std::optional<QByteArray> bytes = readProperty(incremental);
    if (!incremental)
        return bytes;
    // Large texts come in pieces: each new value of the property is the next one, an empty
    // one ends the transfer. Deleting the property asks for the next.
    QByteArray whole;
    for (;;) {
        bool newValue = false;
        const bool arrived =
            waitUntil([&newValue] { return newValue; }, deadline,
                      [this, &newValue](const XEvent &event) {
                          newValue = newValue || (event.type == PropertyNotify &&
                                                  event.xproperty.window == m_requestor &&
                                                  event.xproperty.atom == m_property &&
                                                  event.xproperty.state == PropertyNewValue);
                      });
        if (!arrived)
            return std::nullopt;
        const std::optional<QByteArray> piece = readProperty(incremental);
        if (!piece)
            return std::nullopt;
        if (piece->isEmpty())
            return whole;
        whole += *piece;
    }
}

std::optional<QByteArray> XFixesClipboardWatcher::readProperty(bool &incremental)
{
    Atom type = None;
    int format = 0;
    unsigned long items = 0, after = 0;
    unsigned char *data = nullptr;
    if (XGetWindowProperty(m_display, m_requestor, m_property, 0, 0x1fffffff, True, AnyPropertyType,
                           &type, &format, &items, &after, &data) != Success) {
        return std::nullopt;
    }
    incremental = type == XInternAtom(m_display, "INCR", False);
    if (!incremental)
        m_lastFormat = format;
    std::optional<QByteArray> bytes;
    if (type != None && !incremental && format == 8)
        bytes = QByteArray(reinterpret_cast<const char *>(data), qsizetype(items));
    else if (type != None && !incremental && format == 32) // Xlib hands these as longs
        bytes = QByteArray(reinterpret_cast<const char *>(data), qsizetype(items * sizeof(long)));
    else if (incremental)
        bytes = QByteArray();
    if (data)
        XFree(data);
    XFlush(m_display); // the deletion tells an incremental sender to go on
    return bytes;
}
