import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.App

// Transcripts or chat, by scope.
PageScaffold {
    id: page
    property string scope: "transcripts"
    title: scope === "chat" ? "Chat" : "Transcripts"
}
