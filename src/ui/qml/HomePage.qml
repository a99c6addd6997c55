import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// Where Ovrin starts: what the setup still lacks, the shortcuts, and once the app works
// properly the offer to start at login.
PageScaffold {
    id: page
    readonly property bool setupComplete: AppModel.micAuthorized && AppModel.accessibilityTrusted
                                          && AppModel.screenRecordingTrusted
                                          && AppModel.backendReachable

    title: "Talk to your computer"
    subtitle: "Hold " + AppModel.hotkeyName + " anywhere to dictate. Use the shortcuts below for AI and screen help."
    onAppeared: AppModel.refreshPermissions()

    // Answering, here or in Settings, puts the prompt away for good.
    function answerPrompt(open) {
        AppModel.setLaunchAtLogin(open);
    }

    PageScrollView {
        anchors.fill: parent

        Card {
            objectName: "launchAtLoginPrompt"
            Layout.fillWidth: true
            visible: AppModel.showLaunchAtLoginPrompt
            color: Theme.accentSoft
            border.color: Theme.accent
            spacing: 6

            Label {
                Layout.fillWidth: true
                text: "Start Ovrin at login?"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            Label {
                Layout.fillWidth: true
                text: "Ovrin stays in the " + (MainWindowState.trayMissing ? "panel" : "system tray") + " so global hotkeys work in any app. Open it automatically when you log in?"
                color: Theme.text
                wrapMode: Text.WordWrap
            }
            RowLayout {
                Layout.topMargin: 6
                spacing: 8
                AccentButton {
                    text: "Open at Login"
                    onClicked: page.answerPrompt(true)
                }
                Button {
                    text: "Not Now"
                    onClicked: page.answerPrompt(false)
                }
            }
        }

        Card {
            objectName: "setupCard"
            Layout.fillWidth: true
            spacing: Theme.spacing

            RowLayout {
                objectName: "allSet"
                visible: page.setupComplete
                spacing: 10
                ThemedIcon {
                    iconName: "emblem-ok"
                    size: 20
                    color: Theme.success
                }
                Label {
                    text: "All set"
                    color: Theme.text
                    font.pointSize: Theme.headingSize
                    font.weight: Font.DemiBold
                }
            }

            Label {
                visible: !page.setupComplete
                text: "Finish setup"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            SetupRow {
                objectName: "setup-microphone"
                visible: !AppModel.micAuthorized
                iconName: "microphone"
                title: "Microphone access"
                detail: "Required for dictation and Ask AI."
                onTriggered: AppModel.requestMicrophone()
            }
            SetupRow {
                objectName: "setup-accessibility"
                visible: !AppModel.accessibilityTrusted
                iconName: "keyboard"
                title: "Accessibility access"
                detail: AppModel.desktopName.startsWith("Wayland")
                        ? "Required for hold-to-talk. The Desktop card below says what to enable."
                        : "Required for global hotkeys. Launch with ./run.sh if Ovrin isn't listed."
                onTriggered: AppModel.requestAccessibility()
            }
            SetupRow {
                objectName: "setup-screen"
                visible: !AppModel.screenRecordingTrusted
                iconName: "edit-find"
                title: "Screen Recording"
                detail: "Required for Read screen."
                onTriggered: MainWindowState.helpTopic = "Privacy_ScreenCapture"
            }
            SetupRow {
                objectName: "setup-backend"
                visible: !AppModel.backendReachable
                iconName: "dialog-warning"
                iconColor: Theme.danger
                title: "Backend offline"
                actionText: "Retry"
                onTriggered: AppModel.refresh()

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 6
                    Label {
                        text: "Start it with:"
                        color: Theme.textSecondary
                        font.pointSize: Theme.captionSize
                    }
                    TextEdit {
                        objectName: "backendCommand"
                        Layout.fillWidth: true
                        text: MainWindowState.backendCommand
                        readOnly: true
                        selectByMouse: true
                        wrapMode: TextEdit.WrapAnywhere
                        font.family: "monospace"
                        font.pointSize: Theme.captionSize
                        color: Theme.text
                        selectionColor: Theme.accent
                        selectedTextColor: Theme.accentText
                    }
                }
            }
        }

        Card {
            objectName: "shortcutsCard"
            Layout.fillWidth: true
            spacing: 10

            Label {
                text: "Shortcuts"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            Repeater {
                model: [
                    { iconName: "microphone", name: "Dictate", keys: AppModel.hotkeyName },
                    { iconName: "ask-ai", name: "Ask AI", keys: AppModel.askKeyName },
                    { iconName: "edit-find", name: "Read screen", keys: AppModel.screenKeyName },
                    { iconName: "waveform", name: "Hands-free", keys: AppModel.handsFreeKeyName }
                ]
                delegate: RowLayout {
                    id: shortcutRow
                    required property var modelData
                    Layout.fillWidth: true
                    spacing: 10
                    ThemedIcon {
                        iconName: shortcutRow.modelData.iconName
                        size: 16
                        color: Theme.accent
                    }
                    Label {
                        Layout.fillWidth: true
                        text: shortcutRow.modelData.name
                        color: Theme.text
                    }
                    ShortcutBadge {
                        text: shortcutRow.modelData.keys
                    }
                }
            }
        }

        // How each function reaches this desktop, and what would make it better.
        Card {
            objectName: "desktopCard"
            Layout.fillWidth: true
            visible: AppModel.desktopRungs.length > 0
            spacing: 10

            Label {
                text: "Desktop: " + AppModel.desktopName
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            Repeater {
                model: AppModel.desktopRungs
                delegate: RowLayout {
                    id: rungRow
                    required property var modelData
                    objectName: "rung-" + modelData.feature
                    Layout.fillWidth: true
                    spacing: 10
                    ThemedIcon {
                        Layout.alignment: Qt.AlignTop
                        iconName: rungRow.modelData.working ? "emblem-ok" : "dialog-warning"
                        size: 16
                        color: rungRow.modelData.working ? Theme.accent : Theme.warning
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 2
                        Label {
                            Layout.fillWidth: true
                            text: rungRow.modelData.feature + ": " + rungRow.modelData.rung
                            color: Theme.text
                            wrapMode: Text.Wrap
                        }
                        TextEdit {
                            Layout.fillWidth: true
                            visible: text !== ""
                            text: rungRow.modelData.advice
                            readOnly: true
                            selectByMouse: true
                            wrapMode: TextEdit.Wrap
                            color: Theme.textSecondary
                            font.pointSize: Theme.captionSize
                            selectionColor: Theme.accent
                            selectedTextColor: Theme.accentText
                        }
                    }
                }
            }
        }
    }
}
