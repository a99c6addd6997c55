import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// Transcripts or chat, by scope, newest first as the store lists them.
PageScaffold {
    id: page
    property string scope: "transcripts"
    readonly property bool chat: scope === "chat"

    title: chat ? "Chat" : "Transcripts"
    subtitle: chat ? "Your voice questions and AI replies." : "Everything you've dictated into other apps."
    loadError: history.loadError
    onAppeared: history.refresh()

    actions: Button {
        objectName: "clearHistory"
        // The window palette colours disabled controls as live ones; dim this one instead.
        text: "Clear"
        icon.source: "icons/trash.svg"
        icon.color: Theme.text
        icon.width: 14
        icon.height: 14
        enabled: history.entries.count > 0
        onClicked: clearConfirm.open()
    }

    HistoryPageModel {
        id: history
        scope: page.scope
    }

    ConfirmDialog {
        id: clearConfirm
        objectName: "clearConfirm"
        question: page.chat ? "Clear chat history and the AI's memory?" : "Clear all transcripts?"
        onConfirmed: history.clear()
    }

    ListView {
        id: list
        objectName: "historyList"
        anchors.fill: parent
        visible: count > 0
        clip: true
        spacing: page.chat ? 14 : 10
        // A conversation reads downwards: each question above its answer, the newest last.
        verticalLayoutDirection: page.chat ? ListView.BottomToTop : ListView.TopToBottom
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        model: history.entries
        delegate: page.chat ? bubbleDelegate : rowDelegate
        Keys.onPressed: event => scrollKeys.handle(event)
        ScrollBar.vertical: ScrollBar {}

        ScrollKeys {
            id: scrollKeys
            flickable: list
        }
    }
    Rectangle {
        anchors.fill: list
        anchors.margins: -3
        // Only while the list itself has the focus, not a copy button in it.
        visible: list.activeFocus && Window.activeFocusItem === list
        color: "transparent"
        radius: Theme.radius
        border.color: Theme.accent
        border.width: 1
    }

    Component {
        id: rowDelegate
        TranscriptRow {
            width: ListView.view.width - 12 // room for the scroll bar
        }
    }
    Component {
        id: bubbleDelegate
        ChatBubble {
            width: ListView.view.width - 12 // room for the scroll bar
        }
    }

    EmptyState {
        objectName: "historyEmpty"
        anchors.centerIn: parent
        width: Math.min(parent.width, 420)
        visible: history.entries.count === 0
        iconName: page.chat ? "chat" : "transcripts"
        title: page.chat ? "" : "No transcriptions yet"
        message: page.chat ? "Hold your Ask AI hotkey and speak — the conversation will show up here." : "Dictated text will appear here."
    }
}
