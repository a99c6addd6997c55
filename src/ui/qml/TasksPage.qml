import QtQuick
import QtQuick.Layouts
import Ovrin.Ui

// The assistant's tasks by project, open ones first in each project.
PageScaffold {
    id: page
    title: "Tasks"
    subtitle: "Ask by voice to add tasks — grouped by project."
    loadError: AssistantStore.loadError

    onAppeared: {
        AssistantStore.refreshTasks();
        AssistantStore.loadProjects();
    }

    ProjectGroups {
        id: grouping
        records: AssistantStore.tasks
    }

    EmptyState {
        objectName: "tasksEmpty"
        anchors.centerIn: parent
        visible: AssistantStore.tasks.count === 0 && page.loadError === ""
        iconName: "checklist"
        message: "No tasks yet. Say “add a task to…”"
    }

    GroupedList {
        id: rowList
        objectName: "taskList"
        anchors.fill: parent
        visible: AssistantStore.tasks.count > 0
        spacing: 18

        Repeater {
            model: grouping.groups
            delegate: ColumnLayout {
                id: groupColumn
                required property var modelData
                objectName: "taskGroup-" + modelData.name
                Layout.fillWidth: true
                spacing: 6

                GroupHeader {
                    Layout.fillWidth: true
                    name: groupColumn.modelData.name
                    count: groupColumn.modelData.records.length
                    isProject: groupColumn.modelData.id !== ""
                }
                Card {
                    Layout.fillWidth: true
                    padding: 4
                    spacing: 0
                    Repeater {
                        model: groupColumn.modelData.records
                        delegate: TaskRow {
                            required property var modelData
                            required property int index
                            Layout.fillWidth: true
                            Layout.leftMargin: 8
                            Layout.rightMargin: 4
                            task: modelData
                            separated: index > 0
                            groupedList: rowList
                        }
                    }
                }
            }
        }
    }
}
