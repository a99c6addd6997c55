import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.State

// Says exactly what to change when a permission is missing; opened by topic.
Dialog {
    id: sheet
    property string topic: ""
    readonly property var texts: ({
            "Privacy_Microphone": {
                "title": "Microphone",
                "body": "Ovrin records from your sound system's input (PulseAudio or PipeWire). If it can't start, check that a microphone is plugged in, not muted, and chosen as input in your desktop's Sound settings or in pavucontrol. You can pick a specific microphone in Ovrin's Settings."
            },
            "Privacy_Accessibility": {
                "title": "Accessibility",
                "body": "Global hotkeys and reading the focused text field need an X11 session with the XInput 2.2 and XTEST extensions, and the accessibility bus (at-spi2-core) running.\n\n• Log in to an \"on Xorg\" / X11 session.\n• Turn accessibility on: gsettings set org.gnome.desktop.interface toolkit-accessibility true\n• Log out and back in.\n\nOn Wayland, bind your desktop's own shortcuts to the commands \"ovrin toggle\", \"ovrin ask-toggle\" and \"ovrin screen-toggle\" instead."
            },
            "Privacy_ScreenCapture": {
                "title": "Screen capture",
                "body": "Read screen captures the display under the pointer through the X server. It works in an X11 session; on Wayland the screen can't be read this way, so log in to an \"on Xorg\" / X11 session to use it."
            }
        })
    // A Wayland desktop has its own ways in; Home lists the one each function uses.
    readonly property var waylandTexts: ({
            "Privacy_Accessibility": {
                "title": "Hotkeys on Wayland",
                "body": "On Wayland, Ovrin sees its hotkeys in one of these ways, best first:\n\n• Keyboards read directly, which also gives Right Ctrl alone: join the input group with\n   sudo usermod -aG input $USER\n   then log out and back in.\n• KDE Plasma's global shortcuts or the desktop portal's, for key combinations.\n• Your desktop's own keyboard shortcuts running \"ovrin toggle\" (on press, and again on release), \"ovrin ask-toggle\" and \"ovrin screen-toggle\".\n\nReading the focused text field needs the accessibility bus: gsettings set org.gnome.desktop.interface toolkit-accessibility true, then log out and back in."
            },
            "Privacy_ScreenCapture": {
                "title": "Screen capture on Wayland",
                "body": "On Wayland the compositor takes the picture: through grim on sway and other wlroots desktops (sudo apt install grim), or through the desktop's screenshot portal on GNOME and KDE (xdg-desktop-portal with xdg-desktop-portal-gnome or -kde), which asks you the first time."
            }
        })
    readonly property bool wayland: AppModel.desktopName.startsWith("Wayland")
    readonly property var entry: (wayland && waylandTexts[topic]) || texts[topic] || null

    objectName: "privacyHelp"
    onEntryChanged: entry ? open() : close()
    modal: true
    anchors.centerIn: parent
    width: Math.min(520, parent ? parent.width - 48 : 520)
    title: entry ? entry.title : ""
    standardButtons: Dialog.Close

    Label {
        objectName: "privacyHelpText"
        width: parent.width
        wrapMode: Text.WordWrap
        text: sheet.entry ? sheet.entry.body : ""
    }
}
