import QtQuick
import QtQuick.Controls

// The small panel shown while the user speaks and while the answer is being made.
Rectangle {
    id: pill
    property string captureMode: "paste"
    property bool processing: false
    property real level: 0
    property bool translucent: true

    readonly property var titles: ({
            "paste": processing ? "Transcribing…" : "Listening",
            "ask": processing ? "Thinking…" : "Ask AI",
            "screen": processing ? "Reading screen…" : "Read screen"
        })
    readonly property var icons: ({
            "paste": processing ? "waveform" : "mic.fill",
            "ask": "sparkles",
            "screen": processing ? "rectangle.dashed.badge.record" : "camera.viewfinder"
        })
    // Dictation is a single colour; the question modes have gradients of their own.
    readonly property var accents: ({
            "paste": ["#3b82f6", "#3b82f6"],
            "ask": ["#8b5cf6", "#ec4899"],
            "screen": ["#14b8a6", "#3b82f6"]
        })
    readonly property var accent: accents[captureMode] || accents["paste"]

    implicitWidth: 220
    implicitHeight: 60
    radius: height / 2
    color: translucent ? Qt.rgba(0.08, 0.08, 0.09, 0.92) : "#151517"
    border.color: Qt.rgba(1, 1, 1, 0.12)
    border.width: 1

    Row {
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 18
        spacing: 10

        Rectangle {
            id: badge
            width: 36
            height: 36
            radius: 18
            anchors.verticalCenter: parent.verticalCenter
            gradient: Gradient {
                orientation: Gradient.Horizontal
                GradientStop {
                    position: 0
                    color: pill.accent[0]
                }
                GradientStop {
                    position: 1
                    color: pill.accent[1]
                }
            }
            Image {
                anchors.centerIn: parent
                source: "../icons/" + (pill.icons[pill.captureMode] || "mic.fill") + ".svg"
                sourceSize.width: 18
                sourceSize.height: 18
            }
        }

        Text {
            id: title
            objectName: "pillTitle"
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - badge.width - indicator.width - 2 * parent.spacing
            text: pill.titles[pill.captureMode] || pill.titles["paste"]
            color: "white"
            font.pointSize: 12.5
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }

        Item {
            id: indicator
            width: 30
            height: 22
            anchors.verticalCenter: parent.verticalCenter
            WaveformBars {
                objectName: "waveform"
                anchors.centerIn: parent
                visible: !pill.processing
                level: pill.level
                tint: pill.accent[1]
            }
            BusyIndicator {
                objectName: "progress"
                anchors.centerIn: parent
                width: 22
                height: 22
                visible: pill.processing
                running: visible
            }
        }
    }
}
