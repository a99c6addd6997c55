#pragma once

#include "platform/KeySynthesizer.h"

#include <QString>

#include <functional>
#include <memory>

struct libevdev_uinput;

// Ctrl+V / Ctrl+C, or Ctrl+Shift+V / Ctrl+Shift+C when the focused application is a terminal,
// typed on a virtual keyboard of the kernel (uinput) that the compositor reads like any
// other. One device for the whole run: a new one takes the compositor a moment to adopt, and
// keys sent meanwhile are lost. The compositor merges keyboards, so a modifier the user holds
// on a real one joins the keystroke; this device cannot let go of it.
class UinputKeyboard : public KeySynthesizer
{
public:
    // Whether the focused application is a terminal, asked on each keystroke.
    using IsTerminal = std::function<bool()>;

    enum class Problem { none, noDevice, permissionDenied, failed };
    struct Creation
    {
        std::unique_ptr<UinputKeyboard> keyboard; // null unless problem is none
        Problem problem = Problem::none;
        QString message; // for the user, with what to do about it
    };

    // The virtual keyboard, made through uinputPath (the kernel's /dev/uinput).
    static Creation create(IsTerminal isTerminal,
                           const QString &uinputPath = QStringLiteral("/dev/uinput"));
    // The device's name, by which the key source tells it from the user's keyboards.
    static QString deviceName();

    // Writes the keystrokes as input_event records to fd, which stays the caller's.
    UinputKeyboard(int fd, IsTerminal isTerminal);
    ~UinputKeyboard() override;
    UinputKeyboard(const UinputKeyboard &) = delete;
    UinputKeyboard &operator=(const UinputKeyboard &) = delete;

    // False when the records could not be written.
    bool send(Command command) override;

private:
    int m_fd = -1;
    IsTerminal m_isTerminal;
    libevdev_uinput *m_device = nullptr; // made by create(), with the fd it was made through
    int m_uinputFd = -1;
};
