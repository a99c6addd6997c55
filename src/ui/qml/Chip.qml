import QtQuick
import QtQuick.Controls
import Ovrin.Ui

// A small rounded tag: a category (plain) or a project (`accented`).
Rectangle {
    id: chip
    property alias text: label.text
    property bool accented: false
    implicitWidth: label.implicitWidth + 14
    implicitHeight: label.implicitHeight + 4
    radius: height / 2
    color: accented ? Theme.accentSoft : Theme.surfaceAlt
    border.width: accented ? 0 : 1
    border.color: Theme.border

    Label {
        id: label
        anchors.centerIn: parent
        color: chip.accented ? Theme.accent : Theme.textSecondary
        font.pointSize: Theme.captionSize
    }
}
