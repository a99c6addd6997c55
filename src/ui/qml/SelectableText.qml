import QtQuick
import Ovrin.Ui

// Read-only text the user can select and copy, wrapped to its width.
TextEdit {
    readOnly: true
    selectByMouse: true
    activeFocusOnTab: false
    textFormat: TextEdit.PlainText
    wrapMode: TextEdit.Wrap
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    // Read as plain text by screen readers, like a label.
    Accessible.role: Accessible.StaticText
    Accessible.name: text
    onActiveFocusChanged: if (!activeFocus) deselect()

    // Puts the whole text on the clipboard without disturbing what the user selected.
    function copyAll() {
        const start = selectionStart, end = selectionEnd;
        selectAll();
        copy();
        select(start, end);
    }
}
