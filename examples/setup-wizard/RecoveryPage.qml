// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQml 2.15
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import Kel.Accounts 1.0

// First a message with a code; then the code, the answer to the security question and a new password.
WizardPage {
    id: page

    readonly property var recovery: page.wizard.recovery
    readonly property var failure: page.recovery.failure
    property bool isSent: false

    function next() {
        if (page.isSent) {
            page.recovery.setPassword(code.text, answer.text, password.text)
        } else {
            page.recovery.userName = name.text
            page.recovery.captchaText = picture.text
            page.recovery.sendMessage(qsTr("Your code:"))
        }
    }

    objectName: "RecoveryPage"
    title: qsTr("A new password")
    explanation: page.isSent ? qsTr("We have sent you a message with a code.") : qsTr("We send you a message with a code.")
    firstField: name.input
    busy: page.recovery.busy
    // Beside a field when that is there.
    complaint: page.failure.field === "userName" && name.visible
        || page.failure.field === "captchaText" && picture.visible ? "" : page.failure.text
    Component.onCompleted: page.recovery.clearFailure()

    Field {
        id: name

        objectName: "name"
        visible: !page.isSent
        label: qsTr("User name, e-mail address or mobile number")
        text: page.recovery.userName
        complaint: page.failure.field === "userName" ? page.failure.text : ""
    }

    CaptchaImage {
        id: captcha

        objectName: "captcha"
        visible: page.wizard.captchaRequired && !page.isSent
        automatic: page.wizard.captchaRequired
        client: page.wizard.accounts
        Layout.fillWidth: true
    }

    Field {
        id: picture

        objectName: "picture"
        visible: captcha.visible
        label: qsTr("Characters in the picture")
        complaint: page.failure.field === "captchaText" ? page.failure.text : ""
        onAccepted: page.next()
    }

    Field {
        id: code

        objectName: "code"
        visible: page.isSent
        label: qsTr("Code in the message")
        inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
    }

    Field {
        id: answer

        objectName: "answer"
        visible: page.isSent
        label: page.recovery.question || qsTr("Your answer")
    }

    Field {
        id: password

        objectName: "password"
        visible: page.isSent
        label: qsTr("New password")
        secret: true
        onAccepted: page.next()
    }

    Connections {
        target: page.recovery
        function onMessageSent() {
            page.isSent = true
            code.enter()
            page.recovery.fetchQuestion()
        }
        function onFailed() {
            const first = page.isSent ? code : name
            first.enter()
            if (!page.isSent && page.wizard.captchaRequired)
                captcha.reload()
        }
        function onPasswordSet() {
            page.wizard.back()
        }
    }

    buttons: PushButton {
        objectName: "next"
        highlighted: true
        text: page.isSent ? qsTr("Set the password") : qsTr("Send the message")
        enabled: !page.busy && (page.isSent ? code.text && answer.text && password.text : name.text)
        onClicked: page.next()
    }
}
