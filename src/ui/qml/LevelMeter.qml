import QtQuick
import Ovrin.Ui

// The input level as a bar. The level is RMS in full-scale units; the bar follows it in
// decibels from -50 dBFS, so speech fills a good part of it rather than a sliver.
Rectangle {
    id: meter
    property real level
    readonly property real fraction: level > 0 ? Math.max(0, Math.min(1, (20 * Math.log10(level) + 50) / 50)) : 0
    implicitWidth: 160
    implicitHeight: 8
    radius: height / 2
    color: Theme.surfaceAlt
    border.color: Theme.border
    border.width: 1

    Rectangle {
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: Math.max(meter.fraction > 0 ? meter.height : 0, parent.width * meter.fraction)
        radius: meter.radius
        color: meter.fraction > 0.9 ? Theme.warning : Theme.success
    }
}
