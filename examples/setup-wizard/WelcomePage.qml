// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

WizardPage {
    id: page

    objectName: "WelcomePage"
    title: qsTr("Welcome")
    explanation: qsTr("With an account you find your things again on every device.")
    complaint: page.wizard.accounts.failure.text
    firstField: create

    Words {
        objectName: "country"
        visible: page.wizard.country
        text: qsTr("Country of this device: %1").arg(page.wizard.countryName(page.wizard.country))
    }

    Words {
        objectName: "prepared"
        visible: page.wizard.preparedNumber
        text: qsTr("An account is prepared for your number %1.").arg("\u2066" + page.wizard.preparedNumber + "\u2069")
    }

    PushButton {
        id: create

        objectName: "create"
        Layout.fillWidth: true
        highlighted: true
        text: qsTr("Create an account")
        onClicked: page.wizard.show("NamePage")
    }

    PushButton {
        objectName: "signIn"
        Layout.fillWidth: true
        text: qsTr("Sign in")
        onClicked: page.wizard.show("SignInPage")
    }

    buttons: AgainButton {
        visible: page.complaint !== ""
        onClicked: {
            page.wizard.initialize()
            page.begin()
        }
    }
}
