import QtQuick
import QtQuick.Controls
import QtQuick.Window

// The answer (or error) card: header with actions, the question, the answer that follows a
// streamed text, the follow-up hint, and the list of earlier questions.
Rectangle {
    id: card
    required property var hudState
    property var historyEntries: []   // [{question, answer}], newest first
    property bool translucent: true
    property bool copied: false

    readonly property bool isError: hudState.modeKind === "error"
    readonly property string displayText: hudState.modeText

    color: translucent ? Qt.rgba(0.08, 0.08, 0.09, 0.94) : "#151517"
    radius: 16
    border.color: Qt.rgba(1, 1, 1, 0.12)
    border.width: 1

    HoverHandler {
        onHoveredChanged: card.hudState.hoverChanged(hovered)
    }

    // The card moves when its background is dragged; the panel remembers where.
    MouseArea {
        anchors.fill: parent
        cursorShape: pressed ? Qt.ClosedHandCursor : Qt.ArrowCursor
        onPressed: if (Window.window) Window.window.beginDrag()
        onPositionChanged: if (pressed && Window.window) Window.window.dragMoved()
    }

    // The clipboard is reached through an editor's copy(), the one QML has.
    TextEdit {
        id: copier
        visible: false
    }
    Timer {
        id: copiedReset
        interval: 1500
        onTriggered: card.copied = false
    }

    Row {
        id: header
        x: 18
        y: 14
        width: card.width - 36
        height: 24
        spacing: 8

        Image {
            anchors.verticalCenter: parent.verticalCenter
            source: "icons/" + (card.isError ? "dialog-warning" : "ask-ai") + ".svg"
            sourceSize.width: 15
            sourceSize.height: 15
            visible: !card.hudState.showingHistory
        }
        IconButton {
            anchors.verticalCenter: parent.verticalCenter
            visible: card.hudState.showingHistory
            icon: "go-previous"
            tip: "Back to answer"
            onClicked: card.hudState.toggleHistory()
        }
        Text {
            objectName: "cardTitle"
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            anchors.verticalCenter: parent.verticalCenter
            width: header.width - x - buttons.width - 8
            text: card.hudState.showingHistory ? "Back to answer" : (card.isError ? "Something went wrong" : "Ovrin")
            color: "white"
            font.pointSize: 12.5
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }
    }
    Row {
        id: buttons
        anchors.right: parent.right
        anchors.rightMargin: 14
        y: 14
        spacing: 6
        IconButton {
            objectName: "copyButton"
            visible: !card.hudState.showingHistory
            icon: card.copied ? "object-select" : "edit-copy"
            tip: "Copy"
            onClicked: {
                copier.text = card.displayText;
                copier.selectAll();
                copier.copy();
                card.copied = true;
                copiedReset.restart();
            }
        }
        IconButton {
            visible: !card.hudState.showingHistory
            icon: card.hudState.expanded ? "view-restore" : "view-fullscreen"
            tip: card.hudState.expanded ? "Collapse" : "Expand"
            onClicked: card.hudState.toggleExpand()
        }
        IconButton {
            visible: !card.isError && !card.hudState.showingHistory
            icon: "view-history"
            tip: "History"
            onClicked: card.hudState.toggleHistory()
        }
        IconButton {
            icon: "window-close"
            tip: "Close"
            onClicked: card.hudState.close()
        }
    }

    Flickable {
        id: body
        objectName: "answerScroll"
        visible: !card.hudState.showingHistory
        x: 18
        y: header.y + header.height + 12
        width: 404
        height: card.height - y - (footer.visible ? footer.height + 14 : 0) - 14
        contentHeight: column.height
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {
            policy: ScrollBar.AsNeeded
        }

        Column {
            id: column
            width: body.width
            spacing: 12
            Text {
                width: parent.width
                visible: card.hudState.question !== ""
                text: card.hudState.question
                Accessible.role: Accessible.StaticText
                Accessible.name: text
                color: Qt.rgba(1, 1, 1, 0.6)
                font.pointSize: 12.5
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
            Text {
                id: answer
                objectName: "answerText"
                // Screen readers follow the answer as it streams in.
                Accessible.role: Accessible.StaticText
                Accessible.name: text
                width: parent.width
                text: card.displayText
                color: "white"
                font.pointSize: 13.5
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
        }
        // Streamed text keeps the newest line in view.
        onContentHeightChanged: {
            if (card.hudState.streaming && contentHeight > height)
                contentY = contentHeight - height;
        }
    }

    Text {
        id: footer
        objectName: "followUpHint"
        visible: !card.isError && !card.hudState.showingHistory && card.hudState.followUpHint !== ""
        x: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 14
        width: 404
        text: "Hold " + card.hudState.followUpHint + " to ask a follow-up"
        color: Qt.rgba(1, 1, 1, 0.55)
        font.pointSize: 11
        elide: Text.ElideRight
    }

    ListView {
        id: history
        objectName: "historyList"
        visible: card.hudState.showingHistory
        x: 18
        y: header.y + header.height + 12
        width: 404
        height: card.height - y - 14
        clip: true
        spacing: 10
        model: card.historyEntries
        header: Text {
            text: "Previous interactions"
            color: Qt.rgba(1, 1, 1, 0.6)
            font.pointSize: 11
            font.weight: Font.DemiBold
            bottomPadding: 8
        }
        delegate: Column {
            id: entry
            required property var modelData
            width: history.width
            spacing: 3
            Text {
                width: parent.width
                text: entry.modelData.question
                color: Qt.rgba(1, 1, 1, 0.6)
                font.pointSize: 11.5
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
            Text {
                width: parent.width
                text: entry.modelData.answer
                color: "white"
                font.pointSize: 12.5
                wrapMode: Text.Wrap
                maximumLineCount: 4
                elide: Text.ElideRight
                textFormat: Text.PlainText
            }
        }
        Text {
            anchors.centerIn: parent
            visible: history.count === 0
            text: "No previous interactions yet."
            color: Qt.rgba(1, 1, 1, 0.55)
            font.pointSize: 12
        }
    }
}
