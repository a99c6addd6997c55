#include "platform/linux/X11KeySynthesizer.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

X11KeySynthesizer::X11KeySynthesizer() : m_display(XOpenDisplay(nullptr)) {}

X11KeySynthesizer::~X11KeySynthesizer()
{
    if (m_display)
        XCloseDisplay(m_display);
}

const QStringList &X11KeySynthesizer::terminalClasses()
{
    static const QStringList classes{"xterm",
                                     "gnome-terminal",
                                     "gnome-terminal-server",
                                     "konsole",
                                     "kitty",
                                     "alacritty",
                                     "wezterm",
                                     "org.wezfurlong.wezterm",
                                     "foot",
                                     "tilix",
                                     "xfce4-terminal",
                                     "terminator",
                                     "urxvt",
                                     "rxvt",
                                     "st",
                                     "st-256color"};
    return classes;
}

QString X11KeySynthesizer::focusedWindowClass() const
{
    if (!m_display)
        return {};
    Window window = 0;
    int revert = 0;
    XGetInputFocus(m_display, &window, &revert);
    // The focus is often a child of the client window; WM_CLASS sits on the client.
    for (int depth = 0; window > PointerRoot && depth < 8; ++depth) {
        XClassHint hint{};
        if (XGetClassHint(m_display, window, &hint)) {
            const QString name = QString::fromLatin1(hint.res_class).toLower();
            const QString instance = QString::fromLatin1(hint.res_name).toLower();
            XFree(hint.res_name);
            XFree(hint.res_class);
            return terminalClasses().contains(instance) ? instance : name;
        }
        Window root = 0, parent = 0, *children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(m_display, window, &root, &parent, &children, &count))
            break;
        if (children)
            XFree(children);
        if (parent == root)
            break;
        window = parent;
    }
    return {};
}

bool X11KeySynthesizer::userModifiersHeld() const
{
    if (!m_display)
        return false;
    char keys[32];
    XQueryKeymap(m_display, keys);
    for (KeySym keysym : {XK_Shift_L, XK_Shift_R, XK_Control_L, XK_Control_R, XK_Alt_L, XK_Alt_R,
                          XK_Super_L, XK_Super_R, XK_ISO_Level3_Shift}) {
        const KeyCode code = XKeysymToKeycode(m_display, keysym);
        if (code && (keys[code / 8] & (1 << (code % 8))))
            return true;
    }
    return false;
}

void X11KeySynthesizer::send(Command command)
{
    if (!m_display)
        return;
    const bool terminal = terminalClasses().contains(focusedWindowClass());
    const KeyCode key = XKeysymToKeycode(m_display, command == Command::paste ? XK_v : XK_c);
    // A modifier the user already holds (the Ask chord is down while its selection is copied)
    // is left alone: releasing it would release the user's key too and end the hold.
    XkbStateRec state{};
    XkbGetState(m_display, XkbUseCoreKbd, &state);
    const bool controlHeld = state.mods & ControlMask;
    const bool shiftHeld = state.mods & ShiftMask;
    const KeyCode control = controlHeld ? 0 : XKeysymToKeycode(m_display, XK_Control_L);
    const KeyCode shift = terminal && !shiftHeld ? XKeysymToKeycode(m_display, XK_Shift_L) : 0;
    if (!key || (!control && !controlHeld))
        return;
    for (KeyCode modifier : {control, shift}) {
        if (modifier)
            XTestFakeKeyEvent(m_display, modifier, True, CurrentTime);
    }
    XTestFakeKeyEvent(m_display, key, True, CurrentTime);
    XTestFakeKeyEvent(m_display, key, False, CurrentTime);
    for (KeyCode modifier : {shift, control}) {
        if (modifier)
            XTestFakeKeyEvent(m_display, modifier, False, CurrentTime);
    }
    XFlush(m_display);
}
