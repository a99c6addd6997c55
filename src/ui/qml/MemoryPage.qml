import QtQuick
import QtQuick.Layouts
import Ovrin.Ui

// What the assistant remembers, by project.
PageScaffold {
    id: page
    title: "Memory"
    subtitle: "What Ovrin remembers about you. Say “remember…” to add."
    loadError: AssistantStore.loadError

    onAppeared: {
        AssistantStore.refreshMemories();
        AssistantStore.loadProjects();
    }

    ProjectGroups {
        id: grouping
        records: AssistantStore.memories
        projectField: "projects"
    }

    EmptyState {
        objectName: "memoryEmpty"
        anchors.centerIn: parent
        visible: AssistantStore.memories.count === 0 && page.loadError === ""
        iconName: "brain"
        title: "Nothing remembered"
        message: "Nothing remembered yet. Tell the assistant something about you, or say “remember …”."
    }

    GroupedList {
        id: rowList
        objectName: "memoryList"
        anchors.fill: parent
        visible: AssistantStore.memories.count > 0
        spacing: 18

        Repeater {
            model: grouping.groups
            delegate: ColumnLayout {
                id: groupColumn
                required property var modelData
                objectName: "memoryGroup-" + modelData.name
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
                        delegate: MemoryRow {
                            required property var modelData
                            required property int index
                            Layout.fillWidth: true
                            Layout.leftMargin: 10
                            Layout.rightMargin: 4
                            memory: modelData
                            projectNames: grouping.namesOf(modelData)
                            group: groupColumn.modelData.id
                            separated: index > 0
                            groupedList: rowList
                        }
                    }
                }
            }
        }
    }
}
