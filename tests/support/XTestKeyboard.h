#pragma once

#include <QByteArray>

struct _XDisplay;

// Presses and releases exact keys on the test X server with XTest. (xdotool's
// "keydown Control_R" also presses Control_L, so it can't test chords.)
class XTestKeyboard
{
public:
    XTestKeyboard();
    ~XTestKeyboard();
    XTestKeyboard(const XTestKeyboard &) = delete;
    XTestKeyboard &operator=(const XTestKeyboard &) = delete;

    bool isOpen() const { return m_display != nullptr; }
    // `keysym` is an X keysym name such as "Control_R" or "d".
    void press(const QByteArray &keysym);
    void release(const QByteArray &keysym);
    void tap(const QByteArray &keysym);

private:
    void send(const QByteArray &keysym, bool down);

    _XDisplay *m_display = nullptr;
};
