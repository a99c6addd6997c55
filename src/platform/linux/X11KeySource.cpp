#include "platform/linux/X11KeySource.h"

#include "platform/linux/KeyCodeTable.h"
#include "platform/linux/X11KeyboardMap.h"
#include "platform/linux/X11SyntheticKeys.h"

#include <QSocketNotifier>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

constexpr std::uint64_t fnBit = 0x800000, controlBit = 0x40000, optionBit = 0x80000,
                        shiftBit = 0x20000, commandBit = 0x100000;

// Another client may hold a grab already; that must not end the application.
int ignoreXErrors(Display *, XErrorEvent *)
{
    return 0;
}

// fnMask: the X modifier the fn key sets (Control for the default Right Ctrl).
unsigned xModifiers(std::uint64_t flags, unsigned fnMask)
{
    unsigned mask = 0;
    if (flags & shiftBit)
        mask |= ShiftMask;
    if (flags & controlBit)
        mask |= ControlMask;
    if (flags & fnBit)
        mask |= fnMask;
    if (flags & optionBit)
        mask |= Mod1Mask;
    if (flags & commandBit)
        mask |= Mod4Mask;
    return mask;
}

} // namespace

X11KeySource::X11KeySource(const QString &fnKey, QObject *parent) : QObject(parent)
{
    setFnKey(fnKey);
    connect(&FnKey::shared(), &FnKey::keyChanged, this,
            [this] { setFnKey(FnKey::shared().key()); });
}

X11KeySource::~X11KeySource()
{
    stop();
}

bool X11KeySource::start(Handler handler)
{
    if (m_display) {
        m_handler = std::move(handler);
        return true;
    }
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return false;
    int event = 0, error = 0, major = 2, minor = 2;
    if (!XQueryExtension(display, "XInputExtension", &m_xiOpcode, &event, &error) ||
        XIQueryVersion(display, &major, &minor) != Success || (major * 10 + minor) < 22 ||
        !XTestQueryExtension(display, &event, &error, &major, &minor)) {
        XCloseDisplay(display);
        return false;
    }
    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(bits, XI_RawKeyPress);
    XISetMask(bits, XI_RawKeyRelease);
    XIEventMask mask{XIAllMasterDevices, int(sizeof(bits)), bits};
    XISelectEvents(display, DefaultRootWindow(display), &mask, 1);
    int xkbOpcode = 0, xkbError = 0, xkbMajor = XkbMajorVersion, xkbMinor = XkbMinorVersion;
    m_xkbEvent = -1;
    if (XkbQueryExtension(display, &xkbOpcode, &m_xkbEvent, &xkbError, &xkbMajor, &xkbMinor)) {
        XkbSelectEventDetails(display, XkbUseCoreKbd, XkbStateNotify, XkbGroupStateMask,
                              XkbGroupStateMask);
        XkbStateRec state{};
        m_group = XkbGetState(display, XkbUseCoreKbd, &state) == Success ? state.group : 0;
    }
    XFlush(display);

    m_display = display;
    m_handler = std::move(handler);
    m_heldModifiers.clear();
    X11SyntheticKeys::shared().clear(); // sent while nobody listened
    m_notifier =
        std::make_unique<QSocketNotifier>(ConnectionNumber(display), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &X11KeySource::readEvents);
    grabCombos();
    return true;
}

void X11KeySource::stop()
{
    if (!m_display)
        return;
    ungrabCombos();
    m_notifier.reset();
    XCloseDisplay(m_display);
    m_display = nullptr;
    m_handler = {};
    m_heldModifiers.clear();
}

std::uint64_t X11KeySource::currentModifierFlags() const
{
    std::uint64_t flags = 0;
    for (std::uint64_t bit : m_heldModifiers)
        flags |= bit;
    return flags;
}

void X11KeySource::setSwallowedCombos(QList<Combo> combos)
{
    m_combos = std::move(combos);
    if (m_display) {
        ungrabCombos();
        grabCombos();
    }
}

void X11KeySource::setFnKey(const QString &keysymName)
{
    const KeySym keysym = XStringToKeysym(keysymName.toLatin1().constData());
    if (keysym == NoSymbol || keysym == m_fnKeysym)
        return;
    m_fnKeysym = keysym;
    if (m_display) {
        ungrabCombos();
        grabCombos();
    }
}

unsigned X11KeySource::fnModifierMask() const
{
    KeyCode keycode = XKeysymToKeycode(m_display, m_fnKeysym);
    if (keycode == 0 && m_fnKeysym == XK_Alt_R) // Right Alt is AltGr on many layouts
        keycode = XKeysymToKeycode(m_display, XK_ISO_Level3_Shift);
    if (keycode == 0)
        return 0;
    XModifierKeymap *map = XGetModifierMapping(m_display);
    if (!map)
        return 0;
    unsigned mask = 0;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int i = 0; i < map->max_keypermod; ++i) {
            if (map->modifiermap[modifier * map->max_keypermod + i] == keycode)
                mask |= 1u << modifier;
        }
    }
    XFreeModifiermap(map);
    return mask;
}

