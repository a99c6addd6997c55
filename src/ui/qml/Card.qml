import QtQuick
import QtQuick.Layouts
import Ovrin.Ui

// A rounded panel on the page; children are laid out in a column.
Rectangle {
    id: card
    default property alias content: column.data
    property int padding: 16
    property alias spacing: column.spacing
    implicitHeight: column.implicitHeight + 2 * padding
    implicitWidth: column.implicitWidth + 2 * padding
    radius: Theme.radius
    color: Theme.surface
    border.color: Theme.border
    border.width: 1

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: card.padding
        spacing: 8
    }
}
