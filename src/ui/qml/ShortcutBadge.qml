import QtQuick
import QtQuick.Controls
import Ovrin.Ui

// A key or key combination, drawn like a keycap.
Rectangle {
    id: badge
    property string text
    implicitWidth: label.implicitWidth + 20
    implicitHeight: label.implicitHeight + 8
    radius: Theme.smallRadius
    color: Theme.surfaceAlt
    border.color: Theme.border
    border.width: 1

    Label {
        id: label
        anchors.centerIn: parent
        text: badge.text
        color: Theme.text
        font.weight: Font.DemiBold
    }
}
