import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// The frame of every page: title, subtitle, the store's load error, then the page's own
// content filling the rest. `appeared` is where a page refreshes its store.
Item {
    id: scaffold
    property string title
    property string subtitle
    property string loadError
    // Buttons at the right of the title.
    default property alias content: body.data
    property alias actions: actionRow.data
    signal appeared

    Component.onCompleted: appeared()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pagePadding
        spacing: Theme.spacing

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                Label {
                    objectName: "pageTitle"
                    text: scaffold.title
                    color: Theme.text
                    font.pointSize: Theme.titleSize
                    font.weight: Font.DemiBold
                }
                Label {
                    objectName: "pageSubtitle"
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: scaffold.subtitle
                    color: Theme.textSecondary
                    wrapMode: Text.WordWrap
                }
            }
            RowLayout {
                id: actionRow
                Layout.alignment: Qt.AlignTop
                spacing: 8
            }
        }

        ErrorBanner {
            objectName: "loadError"
            Layout.fillWidth: true
            text: scaffold.loadError
        }

        Item {
            id: body
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
    }
}
