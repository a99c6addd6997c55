// A settings field for one hotkey: shows it, records a new one when clicked (or on Space /
// Enter while focused) and has a clear button. Colours come from the system palette unless
// the window sets its own (fillColor, accentColor, lineColor, textColor).
import QtQuick
import Ovrin.Hotkeys

Rectangle {
    id: field

    // As ShortcutRecorder.shortcut: {"modifiers": n, "keyCode": n?, "keyLabel": s?}.
    property alias shortcut: recorder.shortcut
    property alias recorder: recorder
    // The name of the key that acts as fn, for the shortcuts that use it.
    property alias fnKeyName: recorder.fnKeyName
    // The user recorded or cleared the shortcut; the one to save.
    signal edited(var shortcut)

    readonly property bool highlighted: recorder.recording || activeFocus
    property color fillColor: colors.button
    property color accentColor: colors.highlight
    property color lineColor: colors.mid
    property color textColor: colors.buttonText

    implicitWidth: Math.max(160, label.implicitWidth + 2 * clearButton.width + 24)
    implicitHeight: Math.max(28, label.implicitHeight + 12)
    radius: 6
    color: recorder.recording ? Qt.rgba(accentColor.r, accentColor.g, accentColor.b, 0.15)
                              : fillColor
    border.width: highlighted ? 2 : 1
    border.color: highlighted ? accentColor : lineColor

    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: recorder.label
    Accessible.onPressAction: recorder.toggle()
    Keys.onSpacePressed: recorder.toggle()
    Keys.onReturnPressed: recorder.toggle()
    Keys.onEnterPressed: recorder.toggle()

    ShortcutRecorder {
        id: recorder
        onEdited: field.edited(field.shortcut)
    }

    SystemPalette {
        id: colors
        colorGroup: field.enabled ? SystemPalette.Active : SystemPalette.Disabled
    }

    MouseArea {
        anchors.fill: parent
        onClicked: {
            field.forceActiveFocus(Qt.MouseFocusReason)
            recorder.toggle()
        }
    }

    Text {
        id: label
        objectName: "label"
        anchors.verticalCenter: parent.verticalCenter
        anchors.left: parent.left
        anchors.right: parent.right
        // Room for the clear button on both sides keeps the text centred.
        anchors.leftMargin: clearButton.width + 12
        anchors.rightMargin: clearButton.width + 12
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        text: recorder.label
        color: field.textColor
        // The prompts are dimmer than a shortcut.
        opacity: recorder.recording || recorder.empty ? 0.6 : 1
    }

    Item {
        id: clearButton
        objectName: "clearButton"
        anchors.verticalCenter: parent.verticalCenter
        anchors.right: parent.right
        anchors.rightMargin: 6
        width: 16
        height: 16
        // Always beside the field; there is nothing to clear while it is empty.
        enabled: !recorder.empty
        Accessible.role: Accessible.Button
        Accessible.name: qsTr("Clear")
        Accessible.onPressAction: recorder.clear()

        Image {
            anchors.fill: parent
            source: "icons/edit-clear.svg"
            sourceSize: Qt.size(32, 32)
            opacity: !clearButton.enabled ? 0.3 : clearArea.containsMouse ? 1 : 0.8
        }
        MouseArea {
            id: clearArea
            anchors.fill: parent
            anchors.margins: -4
            hoverEnabled: true
            onClicked: recorder.clear()
        }
    }
}
