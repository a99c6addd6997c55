import QtQuick
import QtQuick.Controls.impl
import Ovrin.Ui

// One of our drawn symbols (icons/<symbol>.svg) in a colour of the theme.
IconImage {
    property string symbol
    property int size: 18
    source: symbol !== "" ? "icons/" + symbol + ".svg" : ""
    sourceSize.width: size
    sourceSize.height: size
    color: Theme.text
}
