#include "platform/linux/X11KeyboardMap.h"

#include "platform/linux/KeyCodeTable.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace {

constexpr std::uint64_t fnBit = 0x800000, controlBit = 0x40000, optionBit = 0x80000,
                        shiftBit = 0x20000, commandBit = 0x100000;

} // namespace

X11KeyboardMap::X11KeyboardMap(const QString &fnKey) : m_display(XOpenDisplay(nullptr))
{
    setFnKey(fnKey);
    m_followFnKey = QObject::connect(&FnKey::shared(), &FnKey::keyChanged,
                                     [this] { setFnKey(FnKey::shared().key()); });
}

X11KeyboardMap::~X11KeyboardMap()
{
    QObject::disconnect(m_followFnKey);
    if (m_display)
        XCloseDisplay(m_display);
}

void X11KeyboardMap::setFnKey(const QString &fnKey)
{
    m_fnKeysym = XStringToKeysym(fnKey.toLatin1().constData());
}

std::uint64_t X11KeyboardMap::modifierBit(NativeKey key) const
{
    return modifierBitOfKeysym(baseKeysym(key), m_fnKeysym);
}

KeyboardMap::Key X11KeyboardMap::key(NativeKey key) const
{
    const unsigned long keysym = baseKeysym(key);
    return {KeyCodeTable::fromKeysym(keysym), keysymText(keysym)};
}

unsigned long X11KeyboardMap::baseKeysym(NativeKey key) const
{
    if (m_display && key.scanCode != 0) {
        // Asked each time: the user may switch layouts while the settings are open.
        XkbStateRec state{};
        const int group =
            XkbGetState(m_display, XkbUseCoreKbd, &state) == Success ? state.group : 0;
        if (const unsigned long keysym = baseKeysym(m_display, int(key.scanCode), group))
            return keysym;
    }
    return key.virtualKey;
}

unsigned long X11KeyboardMap::baseKeysym(_XDisplay *display, int keycode, int group)
{
    KeySym keysym = XkbKeycodeToKeysym(display, KeyCode(keycode), group, 0);
    if (keysym == NoSymbol && group != 0)
        keysym = XkbKeycodeToKeysym(display, KeyCode(keycode), 0, 0);
    return keysym;
}

std::uint64_t X11KeyboardMap::modifierBitOfKeysym(unsigned long keysym, unsigned long fnKeysym)
{
    // Right Alt is AltGr on many layouts.
    if (keysym == fnKeysym || (fnKeysym == XK_Alt_R && keysym == XK_ISO_Level3_Shift))
        return fnBit;
    switch (keysym) {
    case XK_Shift_L:
    case XK_Shift_R:
        return shiftBit;
    case XK_Control_L:
    case XK_Control_R:
        return controlBit;
    case XK_Alt_L:
    case XK_Alt_R:
    case XK_Meta_L:
    case XK_Meta_R:
    case XK_ISO_Level3_Shift:
        return optionBit;
    case XK_Super_L:
    case XK_Super_R:
        return commandBit;
    default:
        return 0;
    }
}

QString X11KeyboardMap::keysymText(unsigned long keysym)
{
    char32_t character = 0;
    if (keysym <= 0xff)
        character = char32_t(keysym); // Latin-1 keysyms are their code points
    else if ((keysym & 0xff000000) == 0x01000000)
        character = char32_t(keysym & 0x00ffffff); // Unicode keysyms
    if (character < 0x20 || (character >= 0x7f && character < 0xa0) || character > 0x10ffff)
        return {};
    return QString::fromUcs4(&character, 1);
}
