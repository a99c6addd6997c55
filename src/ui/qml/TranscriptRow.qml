import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One dictation in the transcripts list: when, what, and a button to copy it.
Card {
    id: row
    required property var date
    required property string text
    width: ListView.view ? ListView.view.width : implicitWidth
    padding: 14
    spacing: 6

    RowLayout {
        Layout.fillWidth: true
        spacing: 8
        Label {
            Layout.fillWidth: true
            text: Formats.dueDate(row.date)
            color: Theme.textSecondary
            font.pointSize: Theme.captionSize
        }
        ToolButton {
            objectName: "copyTranscript"
            text: "Copy"
            display: AbstractButton.IconOnly
            icon.source: "icons/edit-copy.svg"
            icon.color: Theme.textSecondary
            icon.width: 16
            icon.height: 16
            implicitWidth: 28
            implicitHeight: 28
            ToolTip.visible: hovered
            ToolTip.text: text
            onClicked: body.copyAll()
        }
    }
    SelectableText {
        id: body
        Layout.fillWidth: true
        text: row.text
    }
}
