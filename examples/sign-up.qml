// SPDX-License-Identifier: LGPL-2.1-or-later
// A sign-up screen. Try it: kelaccount-emulator run -- qmlscene sign-up.qml (docs/qml.md says what that needs)
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import Kel.Accounts 1.0

Pane {
    implicitWidth: 360
    implicitHeight: 560

    AccountsClient { id: accounts; consumerKey: "demo-key"; consumerSecret: "demo-secret"; service: "music" }
    NameCheck { id: check; client: accounts; name: userName.text }
    Registration {
        id: registration
        client: accounts
        userName: userName.text
        mobilePhoneNumber: mobile.text
        password: password.text
        captchaId: captcha.captchaId
        captchaText: answer.text
        onFailed: captcha.reload()
    }

    component Field: ColumnLayout {
        property alias label: input.placeholderText
        property alias text: input.text
        property alias echoMode: input.echoMode
        property string field
        property string hint: registration.failure.field === field ? registration.failure.text : ""
        Layout.fillWidth: true
        TextField { id: input; Layout.fillWidth: true; enabled: !registration.busy; Accessible.name: placeholderText }
        Label { Layout.fillWidth: true; wrapMode: Text.Wrap; textFormat: Text.PlainText; text: parent.hint; visible: text }
    }

    ColumnLayout {
        width: parent.width
        Field {
            id: userName
            objectName: "userName"
            label: "User name"
            field: "userName"
            hint: check.failure.text || (!check.checked ? "" : check.available ? "It is free."
                : "It is taken. Free are: " + check.suggestions.join(", "))
        }
        Field { id: mobile; objectName: "mobile"; label: "Mobile number" }
        Field { id: password; objectName: "password"; label: "Password"; field: "password"; echoMode: TextInput.Password }
        CaptchaImage { id: captcha; objectName: "captcha"; client: accounts; Layout.fillWidth: true }
        Field { id: answer; objectName: "answer"; label: "What the picture says"; field: "captchaText" }
        Button {
            text: registration.busy ? "One moment" : "Sign up"
            enabled: registration.complete && check.available && !registration.busy
            onClicked: registration.submit()
        }
        Label { Layout.fillWidth: true; wrapMode: Text.Wrap; objectName: "outcome"
            text: registration.failure.field ? "" : registration.account.userId ? "Welcome." : registration.failure.text }
    }
}
