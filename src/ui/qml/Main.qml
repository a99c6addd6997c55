import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The main window: the login page until someone is signed in, then the application.
ApplicationWindow {
    id: window
    objectName: "mainWindow"
    title: "Ovrin"
    width: 960
    height: 640
    minimumWidth: 900
    minimumHeight: 600
    visible: false
    color: Theme.window
    font.pointSize: Theme.bodySize
    palette.window: Theme.window
    palette.base: Theme.surface
    palette.alternateBase: Theme.surfaceAlt
    palette.button: Theme.surfaceAlt
    palette.text: Theme.text
    palette.windowText: Theme.text
    palette.buttonText: Theme.text
    palette.placeholderText: Theme.textSecondary
    palette.highlight: Theme.accent
    palette.highlightedText: Theme.accentText
    palette.mid: Theme.border
    palette.dark: Theme.border
    palette.light: Theme.surface
    palette.midlight: Theme.surfaceAlt
    palette.shadow: Theme.border
    palette.toolTipBase: Theme.surface
    palette.toolTipText: Theme.text
    palette.disabled.buttonText: Theme.textSecondary
    palette.disabled.windowText: Theme.textSecondary
    palette.disabled.text: Theme.textSecondary
    palette.disabled.button: Theme.surface
    palette.disabled.highlight: Theme.border

    menuBar: MenuBar {
        Menu {
            title: "&Ovrin"
            Action {
                text: "About Ovrin"
                onTriggered: aboutDialog.open()
            }
            Action {
                text: "Check for Updates…"
                onTriggered: updatesDialog.open()
            }
            MenuSeparator {}
            Action {
                objectName: "hideAction"
                text: "Hide Ovrin"
                onTriggered: window.hideToTray()
            }
            MenuSeparator {}
            Action {
                text: "Quit Ovrin"
                shortcut: StandardKey.Quit
                onTriggered: MainWindowState.quitRequested()
            }
        }
        Menu {
            title: "&Edit"
            Action {
                text: "Undo"
                shortcut: StandardKey.Undo
                onTriggered: window.editCommand("undo")
            }
            Action {
                text: "Redo"
                shortcut: StandardKey.Redo
                onTriggered: window.editCommand("redo")
            }
            MenuSeparator {}
            Action {
                text: "Copy"
                shortcut: StandardKey.Copy
                onTriggered: window.editCommand("copy")
            }
            Action {
                text: "Paste"
                shortcut: StandardKey.Paste
                onTriggered: window.editCommand("paste")
            }
            Action {
                text: "Select All"
                shortcut: StandardKey.SelectAll
                onTriggered: window.editCommand("selectAll")
            }
        }
    }

    // The tray (or Open Ovrin from a later launch) brings it back; without a tray the
    // panel's entry is the only way back, so it is minimized instead.
    function hideToTray() {
        if (MainWindowState.trayMissing)
            window.showMinimized();
        else
            window.hide();
    }

    // The menu's editing commands act on the focused text field, if it has them.
    function editCommand(name) {
        const item = window.activeFocusItem;
        if (item && typeof item[name] === "function")
            item[name]();
    }

    header: Rectangle {
        objectName: "trayNotice"
        visible: MainWindowState.trayMissing
        height: visible ? notice.implicitHeight + 16 : 0
        color: palette.highlight
        Label {
            id: notice
            // Not filling the bar: its height is the text's, and the bar's follows it.
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: 8
            wrapMode: Text.WordWrap
            color: palette.highlightedText
            text: "No system tray was found, so this window stays open: closing it would leave no way back to Ovrin. The hotkeys work either way."
        }
    }

    Loader {
        anchors.fill: parent
        sourceComponent: AuthStore.isRestoring ? restoringView : (AuthStore.signedIn ? appView : loginView)
    }

    Component {
        id: restoringView
        Item {
            ColumnLayout {
                anchors.centerIn: parent
                spacing: 16
                Image {
                    Layout.alignment: Qt.AlignHCenter
                    source: "icons/ovrin.svg"
                    sourceSize.width: 64
                    sourceSize.height: 64
                }
                BusyIndicator {
                    Layout.alignment: Qt.AlignHCenter
                    running: true
                }
            }
        }
    }
    Component {
        id: loginView
        LoginPage {}
    }
    Component {
        id: appView
        AppWindow {}
    }

    PrivacyHelpSheet {
        id: privacyHelp
        topic: MainWindowState.helpTopic
        onClosed: MainWindowState.helpTopic = ""
    }

    Dialog {
        id: updatesDialog
        objectName: "updatesDialog"
        title: "Check for Updates"
        anchors.centerIn: parent
        modal: true
        width: 440
        standardButtons: Dialog.Ok
        Label {
            text: MainWindowState.updateInfo
            wrapMode: Text.WordWrap
            width: parent.width
        }
    }

    Dialog {
        id: aboutDialog
        title: "About Ovrin"
        anchors.centerIn: parent
        modal: true
        width: 440
        standardButtons: Dialog.Ok
        Label {
            text: "Ovrin " + Qt.application.version + "\nA voice assistant for your desktop: dictation, questions about your text and screen, and meeting notes."
            wrapMode: Text.WordWrap
            width: parent.width
        }
    }

    // With no tray host, closing the window would leave the user without any way back.
    onClosing: close => {
        if (MainWindowState.trayMissing) {
            close.accepted = false;
            window.showMinimized();
        }
    }
}
