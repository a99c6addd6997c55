pragma Singleton
import QtQuick
import Ovrin.Ui

// The window's colours and measures, light or dark as the theme store says.
QtObject {
    readonly property bool dark: ThemeStore.dark

    readonly property color window: dark ? "#1c1d21" : "#f6f7f9"
    readonly property color sidebar: dark ? "#232429" : "#eceef2"
    readonly property color surface: dark ? "#2a2b31" : "#ffffff"
    readonly property color surfaceAlt: dark ? "#33353c" : "#f0f2f5"
    readonly property color border: dark ? "#3d3f47" : "#dde0e6"
    readonly property color text: dark ? "#ecedf0" : "#1d1f24"
    readonly property color textSecondary: dark ? "#a4a7b0" : "#5f6470"
    readonly property color accent: dark ? "#7c8cff" : "#4f5bd5"
    readonly property color accentSoft: dark ? "#34385a" : "#e3e6fb"
    readonly property color accentText: "#ffffff"
    readonly property color danger: dark ? "#ff6b6b" : "#c62828"
    readonly property color dangerSoft: dark ? "#4a2a2d" : "#fdecea"
    readonly property color success: dark ? "#4cc38a" : "#1f8a4c"
    readonly property color warning: dark ? "#f0b429" : "#b26a00"

    readonly property int radius: 10
    readonly property int smallRadius: 6
    readonly property int pagePadding: 28
    readonly property int spacing: 12

    readonly property real titleSize: 20
    readonly property real headingSize: 12.5
    readonly property real bodySize: 10
    readonly property real captionSize: 8.5
}
