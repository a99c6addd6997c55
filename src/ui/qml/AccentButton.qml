import QtQuick
import QtQuick.Controls
import Ovrin.Ui

// A button that is the main action where it stands, filled with the accent colour; with
// `accented` off it is a plain button of the same shape, as in a row of choices.
Button {
    id: button
    property bool accented: true

    palette.buttonText: accented ? Theme.accentText : Theme.text
    background: Rectangle {
        implicitWidth: 80
        implicitHeight: 24
        radius: 3
        opacity: button.enabled ? 1 : 0.5
        color: button.accented
               ? (button.down ? Qt.darker(Theme.accent, 1.2)
                              : button.hovered ? Qt.lighter(Theme.accent, 1.1) : Theme.accent)
               : (button.down ? Theme.border : button.hovered ? Theme.surfaceAlt : Theme.surface)
        border.width: button.visualFocus ? 2 : 1
        border.color: button.visualFocus ? Theme.text
                                         : button.accented ? Qt.darker(Theme.accent, 1.15)
                                                           : Theme.border
    }
}
