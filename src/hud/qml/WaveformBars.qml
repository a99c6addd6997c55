import QtQuick

// Five bars whose heights follow the microphone level.
Item {
    id: bars
    property color tint: "white"
    property real level: 0
    readonly property var mins: [5, 7, 8, 7, 5]
    readonly property var maxs: [13, 19, 22, 18, 12]
    readonly property real clamped: Math.max(0, Math.min(1, level))

    implicitWidth: 5 * 3 + 4 * 3
    implicitHeight: 22

    Row {
        anchors.centerIn: parent
        spacing: 3
        Repeater {
            model: 5
            Rectangle {
                required property int index
                width: 3
                radius: 1.5
                anchors.verticalCenter: parent.verticalCenter
                color: bars.tint
                height: bars.mins[index] + (bars.maxs[index] - bars.mins[index]) * bars.clamped
                Behavior on height  {
                    NumberAnimation {
                        duration: 120
                        easing.type: Easing.OutQuad
                    }
                }
            }
        }
    }
}
