import QtQuick

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
            "paste": processing ? "waveform" : "microphone",
            "ask": "ask-ai",
            "screen": processing ? "screen-read-processing" : "screen-read"
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
        anchors.rightMargin: 16
        spacing: 9

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
                source: "icons/" + (pill.icons[pill.captureMode] || "microphone") + ".svg"
                sourceSize.width: 18
                sourceSize.height: 18
            }
        }

        Text {
            id: title
            objectName: "pillTitle"
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - badge.width - indicator.width - 2 * parent.spacing
            text: pill.titles[pill.captureMode] || pill.titles["paste"]
            color: "white"
            font.pointSize: 12.5
            font.weight: Font.DemiBold
            // "Reading screen…" must fit beside the badge and the meter.
            fontSizeMode: Text.HorizontalFit
            minimumPointSize: 9
        }

        Item {
            id: indicator
            width: 27
            height: 22
            anchors.verticalCenter: parent.verticalCenter
            WaveformBars {
                objectName: "waveform"
                anchors.centerIn: parent
                visible: !pill.processing
                level: pill.level
                tint: pill.accent[1]
            }
            // A light arc that turns while the answer is being made.
            Canvas {
                objectName: "progress"
                anchors.centerIn: parent
                width: 18
                height: 18
                visible: pill.processing
                onPaint: {
                    const ctx = getContext("2d");
                    ctx.reset();
                    ctx.lineWidth = 2.2;
                    ctx.lineCap = "round";
                    ctx.strokeStyle = Qt.rgba(1, 1, 1, 0.2);
                    ctx.beginPath();
                    ctx.arc(9, 9, 7, 0, 2 * Math.PI);
                    ctx.stroke();
                    ctx.strokeStyle = "white";
                    ctx.beginPath();
                    ctx.arc(9, 9, 7, -Math.PI / 2, Math.PI / 3);
                    ctx.stroke();
                }
                RotationAnimator on rotation {
                    from: 0
                    to: 360
                    duration: 900
                    loops: Animation.Infinite
                    running: pill.processing && pill.visible
                }
            }
        }
    }
}
