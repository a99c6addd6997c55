import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// One side of a voice conversation: the user's question on the right in the accent
// colour, the AI's answer on the left on the surface.
Item {
    id: bubble
    required property var date
    required property string kind
    required property string text
    readonly property bool question: kind === "question"
    readonly property int side: question ? Qt.AlignRight : Qt.AlignLeft
    width: ListView.view ? ListView.view.width : implicitWidth
    implicitHeight: column.implicitHeight

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        spacing: 4

        Label {
            Layout.alignment: bubble.side
            text: (bubble.question ? "You · " : "AI · ") + Formats.dueDate(bubble.date)
            color: Theme.textSecondary
            font.pointSize: Theme.captionSize
        }
        Rectangle {
            objectName: bubble.question ? "questionBubble" : "answerBubble"
            Layout.alignment: bubble.side
            Layout.maximumWidth: Math.round(bubble.width * 0.75)
            Layout.preferredWidth: body.implicitWidth + 28
            implicitHeight: body.implicitHeight + 18
            radius: 14
            color: bubble.question ? Theme.accent : Theme.surface
            border.width: bubble.question ? 0 : 1
            border.color: Theme.border

            SelectableText {
                id: body
                anchors.fill: parent
                anchors.leftMargin: 14
                anchors.rightMargin: 14
                anchors.topMargin: 9
                anchors.bottomMargin: 9
                text: bubble.text
                color: bubble.question ? Theme.accentText : Theme.text
                selectionColor: bubble.question ? Theme.accentText : Theme.accent
                selectedTextColor: bubble.question ? Theme.accent : Theme.accentText
            }
        }
    }
}
