import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// Every choice is written to the settings file the moment it is made.
PageScaffold {
    id: page
    title: "Settings"
    subtitle: "Hotkeys, cleanup, and how text lands in your apps."

    actions: [
        RowLayout {
            spacing: 6
            ThemedIcon {
                iconName: "emblem-ok"
                size: 14
                color: Theme.success
            }
            Label {
                text: "Changes save automatically"
                color: Theme.textSecondary
                font.pointSize: Theme.captionSize
            }
        }
    ]

    MicrophoneList {
        id: microphones
        savedUID: SettingsModel.micUID
    }

    PageScrollView {
        anchors.fill: parent

        Card {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Label {
                text: "Hotkeys"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            SettingRow {
                title: "Dictate (hold to type)"
                ThemedShortcutField {
                    id: pushToTalkField
                    objectName: "pushToTalkField"
                    Layout.preferredWidth: 220
                    shortcut: SettingsModel.pushToTalkKey
                    onEdited: shortcut => SettingsModel.pushToTalkKey = shortcut
                }
            }
            SettingRow {
                title: "Ask AI (hold to ask)"
                ThemedShortcutField {
                    objectName: "askField"
                    Layout.preferredWidth: 220
                    shortcut: SettingsModel.askKey
                    onEdited: shortcut => SettingsModel.askKey = shortcut
                }
            }
            SettingRow {
                title: "Read screen (hold to ask about screen)"
                ThemedShortcutField {
                    objectName: "screenField"
                    Layout.preferredWidth: 220
                    shortcut: SettingsModel.screenKey
                    onEdited: shortcut => SettingsModel.screenKey = shortcut
                }
            }
            SettingRow {
                title: "Key that acts as fn"
                detail: "PC keyboards have no fn key the system can see, so this key plays its part in the shortcuts above and in hands-free (tap it twice)."
                ComboBox {
                    id: fnKeyBox
                    objectName: "fnKeyBox"
                    Layout.preferredWidth: 220
                    Accessible.name: "Key that acts as fn"
                    model: FnKey.choices
                    currentIndex: FnKey.choices.indexOf(FnKey.key)
                    displayText: FnKey.label
                    delegate: ItemDelegate {
                        required property string modelData
                        required property int index
                        width: fnKeyBox.width
                        text: FnKey.labelOf(modelData)
                        highlighted: fnKeyBox.highlightedIndex === index
                    }
                    onActivated: index => FnKey.key = FnKey.choices[index]
                }
            }
            Label {
                objectName: "hotkeyHint"
                Layout.fillWidth: true
                text: pushToTalkField.recorder.hint
                wrapMode: Text.WordWrap
                color: Theme.textSecondary
                font.pointSize: Theme.captionSize
            }
        }

        Card {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Label {
                text: "Dictation"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            SettingRow {
                title: "Paste automatically into focused app"
                Switch {
                    objectName: "pasteSwitch"
                    Accessible.name: "Paste automatically into focused app"
                    checked: SettingsModel.pasteAutomatically
                    onToggled: SettingsModel.pasteAutomatically = checked
                }
            }
            SettingRow {
                title: "Restore clipboard after pasting"
                detail: "What you had copied comes back once the app has the dictation. When a paste doesn't arrive, the dictation stays on the clipboard."
                enabled: SettingsModel.pasteAutomatically
                Switch {
                    objectName: "restoreClipboardSwitch"
                    Accessible.name: "Restore clipboard after pasting"
                    checked: SettingsModel.restoreClipboard
                    onToggled: SettingsModel.restoreClipboard = checked
                }
            }
            SettingRow {
                title: "Clean up dictation with AI"
                detail: "Cleanup removes filler words and fixes punctuation before pasting. Runs on the backend; doesn't affect Ask-AI."
                Switch {
                    objectName: "cleanupSwitch"
                    Accessible.name: "Clean up dictation with AI"
                    checked: SettingsModel.cleanupEnabled
                    onToggled: SettingsModel.cleanupEnabled = checked
                }
            }
            SettingRow {
                title: "Microphone"
                detail: "Which microphone Ovrin records from. “System Default” follows your computer's current input. Applies on your next dictation."
                ComboBox {
                    objectName: "microphoneBox"
                    Layout.preferredWidth: 220
                    Accessible.name: "Microphone"
                    model: microphones.options
                    textRole: "label"
                    valueRole: "uid"
                    currentIndex: microphones.selectedIndex
                    onActivated: index => SettingsModel.micUID = microphones.options[index].uid
                }
            }
            Button {
                objectName: "refreshMicrophones"
                Layout.alignment: Qt.AlignRight
                text: "Refresh device list"
                icon.source: "icons/view-refresh.svg"
                onClicked: microphones.refresh()
            }
            SettingRow {
                title: "Include computer audio"
                detail: "Meetings also record what your computer plays, so the other side of a call is in the notes."
                Switch {
                    objectName: "computerAudioSwitch"
                    Accessible.name: "Include computer audio"
                    checked: SettingsModel.includeComputerAudio
                    onToggled: SettingsModel.includeComputerAudio = checked
                }
            }
            SettingRow {
                title: "Keep the microphone ready"
                detail: "The microphone stays open between dictations, so the first syllable is never lost. The tray icon shows it; nothing is kept or sent until you hold the key."
                Switch {
                    objectName: "warmMicrophoneSwitch"
                    Accessible.name: "Keep the microphone ready"
                    checked: SettingsModel.warmMicrophone
                    onToggled: SettingsModel.warmMicrophone = checked
                }
            }
        }

        Card {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Label {
                text: "General"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            SettingRow {
                title: "Appearance"
                detail: "Light, dark, or match your system appearance."
                Repeater {
                    model: [
                        { value: "system", name: "System" },
                        { value: "light", name: "Light" },
                        { value: "dark", name: "Dark" }
                    ]
                    delegate: AccentButton {
                        required property var modelData
                        objectName: "theme-" + modelData.value
                        text: modelData.name
                        checkable: true
                        autoExclusive: true
                        checked: SettingsModel.theme === modelData.value
                        accented: checked
                        onClicked: SettingsModel.theme = modelData.value
                    }
                }
            }
            SettingRow {
                title: "Launch at login"
                Switch {
                    id: loginSwitch
                    objectName: "launchAtLoginSwitch"
                    Accessible.name: "Launch at login"
                    checked: AppModel.launchAtLoginEnabled
                    onToggled: {
                        AppModel.setLaunchAtLogin(checked);
                        // A login item that could not change leaves the model as it was.
                        checked = Qt.binding(() => AppModel.launchAtLoginEnabled);
                    }
                }
            }
            SettingRow {
                title: "Updates"
                detail: "Ovrin checks for updates automatically."
                Button {
                    text: "Check for Updates"
                    onClicked: updateDialog.open()
                }
            }
        }

        Card {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Label {
                text: "Account"
                color: Theme.text
                font.pointSize: Theme.headingSize
                font.weight: Font.DemiBold
            }
            SettingRow {
                title: AuthStore.user.name || AuthStore.user.email || ""
                detail: AuthStore.user.name ? AuthStore.user.email : ""
                Button {
                    text: "Sign Out"
                    onClicked: AuthStore.requestSignOut()
                }
            }
        }
    }

    Dialog {
        id: updateDialog
        objectName: "updateDialog"
        anchors.centerIn: Overlay.overlay
        modal: true
        width: 440
        title: "Check for Updates"
        standardButtons: Dialog.Ok

        Label {
            width: parent.width
            wrapMode: Text.WordWrap
            text: MainWindowState.updateInfo
        }
    }
}
