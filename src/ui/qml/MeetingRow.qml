import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One meeting in the list; clicking it (or Enter on it) opens its notes.
ItemDelegate {
    id: row
    required property int index
    required property var model
    readonly property bool current: ListView.isCurrentItem && Window.activeFocusItem === ListView.view
    objectName: "meeting-" + model.id
    text: model.title
    focusPolicy: Qt.NoFocus
    padding: 12
    leftPadding: 14
    rightPadding: 14

    background: Rectangle {
        radius: Theme.smallRadius
        color: row.current ? Theme.accentSoft : (row.hovered ? Theme.surfaceAlt : Theme.surface)
        border.width: 1
        border.color: row.current ? Theme.accent : Theme.border
    }
    contentItem: RowLayout {
        spacing: 12
        ThemedIcon {
            iconName: "waveform"
            size: 18
            color: Theme.accent
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: row.model.title
                color: Theme.text
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Label {
                text: Formats.day(row.model.date)
                color: Theme.textSecondary
                font.pointSize: Theme.captionSize
            }
        }
        Label {
            text: Formats.duration(row.model.durationSec)
            color: Theme.textSecondary
        }
    }
}
