#pragma once

#include "platform/KeyEventSource.h"

#include <QHash>
#include <QList>
#include <QString>

// A shortcut's key combination as the desktop's global shortcut services spell it. Neither
// knows the fn key (a key the user picks, not a modifier), so a combination with fn has no
// spelling there.
class ComboKeys
{
public:
    using Combo = KeyEventSource::Combo;

    // A combination a service did not take, and why in the user's words.
    struct Refusal
    {
        Combo combo;
        QString reason;
        friend bool operator==(const Refusal &, const Refusal &) = default;
    };

    // Qt's key code with its modifier bits (Qt::ControlModifier, …); 0 when there is none.
    static int qtKey(const Combo &combo);
    // The shortcuts specification's trigger: modifiers CTRL, ALT, SHIFT, LOGO and the XKB
    // keysym name joined with '+' ("CTRL+ALT+d"); empty when there is none.
    static QString trigger(const Combo &combo);
    // An identifier made of the combination alone, so the same shortcut keeps its name from one
    // run to the next: "ovrin-2-c0000".
    static QString id(const Combo &combo);
    // What the user reads: "Ctrl+Alt+D", with the fn key's own name ("Right Ctrl+D").
    static QString label(const Combo &combo);
    // Why a combination cannot be registered at all; empty when it can be.
    static QString unregistrable(const Combo &combo, const QString &serviceName);
    // The refused combinations of `combos`, in their order: those without a spelling, and those
    // a service gave a reason for (by id). Each new one is logged.
    static QList<Refusal> refusals(const QList<Combo> &combos, const QString &serviceName,
                                   const QHash<QString, QString> &reasonsById,
                                   const QList<Refusal> &before);
};
