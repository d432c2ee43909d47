// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQml 2.15
import QtQuick 2.15
import QtQuick.Controls 2.15

WizardPage {
    id: page

    readonly property var signIn: page.wizard.signIn
    readonly property var failure: page.signIn.failure

    function next() {
        page.signIn.userName = name.text
        page.signIn.password = password.text
        if (page.signIn.complete)
            page.signIn.submit()
    }

    objectName: "SignInPage"
    title: qsTr("Sign in")
    firstField: name.input
    busy: page.signIn.busy
    complaint: ["userName", "password"].includes(page.failure.field) ? "" : page.failure.text
    Component.onCompleted: page.signIn.clearFailure()

    Field {
        id: name

        objectName: "name"
        label: qsTr("User name, e-mail address or mobile number")
        inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
        complaint: page.failure.field === "userName" ? page.failure.text : ""
        onAccepted: password.enter()
    }

    Field {
        id: password

        objectName: "password"
        label: qsTr("Password")
        secret: true
        complaint: page.failure.field === "password" ? page.failure.text : ""
        onAccepted: page.next()
    }

    PushButton {
        objectName: "forgot"
        flat: true
        text: qsTr("I forgot my password")
        onClicked: {
            page.wizard.recovery.userName = name.text
            page.wizard.show("RecoveryPage")
        }
    }

    Connections {
        target: page.signIn
        function onSucceeded() {
            page.wizard.startAgainWith("SuccessPage")
        }
        function onFailed() {
            password.enter()
        }
    }

    buttons: PushButton {
        objectName: "next"
        highlighted: true
        text: page.busy ? qsTr("Signing in\u2026") : qsTr("Sign in")
        enabled: !page.busy && name.text.length > 0 && password.text.length > 0
        onClicked: page.next()
    }
}
