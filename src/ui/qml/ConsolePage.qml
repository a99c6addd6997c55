import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The activity log as it is written. The view keeps to the newest line while it is at the
// end, and stays put while the reader has scrolled back.
PageScaffold {
    id: page
    readonly property string logText: AppModel.logLines.join("\n")

    title: "Console"
    subtitle: "What Ovrin is doing under the hood."

    actions: [
        Button {
            objectName: "copyAll"
            text: "Copy all"
            icon.source: "icons/edit-copy.svg"
            enabled: AppModel.logLines.length > 0
            onClicked: {
                clipboardHelper.text = page.logText;
                clipboardHelper.selectAll();
                clipboardHelper.copy();
                clipboardHelper.text = "";
            }
        }
    ]

    // Copies without disturbing the reader's selection in the log.
    TextEdit {
        id: clipboardHelper
        visible: false
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: Theme.surface
        border.color: logText.activeFocus ? Theme.accent : Theme.border
        border.width: 1

        Flickable {
            id: logView
            objectName: "logView"
            // Whether the view shows the last line: new lines then scroll into sight.
            property bool following: true

            anchors.fill: parent
            anchors.margins: 1
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            contentWidth: width
            contentHeight: logText.height
            ScrollBar.vertical: ScrollBar {}

            function toEnd() {
                contentY = Math.max(0, contentHeight - height);
            }
            function scrollBy(dy) {
                contentY = Math.max(0, Math.min(contentY + dy, contentHeight - height));
            }
            onContentYChanged: following = contentY >= contentHeight - height - 4
            onContentHeightChanged: if (following) toEnd()
            onHeightChanged: if (following) toEnd()

            // A plain TextEdit: a TextArea attached here would scroll to its cursor, which
            // goes back to the top whenever the log is replaced.
            TextEdit {
                id: logText
                objectName: "logText"
                width: logView.width
                padding: 12
                text: page.logText
                readOnly: true
                selectByMouse: true
                selectByKeyboard: true
                activeFocusOnTab: true
                wrapMode: TextEdit.WrapAnywhere
                font.family: "monospace"
                font.pointSize: Theme.captionSize + 0.5
                color: Theme.text
                selectionColor: Theme.accent
                selectedTextColor: Theme.accentText
                Accessible.name: "Console log"
                Keys.onPressed: event => {
                    const step = logView.height - 40;
                    if (event.key === Qt.Key_PageDown)
                        logView.scrollBy(step);
                    else if (event.key === Qt.Key_PageUp)
                        logView.scrollBy(-step);
                    else if (event.key === Qt.Key_End && event.modifiers & Qt.ControlModifier)
                        logView.toEnd();
                    else if (event.key === Qt.Key_Home && event.modifiers & Qt.ControlModifier)
                        logView.contentY = 0;
                    else
                        return;
                    event.accepted = true;
                }
            }
        }

        Label {
            anchors.centerIn: parent
            visible: AppModel.logLines.length === 0
            text: "Nothing logged yet."
            color: Theme.textSecondary
        }
    }
}
