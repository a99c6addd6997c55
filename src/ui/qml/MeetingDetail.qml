import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One meeting: its recording, notes and transcript. `back` when the user leaves it,
// `deleteConfirmed` once they have agreed to delete it. The reader has the focus, so the
// keys scroll it and Escape goes back.
FocusScope {
    id: detail
    objectName: "meetingDetail"
    required property var meeting
    readonly property string recording: MeetingStore.recordingPath(meeting.id)
    readonly property var segments: meeting.segments || []
    signal back
    signal deleteConfirmed

    // Keys scroll the notes at once, without drawing a focus frame yet.
    function focusReader() {
        reader.quietFocus = true;
        reader.forceActiveFocus();
    }

    function leave() {
        player.stop();
        back();
    }

    Keys.onEscapePressed: leave()
    Component.onDestruction: player.stop()

    MeetingAudioPlayer {
        id: player
        objectName: "meetingPlayer"
    }

    ConfirmDialog {
        id: deleteConfirm
        objectName: "deleteMeetingConfirm"
        question: "Delete this meeting?"
        confirmText: "Delete"
        onConfirmed: {
            player.stop();
            detail.deleteConfirmed();
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.spacing

        RowLayout {
            Layout.fillWidth: true
            spacing: 10

            ToolButton {
                objectName: "meetingBack"
                Layout.alignment: Qt.AlignTop
                text: "Back to meetings"
                display: AbstractButton.IconOnly
                icon.source: "icons/go-previous.svg"
                icon.color: Theme.text
                icon.width: 18
                icon.height: 18
                ToolTip.visible: hovered
                ToolTip.text: text
                onClicked: detail.leave()
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Label {
                    objectName: "meetingTitle"
                    Layout.fillWidth: true
                    text: detail.meeting.title
                    color: Theme.text
                    font.pointSize: Theme.headingSize
                    font.weight: Font.DemiBold
                    wrapMode: Text.WordWrap
                }
                Label {
                    text: Formats.day(detail.meeting.date) + " · " + Formats.duration(detail.meeting.durationSec)
                    color: Theme.textSecondary
                }
                Label {
                    visible: detail.recording === ""
                    text: "The recording is not on this computer."
                    color: Theme.textSecondary
                    font.pointSize: Theme.captionSize
                }
            }
            Button {
                objectName: "playButton"
                // The window palette colours disabled controls as live ones; dim this one instead.
                Layout.alignment: Qt.AlignTop
                enabled: detail.recording !== ""
                text: player.isPlaying ? "Stop" : "Play"
                icon.source: player.isPlaying ? "icons/media-playback-stop.svg" : "icons/media-playback-start.svg"
                icon.color: Theme.text
                icon.width: 14
                icon.height: 14
                onClicked: player.toggle(detail.recording)
            }
            Button {
                objectName: "deleteMeeting"
                Layout.alignment: Qt.AlignTop
                text: "Delete"
                icon.source: "icons/trash.svg"
                icon.color: Theme.danger
                icon.width: 14
                icon.height: 14
                onClicked: deleteConfirm.open()
            }
        }

        Flickable {
            id: reader
            objectName: "meetingReader"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            // Focus given on opening is not shown until a key is used: a click that opened
            // the meeting should not frame the page.
            property bool quietFocus: false
            focus: true
            activeFocusOnTab: true
            boundsBehavior: Flickable.StopAtBounds
            contentWidth: width
            onActiveFocusChanged: if (!activeFocus) quietFocus = false
            Keys.onReleased: quietFocus = false
            contentHeight: sections.implicitHeight
            Keys.onPressed: event => scrollKeys.handle(event)
            ScrollBar.vertical: ScrollBar {}

            ScrollKeys {
                id: scrollKeys
                flickable: reader
            }

            ColumnLayout {
                id: sections
                width: reader.width - 12 // room for the scroll bar
                spacing: Theme.spacing

                Card {
                    Layout.fillWidth: true
                    Label {
                        text: "Notes"
                        color: Theme.text
                        font.pointSize: Theme.bodySize
                        font.weight: Font.DemiBold
                    }
                    SelectableText {
                        objectName: "meetingNotes"
                        Layout.fillWidth: true
                        visible: text !== ""
                        text: detail.meeting.notes || ""
                    }
                    Label {
                        Layout.fillWidth: true
                        visible: !detail.meeting.notes
                        text: "No notes were generated for this meeting."
                        color: Theme.textSecondary
                        wrapMode: Text.WordWrap
                    }
                }

                Card {
                    Layout.fillWidth: true
                    spacing: 10
                    Label {
                        text: "Transcript"
                        color: Theme.text
                        font.pointSize: Theme.bodySize
                        font.weight: Font.DemiBold
                    }
                    Repeater {
                        model: detail.segments
                        delegate: ColumnLayout {
                            id: segment
                            required property var modelData
                            Layout.fillWidth: true
                            spacing: 2
                            Label {
                                text: segment.modelData.speaker
                                color: Theme.text
                                font.weight: Font.Bold
                            }
                            SelectableText {
                                Layout.fillWidth: true
                                text: segment.modelData.text
                            }
                        }
                    }
                    SelectableText {
                        objectName: "meetingTranscript"
                        Layout.fillWidth: true
                        visible: detail.segments.length === 0 && text !== ""
                        text: detail.meeting.transcript || ""
                    }
                    Label {
                        Layout.fillWidth: true
                        visible: detail.segments.length === 0 && !detail.meeting.transcript
                        text: "No transcript is available for this meeting."
                        color: Theme.textSecondary
                        wrapMode: Text.WordWrap
                    }
                }
            }
        }
    }
    Rectangle {
        x: reader.x - 3
        y: reader.y - 3
        width: reader.width + 6
        height: reader.height + 6
        visible: reader.activeFocus && !reader.quietFocus
        color: "transparent"
        radius: Theme.radius
        border.color: Theme.accent
        border.width: 1
    }
}
