import QtQuick
import QtQuick.Controls.impl
import Ovrin.Ui

// One of our drawn icons (icons/<iconName>.svg) in a colour of the theme.
IconImage {
    property string iconName
    property int size: 18
    source: iconName !== "" ? "icons/" + iconName + ".svg" : ""
    sourceSize.width: size
    sourceSize.height: size
    color: Theme.text
}
