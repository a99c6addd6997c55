import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The apps the assistant may read. Connecting happens on the provider's page in the
// browser; the row waits there until the backend reports the app as connected.
PageScaffold {
    id: page
    title: "Connections"
    subtitle: "Link your apps so the assistant can read your email, calendar, and messages."
    loadError: connections.loadError
    onAppeared: connections.refresh()

    ConnectionsModel {
        id: connections
    }

    function iconFor(slug) {
        switch (slug) {
        case "email":
            return "envelope";
        case "calendar":
            return "calendar";
        case "messages":
            return "message";
        }
        return "link";
    }

    PageScrollView {
        anchors.fill: parent

        Label {
            Layout.fillWidth: true
            text: "You'll approve access on the provider's own sign-in page. You can disconnect any time."
            color: Theme.textSecondary
            wrapMode: Text.WordWrap
        }

        Card {
            Layout.fillWidth: true
            padding: 8
            spacing: 0

            Repeater {
                model: connections.apps
                delegate: ColumnLayout {
                    id: row
                    required property var modelData
                    required property int index
                    objectName: "app-" + modelData.slug
                    Layout.fillWidth: true
                    spacing: 0

                    Rectangle {
                        Layout.fillWidth: true
                        Layout.leftMargin: 8
                        Layout.rightMargin: 8
                        implicitHeight: 1
                        visible: row.index > 0
                        color: Theme.border
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        Layout.margins: 8
                        spacing: Theme.spacing

                        Rectangle {
                            implicitWidth: 36
                            implicitHeight: 36
                            radius: Theme.smallRadius
                            color: Theme.accentSoft
                            ThemedIcon {
                                anchors.centerIn: parent
                                iconName: page.iconFor(row.modelData.slug)
                                color: Theme.accent
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 2
                            Label {
                                Layout.fillWidth: true
                                text: row.modelData.label
                                color: Theme.text
                                font.weight: Font.DemiBold
                                elide: Text.ElideRight
                            }
                            RowLayout {
                                visible: row.modelData.waiting
                                spacing: 6
                                BusyIndicator {
                                    implicitWidth: 16
                                    implicitHeight: 16
                                    padding: 0
                                    running: row.modelData.waiting
                                }
                                Label {
                                    text: "Waiting for approval in your browser…"
                                    color: Theme.textSecondary
                                    font.pointSize: Theme.captionSize
                                }
                            }
                        }
                        Rectangle {
                            visible: row.modelData.connected
                            implicitWidth: badgeRow.implicitWidth + 16
                            implicitHeight: badgeRow.implicitHeight + 6
                            radius: height / 2
                            color: Qt.rgba(Theme.success.r, Theme.success.g, Theme.success.b, 0.16)
                            RowLayout {
                                id: badgeRow
                                anchors.centerIn: parent
                                spacing: 4
                                ThemedIcon {
                                    iconName: "emblem-ok"
                                    size: 12
                                    color: Theme.success
                                }
                                Label {
                                    text: "Connected"
                                    color: Theme.success
                                    font.pointSize: Theme.captionSize
                                    font.weight: Font.DemiBold
                                }
                            }
                        }
                        AccentButton {
                            text: row.modelData.connected ? "Disconnect" : "Connect"
                            accented: !row.modelData.connected
                            enabled: !row.modelData.waiting
                            Accessible.name: text + " " + row.modelData.label
                            onClicked: row.modelData.connected ? connections.disconnectApp(row.modelData.slug)
                                                               : connections.connectApp(row.modelData.slug)
                        }
                    }
                }
            }
        }
    }
}
