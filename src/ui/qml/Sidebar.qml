import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The fixed navigation: the mark and name, the sections, the live status and the backend.
// Up and Down move through the pages while the list has focus.
Rectangle {
    id: sidebar
    color: Theme.sidebar
    implicitWidth: 216

    ListModel {
        id: entries
        Component.onCompleted: {
            for (const section of SidebarNavigation.sections)
                for (const item of section.items)
                    append({ pageId: item.id, title: item.title, iconPath: item.icon, section: section.title });
        }
    }

    function rowOf(pageId) {
        for (let row = 0; row < entries.count; ++row)
            if (entries.get(row).pageId === pageId)
                return row;
        return -1;
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 16
            Layout.bottomMargin: 12
            spacing: 10
            Image {
                source: "icons/ovrin.svg"
                sourceSize.width: 32
                sourceSize.height: 32
            }
            ColumnLayout {
                spacing: 0
                Label {
                    objectName: "sidebarName"
                    text: "Ovrin"
                    color: Theme.text
                    font.pointSize: Theme.headingSize
                    font.weight: Font.DemiBold
                }
                Label {
                    text: "Voice assistant"
                    color: Theme.textSecondary
                    font.pointSize: Theme.captionSize
                }
            }
        }

        ListView {
            id: list
            objectName: "sidebarList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            focus: true
            activeFocusOnTab: true
            keyNavigationEnabled: true
            boundsBehavior: Flickable.StopAtBounds
            model: entries
            currentIndex: sidebar.rowOf(AppModel.selectedTab)
            highlightMoveDuration: 0
            onCurrentIndexChanged: {
                if (currentIndex >= 0 && entries.get(currentIndex).pageId !== AppModel.selectedTab)
                    AppModel.selectedTab = entries.get(currentIndex).pageId;
            }

            section.property: "section"
            section.delegate: Item {
                required property string section
                width: ListView.view.width
                height: section === "" ? 2 : 26
                Label {
                    anchors.left: parent.left
                    anchors.leftMargin: 18
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: 4
                    text: parent.section
                    color: Theme.textSecondary
                    font.pointSize: Theme.captionSize
                    font.weight: Font.DemiBold
                }
            }

            delegate: ItemDelegate {
                id: entry
                required property int index
                required property int pageId
                required property string title
                required property string iconPath
                readonly property bool selected: AppModel.selectedTab === pageId
                objectName: "nav-" + pageId
                width: ListView.view.width
                height: 30
                leftPadding: 18
                focusPolicy: Qt.NoFocus
                onClicked: AppModel.selectedTab = pageId
                background: Rectangle {
                    anchors.fill: parent
                    anchors.leftMargin: 8
                    anchors.rightMargin: 8
                    radius: Theme.smallRadius
                    color: entry.selected ? Theme.accentSoft : (entry.hovered ? Theme.surfaceAlt : "transparent")
                    border.width: entry.selected && list.activeFocus ? 1 : 0
                    border.color: Theme.accent
                }
                contentItem: RowLayout {
                    spacing: 10
                    IconImage {
                        source: entry.iconPath
                        sourceSize.width: 16
                        sourceSize.height: 16
                        color: entry.selected ? Theme.accent : Theme.textSecondary
                    }
                    Label {
                        Layout.fillWidth: true
                        text: entry.title
                        color: entry.selected ? Theme.accent : Theme.text
                        font.weight: entry.selected ? Font.DemiBold : Font.Normal
                        elide: Text.ElideRight
                    }
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.border
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.margins: 16
            spacing: 6
            RowLayout {
                spacing: 8
                Rectangle {
                    width: 8
                    height: 8
                    radius: 4
                    color: AppModel.activity === 0 ? (AppModel.hotkeyIsDown ? Theme.warning : Theme.success) : Theme.danger
                }
                Label {
                    objectName: "activityStatus"
                    text: SidebarNavigation.statusText(AppModel.activity, AppModel.hotkeyIsDown)
                    color: Theme.text
                }
            }
            RowLayout {
                spacing: 8
                Rectangle {
                    width: 8
                    height: 8
                    radius: 4
                    color: AppModel.backendReachable ? Theme.success : Theme.textSecondary
                }
                Label {
                    objectName: "backendStatus"
                    text: "Backend " + (AppModel.backendReachable ? "online" : "offline")
                    color: Theme.textSecondary
                    font.pointSize: Theme.captionSize
                }
            }
        }
    }
}
