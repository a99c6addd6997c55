#include "platform/wayland/WaylandLadder.h"

namespace {

const QString inputGroup = QStringLiteral("Join the input group: %1, then log out and in again.")
                               .arg(QLatin1String(WaylandLadder::inputGroupCommand));
const QString uinputRule = QStringLiteral(
    "Let the input group write the virtual keyboard device: put KERNEL==\"uinput\", "
    "GROUP=\"input\", MODE=\"0660\" in /etc/udev/rules.d/60-ovrin-uinput.rules, then join the "
    "input group and log in again.");

bool offersDataControl(const QSet<QString> &protocols)
{
    return protocols.contains(QStringLiteral("zwlr_data_control_manager_v1")) ||
           protocols.contains(QStringLiteral("ext_data_control_manager_v1"));
}

DesktopRung hotkeysRung(const WaylandLadder::Facts &facts, WaylandLadder::Hotkeys way)
{
    using H = WaylandLadder::Hotkeys;
    const QString holdRightCtrl =
        QStringLiteral("For hold-to-talk with a key alone (Right Ctrl), join the input group: "
                       "%1, then log out and in again.")
            .arg(QLatin1String(WaylandLadder::inputGroupCommand));
    switch (way) {
    case H::evdev:
        return {QStringLiteral("Hotkeys"),
                QStringLiteral("Keyboards read directly (input group)"),
                {},
                true};
    case H::kglobalaccel:
        return {QStringLiteral("Hotkeys"), QStringLiteral("KDE global shortcuts"), holdRightCtrl,
                true};
    case H::portal:
        return {QStringLiteral("Hotkeys"), QStringLiteral("Desktop portal global shortcuts"),
                holdRightCtrl, true};
    case H::commandOnly:
        break;
    }
    QString advice =
        inputGroup + QStringLiteral(" Or bind a key in your desktop's keyboard settings to "
                                    "the command: ovrin toggle");
    if (facts.desktop == WaylandLadder::Desktop::wlroots)
        advice =
            inputGroup + QStringLiteral(" Or add to your compositor's config: bindsym --no-repeat "
                                        "Control_R exec ovrin toggle, and bindsym --release "
                                        "Control_R exec ovrin toggle");
    return {QStringLiteral("Hotkeys"), QStringLiteral("Only the command ovrin toggle"), advice,
            false};
}

DesktopRung pasteRung(WaylandLadder::Paste way)
{
    using P = WaylandLadder::Paste;
    switch (way) {
    case P::uinput:
        return {
            QStringLiteral("Paste"), QStringLiteral("Virtual keyboard device (uinput)"), {}, true};
    case P::virtualKeyboard:
        return {QStringLiteral("Paste"), QStringLiteral("Compositor virtual keyboard"), {}, true};
    case P::remoteDesktop:
        return {QStringLiteral("Paste"),
                QStringLiteral("Desktop portal remote control (asked once)"), uinputRule, true};
    case P::clipboardOnly:
        break;
    }
    return {QStringLiteral("Paste"), QStringLiteral("Copied only — press Ctrl+V"), uinputRule,
            false};
}

} // namespace

bool WaylandLadder::isWaylandSession(const QProcessEnvironment &environment)
{
    return !environment.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty() ||
           environment.value(QStringLiteral("XDG_SESSION_TYPE")) == QLatin1String("wayland");
}

WaylandLadder::Desktop WaylandLadder::desktopOf(const QProcessEnvironment &environment)
{
    const QStringList names = environment.value(QStringLiteral("XDG_CURRENT_DESKTOP"))
                                  .toLower()
                                  .split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &name : names) {
        if (name == QLatin1String("kde"))
            return Desktop::kde;
        if (name == QLatin1String("gnome") || name == QLatin1String("ubuntu"))
            return Desktop::gnome;
        if (name == QLatin1String("sway") || name == QLatin1String("wlroots") ||
            name == QLatin1String("hyprland") || name == QLatin1String("river") ||
            name == QLatin1String("wayfire") || name == QLatin1String("labwc"))
            return Desktop::wlroots;
    }
    return Desktop::other;
}

WaylandLadder::Choice WaylandLadder::choose(const Facts &facts)
{
    Choice choice{};
    // Only the kernel's keyboards give a modifier alone (the default Right Ctrl) with press and
    // release; the desktop services take key combinations only, so they come second.
    choice.hotkeys = facts.evdevReadable           ? Hotkeys::evdev
                     : facts.kglobalaccel          ? Hotkeys::kglobalaccel
                     : facts.portalGlobalShortcuts ? Hotkeys::portal
                                                   : Hotkeys::commandOnly;
    choice.paste = facts.uinputWritable ? Paste::uinput
                   : facts.protocols.contains(QStringLiteral("zwp_virtual_keyboard_manager_v1"))
                       ? Paste::virtualKeyboard
                   : facts.portalRemoteDesktop ? Paste::remoteDesktop
                                               : Paste::clipboardOnly;
    choice.clipboard = facts.wlClipboardTools && offersDataControl(facts.protocols)
                           ? Clipboard::dataControl
                           : Clipboard::xwayland;
    choice.screenshots =
        facts.grim && facts.protocols.contains(QStringLiteral("zwlr_screencopy_manager_v1"))
            ? Screenshots::screencopy
        : facts.portalScreenshot ? Screenshots::portal
                                 : Screenshots::none;

    choice.rungs << hotkeysRung(facts, choice.hotkeys) << pasteRung(choice.paste);

    if (choice.clipboard == Clipboard::dataControl)
        choice.rungs << DesktopRung{
            QStringLiteral("Clipboard"), QStringLiteral("Data control (wl-clipboard)"), {}, true};
    else
        choice.rungs << DesktopRung{
            QStringLiteral("Clipboard"), QStringLiteral("Through XWayland"),
            offersDataControl(facts.protocols)
                ? QStringLiteral(
                      "Install wl-clipboard, so pasting works whichever window has focus.")
                : QString(),
            true};

    // Qt 6 in this distribution has no layer-shell support: the panels are X windows of a
    // type the compositor never focuses.
    choice.rungs << DesktopRung{QStringLiteral("Floating panels"),
                                QStringLiteral("XWayland notification window"),
                                {},
                                true};

    switch (choice.screenshots) {
    case Screenshots::screencopy:
        choice.rungs << DesktopRung{QStringLiteral("Screenshots"),
                                    QStringLiteral("Compositor screen copy (grim)"),
                                    {},
                                    true};
        break;
    case Screenshots::portal:
        choice.rungs << DesktopRung{
            QStringLiteral("Screenshots"), QStringLiteral("Desktop portal (asks the first time)"),
            facts.protocols.contains(QStringLiteral("zwlr_screencopy_manager_v1"))
                ? QStringLiteral("Install grim for screenshots without asking.")
                : QString(),
            true};
        break;
    case Screenshots::none:
        choice.rungs << DesktopRung{
            QStringLiteral("Screenshots"), QStringLiteral("Not available"),
            facts.protocols.contains(QStringLiteral("zwlr_screencopy_manager_v1"))
                ? QStringLiteral("Install grim: sudo apt install grim")
                : QStringLiteral("Install xdg-desktop-portal and your desktop's portal "
                                 "(xdg-desktop-portal-gnome or -kde)."),
            false};
        break;
    }
    return choice;
}
