import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui
import Ovrin.App

PageScaffold {
    title: "Meetings"
}
