import QtQuick
import QtQuick.Layouts
import Ovrin.Ui

// The reminders, soonest first.
PageScaffold {
    id: page
    title: "Reminders"
    subtitle: "Say “remind me to…” to schedule one."
    loadError: AssistantStore.loadError

    onAppeared: AssistantStore.refreshReminders()

    property int revision: 0
    readonly property var reminders: soonestFirst(revision)

    Connections {
        target: AssistantStore.reminders
        function onModelReset() {
            ++page.revision;
        }
    }

    function soonestFirst() {
        const list = [];
        for (let i = 0; i < AssistantStore.reminders.count; ++i)
            list.push(AssistantStore.reminders.get(i));
        // Ties keep the store's order.
        return list.map((reminder, order) => ({ reminder, order }))
                   .sort((a, b) => (a.reminder.dueAt - b.reminder.dueAt) || (a.order - b.order))
                   .map(entry => entry.reminder);
    }

    EmptyState {
        objectName: "remindersEmpty"
        anchors.centerIn: parent
        visible: AssistantStore.reminders.count === 0 && page.loadError === ""
        iconName: "reminders"
        message: "No upcoming reminders."
    }

    GroupedList {
        id: rowList
        objectName: "reminderList"
        anchors.fill: parent
        visible: AssistantStore.reminders.count > 0

        Card {
            Layout.fillWidth: true
            padding: 4
            spacing: 0
            Repeater {
                model: page.reminders
                delegate: ReminderRow {
                    required property var modelData
                    required property int index
                    Layout.fillWidth: true
                    Layout.leftMargin: 10
                    Layout.rightMargin: 4
                    reminder: modelData
                    separated: index > 0
                    groupedList: rowList
                }
            }
        }
    }
}
