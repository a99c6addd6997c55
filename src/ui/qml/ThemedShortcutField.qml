import QtQuick
import Ovrin.Ui
import Ovrin.Hotkeys

// The hotkey field in the window's colours rather than the system's, naming the fn key as
// the user chose it.
ShortcutField {
    fnKeyName: FnKey.label
    fillColor: Theme.surfaceAlt
    accentColor: Theme.accent
    lineColor: Theme.border
    textColor: Theme.text
}
