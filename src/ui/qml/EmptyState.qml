import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Ovrin.Ui

// What a list says when it has nothing to show.
ColumnLayout {
    id: empty
    property string iconName
    property string title
    property string message
    spacing: 8

    IconImage {
        Layout.alignment: Qt.AlignHCenter
        visible: empty.iconName !== ""
        source: empty.iconName !== "" ? "icons/" + empty.iconName + ".svg" : ""
        sourceSize.width: 40
        sourceSize.height: 40
        color: Theme.textSecondary
    }
    Label {
        Layout.alignment: Qt.AlignHCenter
        visible: text !== ""
        text: empty.title
        color: Theme.text
        font.pointSize: Theme.headingSize
        font.weight: Font.DemiBold
    }
    Label {
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: 420
        visible: text !== ""
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        text: empty.message
        color: Theme.textSecondary
    }
}
