import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One remembered fact: its text, its category and projects as chips, and a delete button.
Item {
    id: row
    property var memory: ({})
    // The names of the memory's known projects.
    property var projectNames: []
    // The group the row is in: a memory of two projects is in both.
    property string group
    property GroupedList groupedList
    property bool separated: false

    objectName: "memory-" + memory.id
    implicitHeight: layout.implicitHeight + 16
    implicitWidth: layout.implicitWidth

    Rectangle {
        visible: row.separated
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: 1
        color: Theme.border
    }

    RowLayout {
        id: layout
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 6
            Label {
                Layout.fillWidth: true
                text: row.memory.text || ""
                wrapMode: Text.Wrap
                color: Theme.text
            }
            Flow {
                Layout.fillWidth: true
                visible: !!row.memory.category || row.projectNames.length > 0
                spacing: 6
                Chip {
                    visible: !!row.memory.category
                    text: row.memory.category || ""
                }
                Repeater {
                    model: row.projectNames
                    delegate: Chip {
                        required property string modelData
                        objectName: "memoryProject"
                        accented: true
                        text: modelData
                    }
                }
            }
        }

        RemoveButton {
            id: removeButton
            objectName: "memoryDelete-" + row.memory.id
            Layout.alignment: Qt.AlignTop
            what: row.memory.text || ""
            focusKey: "delete:" + row.group + "/" + row.memory.id
            onClicked: {
                if (row.groupedList)
                    row.groupedList.focusAfterRemoving(removeButton);
                AssistantStore.deleteMemory(row.memory.id);
            }
            Component.onCompleted: if (row.groupedList) row.groupedList.adopt(removeButton)
        }
    }
}
