// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQml 2.15
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import Kel.Accounts 1.0

WizardPage {
    id: page

    readonly property bool isReady: answer.text.length > 0 && captcha.loading === CaptchaPicture.Ready

    function next() {
        if (!page.isReady)
            return
        page.wizard.registration.captchaId = captcha.captchaId
        page.wizard.registration.captchaText = answer.text
        page.wizard.show("TermsPage")
    }

    objectName: "CaptchaPage"
    title: qsTr("Are you a person?")
    explanation: qsTr("Type what you read in the picture. A press on it brings another.")
    firstField: answer.input
    // The registration comes back here, since it needs another captcha whatever it failed for.
    complaint: page.wizard.registration.failure.field === "captchaText"
        ? "" : page.wizard.registration.failure.text

    CaptchaImage {
        id: captcha

        objectName: "captcha"
        client: page.wizard.accounts
        Layout.fillWidth: true
    }

    FailureText {
        Layout.fillWidth: true
        message: captcha.failure.text
    }

    Field {
        id: answer

        objectName: "answer"
        label: qsTr("Characters in the picture")
        inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
        complaint: page.wizard.registration.failure.field === "captchaText"
            ? page.wizard.registration.failure.text : ""
        onAccepted: page.next()
    }

    // A captcha is good for one attempt.
    Connections {
        target: page.wizard.registration
        function onFailed() {
            answer.text = ""
            captcha.reload()
        }
    }

    buttons: PushButton {
        objectName: "next"
        highlighted: true
        text: qsTr("Next")
        enabled: page.isReady
        onClicked: page.next()
    }
}
