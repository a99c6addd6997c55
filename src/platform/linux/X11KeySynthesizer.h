#pragma once

#include "platform/KeySynthesizer.h"

#include <QList>
#include <QStringList>

#include <initializer_list>

struct _XDisplay;

// Ctrl+V / Ctrl+C through XTest, or Ctrl+Shift+V / Ctrl+Shift+C when the focused window
// belongs to a terminal (by WM_CLASS). Modifiers the user already holds are not pressed
// again; any other modifier held is let go around the keystroke (X has no per-event flags).
class X11KeySynthesizer : public KeySynthesizer
{
public:
    X11KeySynthesizer();
    ~X11KeySynthesizer() override;
    X11KeySynthesizer(const X11KeySynthesizer &) = delete;
    X11KeySynthesizer &operator=(const X11KeySynthesizer &) = delete;

    static const QStringList &terminalClasses();

    bool send(Command command) override;
    // The WM_CLASS (class part) of the focused window or its nearest ancestor with one.
    QString focusedWindowClass() const;

private:
    QList<unsigned char> heldKeys(std::initializer_list<unsigned long> keysyms) const;

    _XDisplay *m_display = nullptr;
};
