import QtQuick
import QtQuick.Controls
import Ovrin.Ui

// Asks before something that cannot be undone; `confirmed` when the user agrees.
Dialog {
    id: dialog
    property string question
    property string confirmText: "Clear"
    signal confirmed

    anchors.centerIn: Overlay.overlay
    modal: true
    width: 380
    title: question
    standardButtons: Dialog.Cancel | Dialog.Ok
    Component.onCompleted: standardButton(Dialog.Ok).text = dialog.confirmText
    onAccepted: confirmed()

    Label {
        width: parent.width
        wrapMode: Text.WordWrap
        text: "This can't be undone."
    }
}
