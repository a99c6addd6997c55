#pragma once

#include "platform/KeySynthesizer.h"

#include <QString>

#include <functional>

class Clock;
class WaylandConnection;
struct wl_proxy;

// Keys through the compositor's virtual-keyboard protocol (wlroots desktops). One keyboard
// for the application's lifetime: a keyboard made per keystroke changes the seat's keymap
// each time, and the first key after such a change reaches the focused client only as
// "already held", so it is lost.
class WlrVirtualKeyboard : public KeySynthesizer
{
public:
    static constexpr const char *protocol = "zwp_virtual_keyboard_manager_v1";

    WlrVirtualKeyboard(WaylandConnection &connection, const Clock &clock,
                       std::function<bool()> focusedIsTerminal = {});
    ~WlrVirtualKeyboard() override;

    // False when the compositor does not offer the protocol or refused the keyboard.
    bool isReady() const { return m_keyboard != nullptr; }
    QString problem() const { return m_problem; }

    bool send(Command command) override;
    // A key by its evdev code, for the paste keystroke and for tests that type.
    bool key(int evdevCode, bool press);

private:
    bool uploadKeymap();
    bool modifiers(quint32 depressed);

    WaylandConnection &m_connection;
    const Clock &m_clock;
    std::function<bool()> m_focusedIsTerminal;
    wl_proxy *m_manager = nullptr;
    wl_proxy *m_keyboard = nullptr;
    QString m_problem;
};
