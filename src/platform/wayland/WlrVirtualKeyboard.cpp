#include "platform/wayland/WlrVirtualKeyboard.h"

#include "core/Clock.h"
#include "platform/wayland/WaylandConnection.h"

#include <wayland-client.h>

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

namespace {

// The protocol's two interfaces, as its description gives their requests. Neither sends
// events.
extern const wl_interface virtualKeyboardInterface;

const wl_interface *createTypes[] = {&wl_seat_interface, &virtualKeyboardInterface};
const wl_message managerRequests[] = {{"create_virtual_keyboard", "on", createTypes}};
const wl_interface managerInterface = {
    WlrVirtualKeyboard::protocol, 1, 1, managerRequests, 0, nullptr};

const wl_interface *noTypes[] = {nullptr, nullptr, nullptr, nullptr};
const wl_message keyboardRequests[] = {
    {"keymap", "uhu", noTypes},
    {"key", "uuu", noTypes},
    {"modifiers", "uuuu", noTypes},
    {"destroy", "", noTypes},
};
const wl_interface virtualKeyboardInterface = {"zwp_virtual_keyboard_v1", 1, 4,
                                               keyboardRequests,          0, nullptr};

enum Opcode : quint32 {
    keymapRequest = 0,
    keyRequest = 1,
    modifiersRequest = 2,
    destroyRequest = 3
};
constexpr quint32 keymapFormatXkbV1 = 1;
// Modifier masks of the keymap below (the standard real modifiers).
constexpr quint32 shiftMask = 1, controlMask = 4;

// The compositor compiles this against its own XKB data, so the keymap is the usual PC one
// whatever layout the user types with: the keystroke names keys by position.
constexpr char keymapText[] = "xkb_keymap {\n"
                              "  xkb_keycodes { include \"evdev+aliases(qwerty)\" };\n"
                              "  xkb_types { include \"complete\" };\n"
                              "  xkb_compat { include \"complete\" };\n"
                              "  xkb_symbols { include \"pc+us+inet(evdev)\" };\n"
                              "};\n";

} // namespace

WlrVirtualKeyboard::WlrVirtualKeyboard(WaylandConnection &connection, const Clock &clock,
                                       std::function<bool()> focusedIsTerminal)
    : m_connection(connection), m_clock(clock), m_focusedIsTerminal(std::move(focusedIsTerminal))
{
    if (!connection.offers(QString::fromLatin1(protocol))) {
        m_problem = QStringLiteral("the compositor does not offer virtual keyboards");
        return;
    }
    wl_seat *seat = connection.seat();
    m_manager = static_cast<wl_proxy *>(connection.bind(&managerInterface, 1));
    if (!seat || !m_manager) {
        m_problem = QStringLiteral("the compositor has no seat for a virtual keyboard");
        return;
    }
    m_keyboard = wl_proxy_marshal_flags(m_manager, 0, &virtualKeyboardInterface,
                                        wl_proxy_get_version(m_manager), 0, seat, nullptr);
    if (!m_keyboard || !uploadKeymap() || !connection.flush()) {
        m_problem = QStringLiteral("the compositor refused a virtual keyboard");
        if (m_keyboard)
            wl_proxy_destroy(m_keyboard);
        m_keyboard = nullptr;
        return;
    }
    // The compositor has the keymap before the first keystroke needs it.
    wl_display_roundtrip(connection.display());
}

WlrVirtualKeyboard::~WlrVirtualKeyboard()
{
    if (m_keyboard)
        wl_proxy_marshal_flags(m_keyboard, destroyRequest, nullptr,
                               wl_proxy_get_version(m_keyboard), WL_MARSHAL_FLAG_DESTROY);
    if (m_manager)
        wl_proxy_destroy(m_manager);
    m_connection.flush();
}

bool WlrVirtualKeyboard::uploadKeymap()
{
    const int fd = memfd_create("ovrin-keymap", MFD_CLOEXEC);
    if (fd < 0)
        return false;
    const bool written = write(fd, keymapText, sizeof keymapText) == qint64(sizeof keymapText);
    if (written)
        wl_proxy_marshal_flags(m_keyboard, keymapRequest, nullptr, wl_proxy_get_version(m_keyboard),
                               0, keymapFormatXkbV1, fd, quint32(sizeof keymapText));
    close(fd); // the request carries its own copy of the descriptor
    return written;
}

bool WlrVirtualKeyboard::key(int evdevCode, bool press)
{
    if (!m_keyboard)
        return false;
    const auto time = quint32(qint64(m_clock.now() * 1000) & 0xffffffff);
    wl_proxy_marshal_flags(m_keyboard, keyRequest, nullptr, wl_proxy_get_version(m_keyboard), 0,
                           time, quint32(evdevCode), quint32(press ? 1 : 0));
    return m_connection.flush();
}

bool WlrVirtualKeyboard::modifiers(quint32 depressed)
{
    // The compositor does not work the modifier state out of a virtual keyboard's keys.
    wl_proxy_marshal_flags(m_keyboard, modifiersRequest, nullptr, wl_proxy_get_version(m_keyboard),
                           0, depressed, 0u, 0u, 0u);
    return m_connection.flush();
}

bool WlrVirtualKeyboard::send(Command command)
{
    if (!m_keyboard)
        return false;
    const bool terminal = m_focusedIsTerminal && m_focusedIsTerminal();
    const int letter = command == Command::paste ? KEY_V : KEY_C;
    const quint32 held = controlMask | (terminal ? shiftMask : 0);
    bool sent = key(KEY_LEFTCTRL, true);
    if (terminal)
        sent = sent && key(KEY_LEFTSHIFT, true);
    sent = sent && modifiers(held) && key(letter, true) && key(letter, false);
    if (terminal)
        sent = key(KEY_LEFTSHIFT, false) && sent;
    sent = key(KEY_LEFTCTRL, false) && sent;
    return modifiers(0) && sent;
}
