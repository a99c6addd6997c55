import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// The name of a group of rows and how many it holds.
RowLayout {
    id: header
    property string name
    property int count
    // "No project" is not a project: no folder for it.
    property bool isProject: true
    spacing: 6

    ThemedIcon {
        iconName: header.isProject ? "folder" : "circle"
        size: 14
        color: header.isProject ? Theme.accent : Theme.textSecondary
    }
    Label {
        text: header.name
        color: Theme.text
        font.weight: Font.DemiBold
        elide: Text.ElideRight
        // Its own width when there is room, elided when there is not.
        Layout.fillWidth: true
        Layout.maximumWidth: Math.ceil(implicitWidth) // layouts round widths down
    }
    Label {
        text: String(header.count)
        color: Theme.textSecondary
        font.pointSize: Theme.captionSize
    }
    Item {
        Layout.fillWidth: true
    }
}
