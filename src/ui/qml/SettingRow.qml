import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One setting: its name and an optional explanation at the left, its controls at the right.
RowLayout {
    id: row
    property string title
    property string detail
    default property alias controls: controlRow.data

    Layout.fillWidth: true
    spacing: Theme.spacing * 2

    ColumnLayout {
        Layout.fillWidth: true
        Layout.alignment: Qt.AlignVCenter
        spacing: 2
        Label {
            Layout.fillWidth: true
            text: row.title
            color: Theme.text
            wrapMode: Text.WordWrap
        }
        Label {
            Layout.fillWidth: true
            visible: text !== ""
            text: row.detail
            color: Theme.textSecondary
            font.pointSize: Theme.captionSize
            wrapMode: Text.WordWrap
        }
    }
    RowLayout {
        id: controlRow
        Layout.alignment: Qt.AlignVCenter | Qt.AlignRight
        spacing: 8
    }
}