void X11KeySource::grabCombos()
{
    auto *previous = XSetErrorHandler(ignoreXErrors);
    const Window root = DefaultRootWindow(m_display);
    const unsigned fnMask = fnModifierMask();
    for (const Combo &combo : std::as_const(m_combos)) {
        // A fn key that is no X modifier (Menu) leaves nothing to tell fn+D from D by: such a
        // combination is still seen, but reaches the focused window too.
        if ((combo.modifiers & fnBit) && fnMask == 0)
            continue;
        const KeySym keysym = KeyCodeTable::toKeysym(combo.keyCode);
        const int keycode = keysym == NoSymbol ? 0 : XKeysymToKeycode(m_display, keysym);
        if (keycode == 0)
            continue; // no such key on this layout
        // Caps Lock and Num Lock must not make the shortcut miss.
        for (unsigned locks :
             {0u, unsigned(LockMask), unsigned(Mod2Mask), unsigned(LockMask | Mod2Mask)}) {
            const unsigned modifiers = xModifiers(combo.modifiers, fnMask) | locks;
            // The keyboard freezes on a grabbed key until the engine's answer lets it go on.
            XGrabKey(m_display, keycode, modifiers, root, True, GrabModeAsync, GrabModeSync);
            m_grabbed.append({keycode, modifiers});
        }
    }
    XSync(m_display, False);
    XSetErrorHandler(previous);
}

void X11KeySource::ungrabCombos()
{
    const Window root = DefaultRootWindow(m_display);
    for (const auto &[keycode, modifiers] : std::as_const(m_grabbed))
        XUngrabKey(m_display, keycode, modifiers, root);
    m_grabbed.clear();
    XFlush(m_display);
}

unsigned long X11KeySource::baseKeysym(int keycode) const
{
    // The layout in use now (its XKB group), so a shortcut follows a layout switch.
    return X11KeyboardMap::baseKeysym(m_display, keycode, m_group);
}

std::uint64_t X11KeySource::modifierBit(int keycode) const
{
    return X11KeyboardMap::modifierBitOfKeysym(baseKeysym(keycode), m_fnKeysym);
}

void X11KeySource::readEvents()
{
    while (m_display && XPending(m_display)) {
        XEvent event;
        XNextEvent(m_display, &event);
        if (m_xkbEvent >= 0 && event.type == m_xkbEvent) {
            const auto &xkb = reinterpret_cast<const XkbEvent &>(event);
            if (xkb.any.xkb_type == XkbStateNotify)
                m_group = xkb.state.group;
            continue;
        }
        if (event.type == MappingNotify) {
            // A new layout or keymap: key codes of the grabs may have moved.
            XRefreshKeyboardMapping(&event.xmapping);
            ungrabCombos();
            grabCombos();
            continue;
        }
        if (event.type == KeyPress) {
            // A grabbed combination went down; its raw event, delivered first, has been
            // judged. A key the engine did not take goes on to the focused window as if
            // nothing had grabbed it.
            const bool taken = m_taken.value(int(event.xkey.keycode), false);
            XAllowEvents(m_display, taken ? AsyncKeyboard : ReplayKeyboard, event.xkey.time);
            XFlush(m_display);
            continue;
        }
        if (event.type != GenericEvent || event.xcookie.extension != m_xiOpcode ||
            !XGetEventData(m_display, &event.xcookie))
            continue; // the rest of a taken key's events end here
        const auto *raw = static_cast<const XIRawEvent *>(event.xcookie.data);
        if (event.xcookie.evtype == XI_RawKeyPress || event.xcookie.evtype == XI_RawKeyRelease)
            handleRawKey(raw->detail, event.xcookie.evtype == XI_RawKeyPress,
                         raw->flags & XIKeyRepeat);
        XFreeEventData(m_display, &event.xcookie);
    }
}

void X11KeySource::handleRawKey(int keycode, bool press, bool repeat)
{
    if (!m_handler || X11SyntheticKeys::shared().take(keycode, press))
        return;
    if (const std::uint64_t bit = modifierBit(keycode)) {
        const std::uint64_t before = currentModifierFlags();
        if (press)
            m_heldModifiers.insert(keycode, bit);
        else
            m_heldModifiers.remove(keycode);
        const std::uint64_t after = currentModifierFlags();
        if (after != before)
            m_handler({Type::flagsChanged, -1, after});
        return;
    }
    const int code = KeyCodeTable::fromKeysym(baseKeysym(keycode));
    if (code < 0) {
        m_taken.remove(keycode);
        return; // no shortcut can name this key
    }
    const Type type = press || repeat ? Type::keyDown : Type::keyUp;
    const bool taken = m_handler({type, code, currentModifierFlags()});
    if (press && !repeat)
        m_taken.insert(keycode, taken);
}
