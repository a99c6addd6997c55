import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One task: the box that marks it done, its title (struck through once done), its due date
// and notes when it has them, and a delete button when `removable`. Changes go straight to
// AssistantStore; `groupedList` keeps the keyboard focus on the task through the rebuild.
Item {
    id: row
    property var task: ({})
    property GroupedList groupedList
    property bool removable: true
    // A line above the row, between the rows of one card.
    property bool separated: false
    readonly property bool done: task.done === true

    objectName: "task-" + task.id
    implicitHeight: layout.implicitHeight + 12
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
        spacing: 8

        CheckBox {
            id: doneBox
            objectName: "taskDone-" + row.task.id
            readonly property string navRole: "done"
            readonly property string focusKey: "done:" + row.task.id
            Layout.alignment: Qt.AlignTop
            checked: row.done
            Accessible.name: row.task.title || ""
            onToggled: {
                if (row.groupedList)
                    row.groupedList.keepFocus(doneBox, focusKey);
                AssistantStore.setTaskDone(row.task.id, checked);
            }
            Component.onCompleted: if (row.groupedList) row.groupedList.adopt(doneBox)
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignVCenter
            spacing: 2
            Label {
                objectName: "taskTitle-" + row.task.id
                Layout.fillWidth: true
                text: row.task.title || ""
                wrapMode: Text.Wrap
                font.strikeout: row.done
                color: row.done ? Theme.textSecondary : Theme.text
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: row.task.details || ""
                wrapMode: Text.Wrap
                maximumLineCount: 3
                elide: Text.ElideRight
                color: Theme.textSecondary
                font.pointSize: Theme.captionSize
            }
            RowLayout {
                visible: !!row.task.dueAt
                spacing: 4
                ThemedIcon {
                    iconName: "calendar"
                    size: 12
                    color: row.done ? Theme.textSecondary : Theme.accent
                }
                Label {
                    objectName: "taskDue-" + row.task.id
                    text: row.task.dueAt ? Formats.dueDate(row.task.dueAt) : ""
                    color: Theme.textSecondary
                    font.pointSize: Theme.captionSize
                }
            }
        }

        RemoveButton {
            id: removeButton
            objectName: "taskDelete-" + row.task.id
            visible: row.removable
            Layout.alignment: Qt.AlignTop
            what: row.task.title || ""
            focusKey: "delete:" + row.task.id
            onClicked: {
                if (row.groupedList)
                    row.groupedList.focusAfterRemoving(removeButton);
                AssistantStore.deleteTask(row.task.id);
            }
            Component.onCompleted: if (row.groupedList) row.groupedList.adopt(removeButton)
        }
    }
}
