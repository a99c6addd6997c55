import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.App

// What the signed-in user sees first: the state of the assistant and its hotkeys.
Pane {
    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 12
        Label {
            text: "Talk to your Mac"
            font.pointSize: 20
            font.bold: true
        }
        Label {
            objectName: "homeHint"
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            text: "Hold " + AppModel.hotkeyName + " anywhere to dictate. Use the shortcuts below for AI and screen help."
        }
        Label {
            objectName: "activityStatus"
            text: AppModel.activityText
        }
        Label {
            text: "Backend " + (AppModel.backendReachable ? "online" : "offline")
        }
        Item {
            Layout.fillHeight: true
        }
    }
}
