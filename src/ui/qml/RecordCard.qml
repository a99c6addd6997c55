import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// The meeting recorder: one big button, and what the recording is doing.
Card {
    id: card
    objectName: "recordCard"
    readonly property bool recording: MeetingRecorder.isRecording
    readonly property int phase: MeetingRecorder.phase
    padding: 18

    RowLayout {
        Layout.fillWidth: true
        spacing: 18

        AbstractButton {
            id: recordButton
            objectName: "recordButton"
            implicitWidth: 64
            implicitHeight: 64
            text: card.recording ? "Stop recording" : "Start recording"
            onClicked: MainWindowState.meetingToggleRequested()
            background: Rectangle {
                radius: width / 2
                color: card.recording ? Theme.danger : Theme.accent
                opacity: recordButton.pressed ? 0.8 : 1
                border.width: recordButton.visualFocus ? 3 : 0
                border.color: Theme.accentSoft
            }
            contentItem: Item {
                ThemedIcon {
                    anchors.centerIn: parent
                    iconName: card.recording ? "media-playback-stop" : "microphone"
                    size: 26
                    color: Theme.accentText
                }
            }
            ToolTip.visible: hovered
            ToolTip.text: text
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 8

            Label {
                Layout.fillWidth: true
                visible: !card.recording
                text: "Tap the mic to start. You can play audio and speak at the same time."
                color: Theme.textSecondary
                wrapMode: Text.WordWrap
            }
            RowLayout {
                Layout.fillWidth: true
                visible: card.recording
                spacing: 12
                Label {
                    objectName: "recordingDuration"
                    text: Formats.duration(MeetingRecorder.duration)
                    color: Theme.text
                    font.pointSize: Theme.headingSize
                    font.weight: Font.DemiBold
                }
                LevelMeter {
                    objectName: "recordingLevel"
                    Layout.fillWidth: true
                    Layout.maximumWidth: 320
                    level: MeetingRecorder.level
                }
            }
            RowLayout {
                visible: card.phase === 1 || card.phase === 2
                spacing: 8
                BusyIndicator {
                    implicitWidth: 20
                    implicitHeight: 20
                    running: parent.visible
                }
                Label {
                    objectName: "recordingPhase"
                    text: MeetingRecorder.phaseMessage !== "" ? MeetingRecorder.phaseMessage : (card.phase === 1 ? "Uploading…" : "Transcribing…")
                    color: Theme.textSecondary
                }
            }
            Label {
                objectName: "recordingError"
                Layout.fillWidth: true
                visible: card.phase === 3
                text: MeetingRecorder.phaseMessage
                color: Theme.danger
                wrapMode: Text.WordWrap
            }
        }
    }
}
