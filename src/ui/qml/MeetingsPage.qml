import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.State

// The recorder, recordings that still need sending, and the meetings with their notes.
// A meeting opens in place of the list; Back (or Escape) returns to it.
PageScaffold {
    id: page
    title: "Meetings"
    subtitle: "Record your mic and the computer's audio, then get AI notes."
    loadError: MeetingStore.loadError
    onAppeared: MeetingStore.refresh()

    // The record of the open meeting, or null while the list shows.
    property var openMeeting: null

    function showMeeting(row) {
        if (row >= 0 && row < MeetingStore.meetings.count)
            openMeeting = MeetingStore.meetings.get(row);
    }
    function closeMeeting() {
        openMeeting = null;
        list.forceActiveFocus();
    }

    ConfirmDialog {
        id: unsentConfirm
        objectName: "deleteUnsentConfirm"
        property string path
        question: "Delete this recording?"
        confirmText: "Delete"
        onConfirmed: MeetingStore.deleteUnsent(path)
    }

    ListView {
        id: list
        objectName: "meetingList"
        anchors.fill: parent
        visible: page.openMeeting === null
        clip: true
        spacing: 8
        activeFocusOnTab: true
        keyNavigationEnabled: true
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: 0
        currentIndex: -1
        model: MeetingStore.meetings
        Keys.onReturnPressed: page.showMeeting(currentIndex)
        Keys.onEnterPressed: page.showMeeting(currentIndex)
        onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0
        ScrollBar.vertical: ScrollBar {}

        header: ColumnLayout {
            width: list.width - 12 // room for the scroll bar
            spacing: Theme.spacing
            RecordCard {
                Layout.fillWidth: true
            }
            UnsentRecordingsCard {
                Layout.fillWidth: true
                onDeleteRequested: path => {
                    unsentConfirm.path = path;
                    unsentConfirm.open();
                }
            }
            Item {
                Layout.preferredHeight: 2
            }
        }

        delegate: MeetingRow {
            width: ListView.view.width - 12
            onClicked: {
                ListView.view.currentIndex = index;
                page.showMeeting(index);
            }
        }

        footer: Item {
            width: list.width - 12
            height: list.count === 0 ? emptyState.implicitHeight + 56 : 0
            EmptyState {
                id: emptyState
                objectName: "meetingsEmpty"
                anchors.centerIn: parent
                visible: list.count === 0
                iconName: "waveform"
                message: "Record one above to get AI notes."
            }
        }
    }

    Loader {
        anchors.fill: parent
        active: page.openMeeting !== null
        onLoaded: item.focusReader()
        sourceComponent: MeetingDetail {
            meeting: page.openMeeting
            onBack: page.closeMeeting()
            onDeleteConfirmed: {
                MeetingStore.deleteMeeting(meeting.id);
                page.closeMeeting();
            }
        }
    }
}
