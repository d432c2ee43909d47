// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

WizardPage {
    id: page

    readonly property var account: page.wizard.account

    objectName: "SuccessPage"
    title: qsTr("Your account is ready")
    explanation: qsTr("It is on this device now, for all applications that ask for it.")
    firstField: show

    Words {
        objectName: "loginId"
        font.bold: true
        text: page.account.loginId || page.account.emailAddress || page.account.userId
        wrapMode: Text.WrapAnywhere
    }

    buttons: PushButton {
        id: show

        objectName: "show"
        highlighted: true
        text: qsTr("Show my profile")
        onClicked: page.wizard.startAgainWith("ProfilePage")
    }
}
