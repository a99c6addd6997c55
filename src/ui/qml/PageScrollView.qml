import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// Page content that can be taller than the window: a column that scrolls and brings the
// control that takes keyboard focus into sight, so Tab never lands on something hidden.
ScrollView {
    id: view
    default property alias items: column.data
    contentWidth: availableWidth
    clip: true

    ColumnLayout {
        id: column
        width: view.availableWidth
        spacing: Theme.spacing
    }

    Connections {
        target: view.Window.window
        function onActiveFocusItemChanged() {
            view.reveal(view.Window.activeFocusItem);
        }
    }

    function reveal(item) {
        let inside = item;
        while (inside && inside !== column)
            inside = inside.parent;
        if (!inside)
            return;
        const flick = view.contentItem;
        const top = item.mapToItem(column, 0, 0).y - 8;
        const bottom = top + item.height + 16;
        let y = flick.contentY;
        if (top < y)
            y = top;
        else if (bottom > y + flick.height)
            y = bottom - flick.height;
        flick.contentY = Math.max(0, Math.min(y, flick.contentHeight - flick.height));
    }
}
