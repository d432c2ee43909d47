// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import Kel.Accounts 1.0

WizardPage {
    id: page

    readonly property bool isAddress: name.text.includes("@")
    // An address can only be looked up with a service tag. Without one the registration will tell.
    readonly property bool isUnknown: check.failure.status === Status.ErrorInvalidServiceTag
    readonly property bool isReady: (check.available || isUnknown) && password.text.length > 0
                                    && (isAddress || mobile.text.length > 0)

    function next() {
        if (!page.isReady)
            return
        const me = page.wizard.registration
        me.userName = page.isAddress ? "" : name.text
        me.emailAddress = page.isAddress ? name.text : ""
        me.mobilePhoneNumber = page.isAddress ? "" : mobile.text
        me.password = password.text
        page.wizard.show("QuestionPage")
    }

    function complaintOf(fields) {
        const failure = page.wizard.registration.failure
        return fields.includes(failure.field) ? failure.text : ""
    }

    // What was said of the text before is not about the one that is typed now.
    function forgetComplaintOf(fields) {
        if (page.complaintOf(fields))
            page.wizard.registration.clearFailure()
    }

    objectName: "NamePage"
    title: qsTr("Who are you?")
    firstField: name.input

    NameCheck {
        id: check

        client: page.wizard.accounts
        name: name.text
    }

    Field {
        id: name

        objectName: "name"
        label: qsTr("User name or e-mail address")
        inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
        hint: check.checking ? qsTr("Looking it up\u2026")
            : check.available ? qsTr("It is free.")
            : check.checked ? qsTr("It is taken.") : ""
        complaint: (page.isUnknown ? "" : check.failure.text) || page.complaintOf(["userName", "emailAddress"])
        onTextChanged: page.forgetComplaintOf(["userName", "emailAddress"])
        onAccepted: mobile.visible ? mobile.enter() : password.enter()
    }

    Words {
        visible: check.suggestions.length > 0
        text: qsTr("Free are:")
    }

    Flow {
        Layout.fillWidth: true
        visible: check.suggestions.length > 0
        spacing: 8

        Repeater {
            model: check.suggestions

            PushButton {
                required property string modelData

                text: modelData
                onClicked: name.text = modelData
            }
        }
    }

    Field {
        id: mobile

        objectName: "mobile"
        visible: !page.isAddress
        label: qsTr("Mobile number")
        inputMethodHints: Qt.ImhDialableCharactersOnly
        text: page.wizard.preparedNumber
        onAccepted: password.enter()
    }

    Field {
        id: password

        objectName: "password"
        label: qsTr("Password")
        secret: true
        complaint: page.complaintOf(["password"])
        onTextChanged: page.forgetComplaintOf(["password"])
        onAccepted: page.next()
    }

    buttons: PushButton {
        objectName: "next"
        highlighted: true
        text: qsTr("Next")
        enabled: page.isReady
        onClicked: page.next()
    }
}
