import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// A failure in words, shown only while there is one.
Rectangle {
    id: banner
    property string text
    visible: text !== ""
    implicitHeight: visible ? label.implicitHeight + 16 : 0
    radius: Theme.smallRadius
    color: Theme.dangerSoft
    border.color: Theme.danger
    border.width: 1

    Label {
        id: label
        anchors.fill: parent
        anchors.margins: 8
        anchors.leftMargin: 12
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.WordWrap
        color: Theme.danger
        text: banner.text
    }
}
