import QtQuick

// Everything drawn inside the floating HUD panel: the pill while the user speaks or waits,
// the card for an answer or an error. The panel is 44 points larger than its content on every
// side, room for the shadow.
Item {
    id: view
    required property var hudState
    // The previous interactions (HUDHistory); may be null.
    property var history: null
    // The panel says whether alpha blends; without that the window is clipped to the content
    // and no shadow is drawn.
    readonly property bool translucent: Window.window ? Window.window.translucent === true : false
    readonly property bool pill: hudState.modeKind === "recording" || hudState.modeKind === "processing"

    // A soft shadow under the content when the desktop can blend it; none otherwise.
    Repeater {
        model: view.translucent && view.hudState.modeKind !== "hidden" ? 6 : 0
        Rectangle {
            required property int index
            anchors.fill: content
            anchors.margins: -(index * 3 + 2)
            anchors.topMargin: -(index * 3 + 2) + 6
            anchors.bottomMargin: -(index * 3 + 2) - 6
            radius: (view.pill ? content.height / 2 : 16) + index * 3 + 2
            color: "transparent"
            border.color: Qt.rgba(0, 0, 0, 0.07)
            border.width: 3
        }
    }

    Item {
        id: content
        anchors.fill: parent
        anchors.margins: 44

        CapturePill {
            objectName: "capturePill"
            anchors.fill: parent
            visible: view.pill
            captureMode: view.hudState.captureMode
            processing: view.hudState.modeKind === "processing"
            level: view.hudState.level
            translucent: view.translucent
        }
        ResponseCard {
            objectName: "responseCard"
            anchors.fill: parent
            visible: view.hudState.modeKind === "response" || view.hudState.modeKind === "error"
            hudState: view.hudState
            historyEntries: view.history ? view.history.interactions : []
            translucent: view.translucent
        }
    }
}
