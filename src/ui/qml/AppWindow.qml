import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The signed-in window: the sidebar and the page of AppModel.selectedTab. Every page
// switch builds the page afresh, so a page reads its store each time it appears.
Rectangle {
    id: root
    color: Theme.window
    readonly property string pageIdentity: SidebarNavigation.pageIdentity(AppModel.selectedTab)
    readonly property alias page: pageLoader.item

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Sidebar {
            Layout.fillHeight: true
        }
        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            color: Theme.border
        }
        Loader {
            id: pageLoader
            objectName: "pageLoader"
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
    }

    function loadPage() {
        const tab = AppModel.selectedTab;
        const properties = { objectName: "page-" + pageIdentity };
        if (pageIdentity.startsWith("history-"))
            properties.scope = pageIdentity.substring("history-".length);
        pageLoader.source = "";
        pageLoader.setSource(SidebarNavigation.pageSource(tab), properties);
    }

    onPageIdentityChanged: loadPage()
    Component.onCompleted: loadPage()
}
