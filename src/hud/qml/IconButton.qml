import QtQuick

// A small round header button showing one of our monochrome icons.
Rectangle {
    id: button
    property string icon
    property string tip
    signal clicked

    width: 24
    height: 24
    radius: 12
    color: area.containsMouse ? Qt.rgba(1, 1, 1, 0.16) : Qt.rgba(1, 1, 1, 0.08)
    Accessible.role: Accessible.Button
    Accessible.name: tip

    Image {
        anchors.centerIn: parent
        source: "icons/" + button.icon + ".svg"
        sourceSize.width: 12
        sourceSize.height: 12
        opacity: 0.85
    }
    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
