import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One card per project: what it is, its tasks and what the assistant remembers about it.
PageScaffold {
    id: page
    title: "Projects"
    subtitle: "What you're working on — tasks and facts, grouped."
    loadError: AssistantStore.loadError

    onAppeared: AssistantStore.refreshProjects()

    ProjectGroups {
        id: taskGroups
        records: AssistantStore.tasks
    }
    ProjectGroups {
        id: memoryGroups
        records: AssistantStore.memories
        projectField: "projects"
    }

    EmptyState {
        objectName: "projectsEmpty"
        anchors.centerIn: parent
        visible: AssistantStore.projectsModel.count === 0 && page.loadError === ""
        iconName: "folder"
        message: "No projects yet. Mention one when adding a task, e.g. “add a task to the XYZ site”."
    }

    GroupedList {
        id: rowList
        objectName: "projectList"
        anchors.fill: parent
        visible: AssistantStore.projectsModel.count > 0

        Repeater {
            model: taskGroups.projects
            delegate: Card {
                id: card
                required property var modelData
                readonly property var tasks: taskGroups.byProject[modelData.id] || []
                readonly property var facts: memoryGroups.byProject[modelData.id] || []
                readonly property var aliases: Array.from(modelData.aliases || [])
                objectName: "project-" + modelData.id
                Layout.fillWidth: true
                padding: 18
                spacing: 6

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 8
                    ThemedIcon {
                        iconName: "folder"
                        size: 18
                        color: Theme.accent
                    }
                    Label {
                        Layout.fillWidth: true
                        text: card.modelData.name
                        color: Theme.text
                        font.pointSize: Theme.headingSize
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                }
                Label {
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: card.modelData.summary || ""
                    color: Theme.text
                    wrapMode: Text.Wrap
                }
                Label {
                    Layout.fillWidth: true
                    visible: card.aliases.length > 0
                    text: "Also called " + card.aliases.join(", ")
                    color: Theme.textSecondary
                    font.pointSize: Theme.captionSize
                    wrapMode: Text.Wrap
                }

                SectionLabel {
                    text: "Tasks"
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    visible: card.tasks.length > 0
                    spacing: 0
                    Repeater {
                        model: card.tasks
                        delegate: TaskRow {
                            required property var modelData
                            required property int index
                            Layout.fillWidth: true
                            task: modelData
                            removable: false
                            separated: index > 0
                            groupedList: rowList
                        }
                    }
                }
                Label {
                    // Unless the list failed to load: then the banner says so.
                    visible: card.tasks.length === 0 && page.loadError === ""
                    text: "No tasks for this project."
                    color: Theme.textSecondary
                }

                SectionLabel {
                    text: "Remembered"
                }
                Repeater {
                    model: card.facts
                    delegate: RowLayout {
                        required property var modelData
                        Layout.fillWidth: true
                        spacing: 8
                        ThemedIcon {
                            Layout.alignment: Qt.AlignTop
                            Layout.topMargin: 2
                            iconName: "brain"
                            size: 14
                            color: Theme.textSecondary
                        }
                        Label {
                            Layout.fillWidth: true
                            text: modelData.text
                            color: Theme.text
                            wrapMode: Text.Wrap
                        }
                    }
                }
                Label {
                    visible: card.facts.length === 0 && page.loadError === ""
                    text: "Nothing remembered about this project yet."
                    color: Theme.textSecondary
                }
            }
        }
    }

    component SectionLabel: Label {
        Layout.topMargin: 8
        color: Theme.textSecondary
        font.pointSize: Theme.captionSize
        font.weight: Font.DemiBold
        font.capitalization: Font.AllUppercase
    }
}
