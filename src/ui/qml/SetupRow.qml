import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// Something the setup still lacks: what it is, why it matters, and the button that fixes
// it. Children go under the explanation.
RowLayout {
    id: row
    property string iconName
    property color iconColor: Theme.warning
    property string title
    property string detail
    property string actionText: "Enable"
    default property alias extra: texts.data
    signal triggered

    Layout.fillWidth: true
    spacing: Theme.spacing

    Rectangle {
        Layout.alignment: Qt.AlignTop
        implicitWidth: 32
        implicitHeight: 32
        radius: Theme.smallRadius
        color: Theme.surfaceAlt
        ThemedIcon {
            anchors.centerIn: parent
            iconName: row.iconName
            size: 16
            color: row.iconColor
        }
    }
    ColumnLayout {
        id: texts
        Layout.fillWidth: true
        spacing: 2
        Label {
            Layout.fillWidth: true
            text: row.title
            color: Theme.text
            font.weight: Font.DemiBold
            elide: Text.ElideRight
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
    Button {
        Layout.alignment: Qt.AlignVCenter
        text: row.actionText
        Accessible.name: row.actionText + " " + row.title
        onClicked: row.triggered()
    }
}
