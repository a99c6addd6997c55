import QtQuick

// Up/Down, Page Up/Page Down and Home/End for a Flickable that has the keyboard focus:
// the reading lists scroll by lines and pages rather than by item, since one entry can be
// taller than the view.
QtObject {
    id: keys
    property Flickable flickable
    property real step: 48

    function scrollTo(y) {
        const top = flickable.originY - flickable.topMargin;
        const bottom = Math.max(top, flickable.originY + flickable.contentHeight + flickable.bottomMargin - flickable.height);
        flickable.contentY = Math.max(top, Math.min(bottom, y));
    }

    function handle(event) {
        const y = flickable.contentY;
        const page = Math.max(keys.step, flickable.height - keys.step);
        switch (event.key) {
        case Qt.Key_Up:
            scrollTo(y - keys.step);
            break;
        case Qt.Key_Down:
            scrollTo(y + keys.step);
            break;
        case Qt.Key_PageUp:
            scrollTo(y - page);
            break;
        case Qt.Key_PageDown:
            scrollTo(y + page);
            break;
        case Qt.Key_Home:
            // A list only estimates the height of rows it has not built yet.
            if (typeof flickable.positionViewAtBeginning === "function")
                flickable.positionViewAtBeginning();
            else
                scrollTo(-Infinity);
            break;
        case Qt.Key_End:
            if (typeof flickable.positionViewAtEnd === "function")
                flickable.positionViewAtEnd();
            else
                scrollTo(Infinity);
            break;
        default:
            return;
        }
        event.accepted = true;
    }
}
