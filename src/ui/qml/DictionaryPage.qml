import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The custom vocabulary: terms the transcriber should spell right, with what it heard.
PageScaffold {
    id: page
    title: "Dictionary"
    subtitle: "Names and terms to spell correctly in your dictation."
    loadError: DictionaryStore.loadError
    onAppeared: DictionaryStore.refresh()

    function addTerm() {
        const term = termField.text.trim();
        if (term === "")
            return;
        DictionaryStore.addTerm(term);
        termField.clear();
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.spacing

        Label {
            Layout.fillWidth: true
            text: "Add names the transcriber gets wrong — or accept the suggestion after you correct one."
            color: Theme.textSecondary
            wrapMode: Text.WordWrap
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            TextField {
                id: termField
                objectName: "termField"
                Layout.fillWidth: true
                Layout.maximumWidth: 420
                placeholderText: "Add a name or term…"
                Accessible.name: placeholderText
                onAccepted: page.addTerm()
            }
            Button {
                objectName: "addTerm"
                // The window palette colours disabled controls as live ones; dim this one instead.
                text: "Add"
                icon.source: "icons/plus.svg"
                icon.color: Theme.text
                icon.width: 14
                icon.height: 14
                enabled: termField.text.trim() !== ""
                onClicked: page.addTerm()
            }
            Item {
                Layout.fillWidth: true
            }
        }

        ListView {
            id: list
            objectName: "termList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: count > 0
            clip: true
            spacing: 6
            activeFocusOnTab: true
            keyNavigationEnabled: true
            boundsBehavior: Flickable.StopAtBounds
            highlightMoveDuration: 0
            currentIndex: -1
            model: DictionaryStore.terms
            onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0
            Keys.onDeletePressed: if (currentItem) DictionaryStore.remove(currentItem.termId)
            ScrollBar.vertical: ScrollBar {}

            delegate: Rectangle {
                id: row
                required property var model
                readonly property string termId: model.id
                readonly property var variants: model.variants || []
                readonly property bool current: ListView.isCurrentItem && Window.activeFocusItem === ListView.view
                objectName: "term-" + termId
                width: ListView.view.width - 12 // room for the scroll bar
                implicitHeight: rowLayout.implicitHeight + 20
                radius: Theme.smallRadius
                color: current ? Theme.accentSoft : Theme.surface
                border.width: 1
                border.color: current ? Theme.accent : Theme.border

                RowLayout {
                    id: rowLayout
                    anchors.fill: parent
                    anchors.leftMargin: 14
                    anchors.rightMargin: 6
                    spacing: 10
                    ThemedIcon {
                        iconName: "dictionary"
                        size: 16
                        color: Theme.accent
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 2
                        Label {
                            Layout.fillWidth: true
                            text: row.model.term
                            color: Theme.text
                            font.weight: Font.DemiBold
                            elide: Text.ElideRight
                        }
                        Label {
                            Layout.fillWidth: true
                            visible: row.variants.length > 0
                            text: "Heard as: " + Array.from(row.variants).join(", ")
                            color: Theme.textSecondary
                            font.pointSize: Theme.captionSize
                            wrapMode: Text.WordWrap
                        }
                    }
                    ToolButton {
                        objectName: "removeTerm"
                        text: "Remove " + row.model.term
                        display: AbstractButton.IconOnly
                        icon.source: "icons/trash.svg"
                        icon.color: Theme.textSecondary
                        icon.width: 16
                        icon.height: 16
                        ToolTip.visible: hovered
                        ToolTip.text: "Remove"
                        onClicked: DictionaryStore.remove(row.termId)
                    }
                }
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: list.count === 0
            EmptyState {
                objectName: "dictionaryEmpty"
                anchors.centerIn: parent
                width: Math.min(parent.width, 420)
                iconName: "dictionary"
                title: "Your dictionary is empty"
                message: "Add a name or term above and dictation will spell it your way."
            }
        }
    }
}
