// The "Add to dictionary?" banner: the corrected word, an Add button and a close button on a
// dark rounded card inside a transparent margin that holds its shadow. Dark in every theme.
import QtQuick

Item {
    id: banner

    required property string corrected
    signal add()
    signal dismiss()

    // The panel says whether alpha blends; if not, the card is opaque and has no shadow
    // (the window is clipped to the card).
    readonly property bool translucent: Window.window ? Window.window.translucent === true : false
    readonly property int shadowPad: 30

    Item {
        id: shadow
        visible: banner.translucent
        anchors.fill: card
        anchors.topMargin: 6
        anchors.bottomMargin: -6
        // A soft shadow (black 40 %, about 18 wide) from rounded rings that widen and fade.
        Repeater {
            model: 6
            Rectangle {
                required property int index
                anchors.fill: parent
                anchors.margins: -3 * (index + 1)
                radius: card.radius + 3 * (index + 1)
                color: "transparent"
                border.width: 3
                border.color: Qt.rgba(0, 0, 0, 0.4 * Math.pow(1 - (index + 1) / 7, 2))
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: card.radius
            color: Qt.rgba(0, 0, 0, 0.4)
        }
    }

    Rectangle {
        id: card
        objectName: "card"
        anchors.fill: parent
        anchors.margins: banner.shadowPad
        radius: 14
        color: banner.translucent ? Qt.rgba(0, 0, 0, 0.86) : "#1f1f21"
        border.width: 1
        border.color: Qt.rgba(1, 1, 1, 0.12)

        Row {
            id: row
            anchors.fill: parent
            anchors.leftMargin: 16
            anchors.rightMargin: 14
            spacing: 12

            Image {
                anchors.verticalCenter: parent.verticalCenter
                width: 16
                height: 16
                sourceSize: Qt.size(32, 32)
                source: "icons/dictionary.svg"
            }

            Column {
                anchors.verticalCenter: parent.verticalCenter
                width: row.width - 16 - addButton.width - closeButton.width - 3 * row.spacing
                spacing: 2

                Text {
                    text: qsTr("Add to dictionary?")
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                    color: "white"
                    opacity: 0.55
                    font.pixelSize: 11
                    font.weight: Font.Medium
                }
                Text {
                    objectName: "correctedText"
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                    width: parent.width
                    text: banner.corrected
                    color: "white"
                    elide: Text.ElideRight
                    font.pixelSize: 13
                    font.weight: Font.DemiBold
                }
            }

            Rectangle {
                id: addButton
                objectName: "addButton"
                Accessible.role: Accessible.Button
                Accessible.name: addLabel.text
                Accessible.onPressAction: banner.add()
                anchors.verticalCenter: parent.verticalCenter
                width: addLabel.implicitWidth + 24
                height: 26
                radius: 7
                color: addArea.pressed ? Qt.rgba(1, 1, 1, 0.28)
                                       : addArea.containsMouse ? Qt.rgba(1, 1, 1, 0.22)
                                                               : Qt.rgba(1, 1, 1, 0.16)
                Text {
                    id: addLabel
                    anchors.centerIn: parent
                    text: qsTr("Add")
                    color: "white"
                    font.pixelSize: 12
                    font.weight: Font.DemiBold
                }
                MouseArea {
                    id: addArea
                    anchors.fill: parent
                    hoverEnabled: true
                    onClicked: banner.add()
                }
            }

            Rectangle {
                id: closeButton
                objectName: "closeButton"
                Accessible.role: Accessible.Button
                Accessible.name: qsTr("Close")
                Accessible.onPressAction: banner.dismiss()
                anchors.verticalCenter: parent.verticalCenter
                width: 22
                height: 22
                radius: 11
                color: Qt.rgba(1, 1, 1, closeArea.containsMouse ? 0.14 : 0.08)
                Image {
                    anchors.centerIn: parent
                    width: 10
                    height: 10
                    sourceSize: Qt.size(20, 20)
                    source: "icons/window-close.svg"
                    opacity: 0.6
                }
                MouseArea {
                    id: closeArea
                    anchors.fill: parent
                    hoverEnabled: true
                    onClicked: banner.dismiss()
                }
            }
        }
    }
}
