import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// A scrolling column of rows for the workspace pages. Up and Down move to the same control
// of the row above or below (a control names its kind in `navRole`); the focused control is
// kept in sight; and since every change to a store list builds the rows afresh, the control
// that had the focus (by its `focusKey`) gets it back in the rebuilt rows.
ScrollView {
    id: view
    default property alias content: column.data

    property string pendingKey: ""
    property Item pendingTarget: null

    contentWidth: availableWidth
    spacing: Theme.spacing
    rightPadding: 14 // room for the scroll bar, which Fusion lays over the content
    clip: true

    ColumnLayout {
        id: column
        width: view.availableWidth
        spacing: view.spacing
    }

    Keys.onUpPressed: event => event.accepted = view.moveFocus(false)
    Keys.onDownPressed: event => event.accepted = view.moveFocus(true)

    Connections {
        target: view.Window.window
        function onActiveFocusItemChanged() {
            view.reveal(view.Window.activeFocusItem);
        }
    }

    // Before a change that rebuilds the rows: the control with this key takes the focus
    // once it is built again, if `control` has the focus now.
    function keepFocus(control, key) {
        if (!control.activeFocus)
            return;
        view.pendingKey = key;
        view.pendingTarget = null;
        Qt.callLater(view.restoreFocus);
    }

    // Before `control`'s row goes: the same control of the next row (or of the one before,
    // for the last row) takes the focus.
    function focusAfterRemoving(control) {
        const next = neighbour(control, true) || neighbour(control, false);
        if (next)
            keepFocus(control, next.focusKey);
    }

    // Every focusable control of a row calls this when it is built.
    function adopt(control) {
        if (view.pendingKey !== "" && control.focusKey === view.pendingKey)
            view.pendingTarget = control;
    }

    function restoreFocus() {
        const target = view.pendingTarget;
        view.pendingKey = "";
        view.pendingTarget = null;
        if (target)
            target.forceActiveFocus(Qt.OtherFocusReason);
    }

    function contains(item) {
        for (let inside = item; inside; inside = inside.parent) {
            if (inside === column)
                return true;
        }
        return false;
    }

    // The next control of the same kind along the Tab chain, within this list.
    function neighbour(control, forward) {
        let item = control;
        for (let step = 0; step < 10000; ++step) {
            item = item.nextItemInFocusChain(forward);
            if (!item || item === control || !contains(item))
                return null;
            if (item.navRole === control.navRole && item.visible && item.enabled)
                return item;
        }
        return null;
    }

    function moveFocus(forward) {
        const control = view.Window.activeFocusItem;
        if (!control || control.navRole === undefined || !contains(control))
            return false;
        const next = neighbour(control, forward);
        if (next)
            next.forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }

    function reveal(item) {
        if (!item || !contains(item))
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
