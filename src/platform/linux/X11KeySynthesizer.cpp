#include "platform/linux/X11KeySynthesizer.h"

#include "platform/linux/X11SyntheticKeys.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

// X key codes of the V and C keys of a PC keyboard (evdev's KEY_V and KEY_C, plus 8).
constexpr KeyCode pcKeyV = 55;
constexpr KeyCode pcKeyC = 54;

} // namespace

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

QList<unsigned char> X11KeySynthesizer::heldKeys(std::initializer_list<unsigned long> keysyms) const
{
    char keys[32];
    XQueryKeymap(m_display, keys);
    QList<unsigned char> held;
    for (KeySym keysym : keysyms) {
        const KeyCode code = XKeysymToKeycode(m_display, keysym);
        if (code && (keys[code / 8] & (1 << (code % 8))) && !held.contains(code))
            held.append(code);
    }
    return held;
}

bool X11KeySynthesizer::send(Command command)
{
    if (!m_display)
        return false;
    const bool terminal = terminalClasses().contains(focusedWindowClass());
    KeyCode key = XKeysymToKeycode(m_display, command == Command::paste ? XK_v : XK_c);
    // A layout without Latin letters (Russian alone, say) has no V: the key where V is on a
    // PC keyboard is what applications take for Ctrl+V there too.
    if (!key)
        key = command == Command::paste ? pcKeyV : pcKeyC;
    // Ctrl (and Shift in a terminal) the user already holds serves the keystroke as it is:
    // the Ask chord is down while its selection is copied.
    XkbStateRec state{};
    XkbGetState(m_display, XkbUseCoreKbd, &state);
    const bool controlHeld = state.mods & ControlMask;
    const bool shiftHeld = state.mods & ShiftMask;
    const KeyCode control = controlHeld ? 0 : XKeysymToKeycode(m_display, XK_Control_L);
    const KeyCode shift = terminal && !shiftHeld ? XKeysymToKeycode(m_display, XK_Shift_L) : 0;
    if (!control && !controlHeld)
        return false;
    // Any other modifier held would join the keystroke (Ctrl+Alt+C copies nothing, Ctrl+Shift+C
    // opens a browser's inspector): it is let go for the keystroke and pressed again after,
    // in a way the key source knows is ours, so the user's hold goes on.
    QList<unsigned char> extra = heldKeys({XK_Alt_L, XK_Alt_R, XK_Super_L, XK_Super_R, XK_Meta_L,
                                           XK_Meta_R, XK_Hyper_L, XK_Hyper_R, XK_ISO_Level3_Shift});
    if (!terminal)
        extra += heldKeys({XK_Shift_L, XK_Shift_R});
    X11SyntheticKeys &synthetic = X11SyntheticKeys::shared();
    const auto fake = [&](KeyCode code, bool press) {
        if (!code)
            return;
        synthetic.expect(code, press);
        XTestFakeKeyEvent(m_display, code, press, CurrentTime);
    };
    for (unsigned char code : std::as_const(extra))
        fake(code, false);
    fake(control, true);
    fake(shift, true);
    fake(key, true);
    fake(key, false);
    fake(shift, false);
    fake(control, false);
    for (unsigned char code : std::as_const(extra))
        fake(code, true);
    XFlush(m_display);
    return true;
}
