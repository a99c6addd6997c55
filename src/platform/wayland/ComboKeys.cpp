#include "platform/wayland/ComboKeys.h"

#include "platform/linux/FnKey.h"
#include "platform/linux/KeyCodeTable.h"

#include <QKeySequence>
#include <QStringList>

#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace {

constexpr std::uint64_t fnBit = 0x800000, controlBit = 0x40000, optionBit = 0x80000,
                        shiftBit = 0x20000, commandBit = 0x100000;

struct KeysymKey
{
    unsigned long keysym;
    int key;
};

// Keys whose Qt code is not their keysym's; Latin-1 punctuation and digits share theirs.
constexpr KeysymKey specialKeys[] = {
    {XK_Return, Qt::Key_Return},
    {XK_Tab, Qt::Key_Tab},
    {XK_BackSpace, Qt::Key_Backspace},
    {XK_Escape, Qt::Key_Escape},
    {XK_Insert, Qt::Key_Insert},
    {XK_Help, Qt::Key_Help},
    {XK_Home, Qt::Key_Home},
    {XK_Prior, Qt::Key_PageUp},
    {XK_Delete, Qt::Key_Delete},
    {XK_End, Qt::Key_End},
    {XK_Next, Qt::Key_PageDown},
    {XK_Left, Qt::Key_Left},
    {XK_Right, Qt::Key_Right},
    {XK_Down, Qt::Key_Down},
    {XK_Up, Qt::Key_Up},
    {XK_Num_Lock, Qt::Key_NumLock},
    {XK_KP_Enter, int(Qt::Key_Enter) | int(Qt::KeypadModifier)},
    {XK_KP_Decimal, int(Qt::Key_Period) | int(Qt::KeypadModifier)},
    {XK_KP_Multiply, int(Qt::Key_Asterisk) | int(Qt::KeypadModifier)},
    {XK_KP_Add, int(Qt::Key_Plus) | int(Qt::KeypadModifier)},
    {XK_KP_Divide, int(Qt::Key_Slash) | int(Qt::KeypadModifier)},
    {XK_KP_Subtract, int(Qt::Key_Minus) | int(Qt::KeypadModifier)},
    {XK_KP_Equal, int(Qt::Key_Equal) | int(Qt::KeypadModifier)},
};

int qtKeyOf(unsigned long keysym)
{
    if (keysym >= XK_a && keysym <= XK_z)
        return Qt::Key_A + int(keysym - XK_a);
    if (keysym >= XK_KP_0 && keysym <= XK_KP_9)
        return (Qt::Key_0 + int(keysym - XK_KP_0)) | Qt::KeypadModifier;
    if (keysym >= XK_F1 && keysym <= XK_F35)
        return Qt::Key_F1 + int(keysym - XK_F1);
    if (keysym >= XK_space && keysym <= XK_asciitilde)
        return int(keysym);
    for (const KeysymKey &entry : specialKeys) {
        if (entry.keysym == keysym)
            return entry.key;
    }
    return 0;
}

} // namespace

int ComboKeys::qtKey(const Combo &combo)
{
    if (combo.modifiers & fnBit)
        return 0;
    const int key = qtKeyOf(KeyCodeTable::toKeysym(combo.keyCode));
    if (key == 0)
        return 0;
    int modifiers = 0;
    if (combo.modifiers & controlBit)
        modifiers |= Qt::ControlModifier;
    if (combo.modifiers & optionBit)
        modifiers |= Qt::AltModifier;
    if (combo.modifiers & shiftBit)
        modifiers |= Qt::ShiftModifier;
    if (combo.modifiers & commandBit)
        modifiers |= Qt::MetaModifier;
    return key | modifiers;
}

QString ComboKeys::trigger(const Combo &combo)
{
    const unsigned long keysym = KeyCodeTable::toKeysym(combo.keyCode);
    const char *name = keysym == NoSymbol ? nullptr : XKeysymToString(keysym);
    if ((combo.modifiers & fnBit) || !name)
        return {};
    QStringList parts;
    if (combo.modifiers & controlBit)
        parts << QStringLiteral("CTRL");
    if (combo.modifiers & optionBit)
        parts << QStringLiteral("ALT");
    if (combo.modifiers & shiftBit)
        parts << QStringLiteral("SHIFT");
    if (combo.modifiers & commandBit)
        parts << QStringLiteral("LOGO");
    parts << QString::fromLatin1(name);
    return parts.join(QLatin1Char('+'));
}

QString ComboKeys::id(const Combo &combo)
{
    return QStringLiteral("ovrin-%1-%2").arg(combo.keyCode).arg(combo.modifiers, 0, 16);
}

QString ComboKeys::label(const Combo &combo)
{
    QStringList parts;
    if (combo.modifiers & fnBit)
        parts << FnKey::shared().label();
    if (combo.modifiers & controlBit)
        parts << QStringLiteral("Ctrl");
    if (combo.modifiers & optionBit)
        parts << QStringLiteral("Alt");
    if (combo.modifiers & shiftBit)
        parts << QStringLiteral("Shift");
    if (combo.modifiers & commandBit)
        parts << QStringLiteral("Super");
    const int key = qtKeyOf(KeyCodeTable::toKeysym(combo.keyCode));
    parts << (key ? QKeySequence(key & ~Qt::KeypadModifier).toString(QKeySequence::NativeText)
                  : QStringLiteral("key %1").arg(combo.keyCode));
    return parts.join(QLatin1Char('+'));
}

QString ComboKeys::unregistrable(const Combo &combo, const QString &serviceName)
{
    if (combo.modifiers & fnBit)
        return QStringLiteral("%1 holds %2 as fn, which %3 cannot tell from other keys; "
                              "choose a shortcut without fn")
            .arg(label(combo), FnKey::shared().label(), serviceName);
    if (!qtKey(combo) || trigger(combo).isEmpty())
        return QStringLiteral("%1 is a key %2 cannot name").arg(label(combo), serviceName);
    return {};
}

QList<ComboKeys::Refusal> ComboKeys::refusals(const QList<Combo> &combos,
                                              const QString &serviceName,
                                              const QHash<QString, QString> &reasonsById,
                                              const QList<Refusal> &before)
{
    QList<Refusal> refused;
    for (const Combo &combo : combos) {
        QString reason = unregistrable(combo, serviceName);
        if (reason.isEmpty())
            reason = reasonsById.value(id(combo));
        if (reason.isEmpty())
            continue;
        refused.append({combo, reason});
        if (!before.contains(refused.last()))
            qInfo("Ovrin: a shortcut is not global — %s.", qPrintable(reason));
    }
    return refused;
}
