// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQml 2.15
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

WizardPage {
    id: page

    readonly property var profile: page.wizard.profile
    readonly property var failure: page.profile.failure
    // What was asked for last, so that a failure stands beside it.
    property string asked
    property string done
    readonly property string questionText: {
        const known = page.wizard.questions.find(one => one.id === page.profile.securityQuestionId)
        return page.profile.securityQuestion || (known ? known.text : "")
    }

    function ask(what, made) {
        page.done = ""
        page.asked = what
        return made
    }

    function complaintOf(what) {
        return page.asked === what ? page.failure.text : ""
    }

    objectName: "ProfilePage"
    title: qsTr("Your profile")
    explanation: page.done
    busy: page.profile.busy
    complaint: page.complaintOf("")
    Component.onCompleted: page.profile.load()

    GridLayout {
        Layout.fillWidth: true
        visible: page.profile.loaded
        // One above the other where texts are large.
        columns: width < 20 * page.font.pixelSize ? 1 : 2
        columnSpacing: 12

        Repeater {
            // Names and values by turns; what is not known is left out.
            model: [
                [qsTr("User name"), page.profile.userName],
                [qsTr("E-mail address"), page.profile.emailAddress],
                [qsTr("Mobile number"), page.profile.mobilePhoneNumber],
                [qsTr("Country"), page.wizard.countryName(page.profile.country)],
                [qsTr("Security question"), page.questionText],
            ].filter(row => row[1]).reduce((all, row) => all.concat(row), [])

            Words {
                required property int index
                required property string modelData

                Layout.preferredWidth: 1
                font.bold: index % 2 === 1
                text: index % 2 === 1 ? "\u2068" + modelData + "\u2069" : modelData
            }
        }
    }

    Field {
        id: name

        objectName: "name"
        visible: page.profile.loaded && !page.profile.userName
        label: qsTr("User name")
        hint: qsTr("It is for good.")
        complaint: page.complaintOf("name")
    }

    PushButton {
        objectName: "changeName"
        visible: name.visible
        enabled: !page.busy && name.text.length > 0
        text: qsTr("Take this name")
        onClicked: page.ask("name", page.profile.changeUserName(name.text))
    }

    Field {
        id: before

        objectName: "oldPassword"
        label: qsTr("Password until now")
        secret: true
        complaint: page.complaintOf("password")
    }

    Field {
        id: after

        objectName: "newPassword"
        label: qsTr("New password")
        secret: true
    }

    PushButton {
        objectName: "changePassword"
        enabled: !page.busy && before.text.length > 0 && after.text.length > 0
        text: qsTr("Change the password")
        onClicked: page.ask("password", page.profile.changePassword(before.text, after.text))
    }

    QuestionChoice {
        id: question

        questions: page.wizard.questions
    }

    Field {
        id: answer

        objectName: "answer"
        label: qsTr("Your answer")
        complaint: page.complaintOf("question")
    }

    PushButton {
        objectName: "changeQuestion"
        enabled: !page.busy && answer.text.length > 0
        text: qsTr("Change the question")
        onClicked: page.ask("question", page.profile.changeSecurityQuestion(question.currentId, answer.text))
    }

    Connections {
        target: page.profile
        function onUserNameChanged() {
            page.done = qsTr("This is your user name now.")
        }
        function onPasswordChanged() {
            before.text = ""
            after.text = ""
            page.done = qsTr("The password is changed.")
        }
        function onSecurityQuestionChanged() {
            answer.text = ""
            page.done = qsTr("The question is changed.")
            page.profile.load()
        }
        function onSignedOut() {
            page.wizard.startAgainWith("WelcomePage")
        }
    }

    buttons: [
        PushButton {
            objectName: "signOut"
            enabled: !page.busy
            text: qsTr("Sign out")
            onClicked: page.ask("", page.profile.signOut())
        },
        AgainButton {
            visible: !page.profile.loaded && page.complaint !== ""
            onClicked: {
                page.ask("", page.profile.load())
                page.begin()
            }
        }
    ]
}
