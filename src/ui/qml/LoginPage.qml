import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ovrin.Ui

// Sign in or create an account; the browser sign-in when the backend offers it.
Pane {
    id: page
    property bool registering: false
    background: Rectangle {
        color: Theme.window
    }

    LoginController {
        id: login
        Component.onCompleted: checkGoogle()
    }

    function submit() {
        MainWindowState.signInError = "";
        if (page.registering)
            login.createAccount(nameField.text, emailField.text, passwordField.text);
        else
            login.signIn(emailField.text, passwordField.text);
    }

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(360, parent.width - 48)
        spacing: 12

        Image {
            Layout.alignment: Qt.AlignHCenter
            source: "icons/ovrin.svg"
            sourceSize.width: 56
            sourceSize.height: 56
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: page.registering ? "Create your Ovrin account" : "Sign in to Ovrin"
            font.pointSize: Theme.titleSize
            font.weight: Font.DemiBold
            color: Theme.text
        }
        TextField {
            id: nameField
            objectName: "nameField"
            Layout.fillWidth: true
            visible: page.registering
            placeholderText: "Name (optional)"
            Accessible.name: placeholderText
        }
        TextField {
            id: emailField
            objectName: "emailField"
            Layout.fillWidth: true
            placeholderText: "Email"
            Accessible.name: placeholderText
            inputMethodHints: Qt.ImhEmailCharactersOnly | Qt.ImhNoAutoUppercase
            focus: true
            onAccepted: passwordField.forceActiveFocus()
        }
        TextField {
            id: passwordField
            objectName: "passwordField"
            Layout.fillWidth: true
            placeholderText: "Password"
            Accessible.name: placeholderText
            echoMode: TextInput.Password
            onAccepted: page.submit()
        }
        Label {
            objectName: "loginError"
            Layout.fillWidth: true
            visible: text !== ""
            wrapMode: Text.WordWrap
            color: Theme.danger
            text: login.errorText !== "" ? login.errorText : MainWindowState.signInError
        }
        AccentButton {
            objectName: "submitButton"
            Layout.fillWidth: true
            implicitHeight: 32
            text: page.registering ? "Create account" : "Sign in"
            enabled: !login.busy
            onClicked: page.submit()
        }
        Button {
            objectName: "googleButton"
            Layout.fillWidth: true
            visible: login.googleAvailable
            text: "Continue with Google"
            onClicked: login.continueWithGoogle()
        }
        Button {
            Layout.alignment: Qt.AlignHCenter
            flat: true
            text: page.registering ? "I already have an account" : "Create an account"
            palette.buttonText: Theme.accent
            onClicked: page.registering = !page.registering
        }
        BusyIndicator {
            Layout.alignment: Qt.AlignHCenter
            running: login.busy
            visible: running
        }
        Label {
            Layout.fillWidth: true
            visible: AuthStore.keychainProblem !== ""
            wrapMode: Text.WordWrap
            opacity: 0.7
            text: AuthStore.keychainProblem
        }
    }
}
