import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// Recordings whose upload failed: kept on disk until the user sends or deletes them.
Card {
    id: card
    objectName: "unsentCard"
    signal deleteRequested(string path)
    visible: MeetingStore.unsentRecordings.length > 0
    border.color: Theme.warning

    RowLayout {
        spacing: 8
        ThemedIcon {
            iconName: "dialog-warning"
            size: 16
            color: Theme.warning
        }
        Label {
            text: "Not uploaded yet"
            color: Theme.text
            font.weight: Font.DemiBold
        }
    }
    Label {
        Layout.fillWidth: true
        text: "These recordings didn't reach the server. They stay on this computer until you retry or delete them."
        color: Theme.textSecondary
        wrapMode: Text.WordWrap
    }
    Repeater {
        model: MeetingStore.unsentRecordings
        delegate: RowLayout {
            id: unsent
            required property string modelData
            Layout.fillWidth: true
            spacing: 8
            ThemedIcon {
                iconName: "waveform"
                size: 16
                color: Theme.textSecondary
            }
            Label {
                Layout.fillWidth: true
                text: unsent.modelData.substring(unsent.modelData.lastIndexOf("/") + 1)
                color: Theme.text
                elide: Text.ElideMiddle
            }
            Button {
                objectName: "retryUpload"
                text: "Retry upload"
                icon.source: "icons/view-refresh.svg"
                icon.color: Theme.text
                icon.width: 14
                icon.height: 14
                onClicked: MeetingStore.retryUpload(unsent.modelData)
            }
            ToolButton {
                objectName: "deleteUnsent"
                text: "Delete"
                display: AbstractButton.IconOnly
                icon.source: "icons/trash.svg"
                icon.color: Theme.danger
                icon.width: 16
                icon.height: 16
                ToolTip.visible: hovered
                ToolTip.text: text
                onClicked: card.deleteRequested(unsent.modelData)
            }
        }
    }
}
