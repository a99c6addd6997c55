import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One reminder: a bell, its title and when it is due, and a delete button. A reminder that
// has already gone off is drawn in the quieter colour.
Item {
    id: row
    property var reminder: ({})
    property GroupedList groupedList
    property bool separated: false
    readonly property bool fired: reminder.fired === true

    objectName: "reminder-" + reminder.id
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

        Rectangle {
            Layout.alignment: Qt.AlignTop
            implicitWidth: 30
            implicitHeight: 30
            radius: 15
            color: row.fired ? Theme.surfaceAlt : Theme.accentSoft
            ThemedIcon {
                anchors.centerIn: parent
                iconName: "reminders"
                size: 15
                color: row.fired ? Theme.textSecondary : Theme.accent
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: row.reminder.title || ""
                wrapMode: Text.Wrap
                color: row.fired ? Theme.textSecondary : Theme.text
            }
            Label {
                objectName: "reminderDue-" + row.reminder.id
                text: row.reminder.dueAt ? Formats.dueDate(row.reminder.dueAt) : ""
                color: Theme.textSecondary
                font.pointSize: Theme.captionSize
            }
        }

        RemoveButton {
            id: removeButton
            objectName: "reminderDelete-" + row.reminder.id
            what: row.reminder.title || ""
            focusKey: "delete:" + row.reminder.id
            onClicked: {
                if (row.groupedList)
                    row.groupedList.focusAfterRemoving(removeButton);
                AssistantStore.deleteReminder(row.reminder.id);
            }
            Component.onCompleted: if (row.groupedList) row.groupedList.adopt(removeButton)
        }
    }
}
