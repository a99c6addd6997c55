#pragma once

#include "support/XTestKeyboard.h"

#include <QPoint>
#include <QSize>
#include <QString>

struct _XDisplay;

// The pointer, the keyboard, the tray and the screen of the test X server, driven the way a
// user drives them: every event goes through XTest.
class TestDesktop
{
public:
    TestDesktop();
    ~TestDesktop();
    TestDesktop(const TestDesktop &) = delete;
    TestDesktop &operator=(const TestDesktop &) = delete;

    bool isOpen() const { return m_display != nullptr && m_keyboard.isOpen(); }

    void click(QPoint at, int button = 1);
    void press(const char *keysym);
    void release(const char *keysym);
    void tap(const char *keysym);
    // A shortcut such as {"Control_L", "a"}: pressed in order, released in reverse.
    void chord(std::initializer_list<const char *> keysyms);
    // Types text with a short pause between keys, as xdotool does.
    void type(const QString &text);

    // Raises and focuses the top-level window with this title; true once X says it is
    // focused.
    bool focusWindow(const QString &title);
    // Moves and resizes the top-level window with this title.
    bool placeWindow(const QString &title, QPoint at, QSize size);
    // Centre of the application's icon in the tray host; null when it has none.
    QPoint trayIcon(const QString &windowClass) const;
    // Saves the whole screen to the test artifacts as e2e-<name>.png.
    void saveScreenshot(const QString &name) const;

private:
    _XDisplay *m_display = nullptr; // the pointer and window queries
    XTestKeyboard m_keyboard;
};
