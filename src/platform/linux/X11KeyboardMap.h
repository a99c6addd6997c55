#pragma once

#include "platform/KeyboardMap.h"
#include "platform/linux/FnKey.h"

#include <QMetaObject>

struct _XDisplay;

// Keys of Qt's X11 key events, read by X keycode through the layout in use so that held
// Shift or AltGr do not change which key it was. Without a display it falls back to the
// keysym of the event.
class X11KeyboardMap : public KeyboardMap
{
public:
    // fnKey: an X keysym name, one of FnKey::choices(); later choices are followed.
    explicit X11KeyboardMap(const QString &fnKey = FnKey::shared().key());
    ~X11KeyboardMap() override;
    X11KeyboardMap(const X11KeyboardMap &) = delete;
    X11KeyboardMap &operator=(const X11KeyboardMap &) = delete;

    void setFnKey(const QString &fnKey);

    std::uint64_t modifierBit(NativeKey key) const override;
    Key key(NativeKey key) const override;

    // Shared with X11KeySource, so both read a physical key the same way.
    // The keysym of the key's first level in the given XKB group (layout), else in group 0.
    static unsigned long baseKeysym(_XDisplay *display, int keycode, int group);
    static std::uint64_t modifierBitOfKeysym(unsigned long keysym, unsigned long fnKeysym);
    // The character a keysym types; empty for control characters and non-character keys.
    static QString keysymText(unsigned long keysym);

private:
    unsigned long baseKeysym(NativeKey key) const;

    unsigned long m_fnKeysym = 0;
    QMetaObject::Connection m_followFnKey;
    _XDisplay *m_display = nullptr;
};
