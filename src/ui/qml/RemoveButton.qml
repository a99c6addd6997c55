import QtQuick
import QtQuick.Controls
import Ovrin.Ui

// The trash button at the end of a row; red while the pointer is on it.
ToolButton {
    id: button
    // What goes, for screen readers and the tooltip: "Delete <what>".
    property string what
    readonly property string navRole: "delete"
    property string focusKey

    text: "Delete"
    display: AbstractButton.IconOnly
    icon.source: "icons/trash.svg"
    icon.width: 16
    icon.height: 16
    icon.color: hovered || visualFocus ? Theme.danger : Theme.textSecondary
    Accessible.name: what !== "" ? "Delete " + what : "Delete"
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: "Delete"
}
