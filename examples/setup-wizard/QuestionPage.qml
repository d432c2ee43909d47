// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15

WizardPage {
    id: page

    readonly property bool isReady: answer.text.length > 0 && question.currentIndex >= 0

    function next() {
        if (!page.isReady)
            return
        page.wizard.registration.securityQuestionId = question.currentId
        page.wizard.registration.securityAnswer = answer.text
        page.wizard.show(page.wizard.captchaRequired ? "CaptchaPage" : "TermsPage")
    }

    objectName: "QuestionPage"
    title: qsTr("Should you forget your password")
    explanation: qsTr("Choose a question that only you can answer.")
    firstField: question.box
    complaint: page.wizard.questionsComplaint
    Component.onCompleted: {
        if (page.wizard.questions.length === 0)
            page.wizard.fetchQuestions()
    }

    QuestionChoice {
        id: question

        questions: page.wizard.questions
    }

    Field {
        id: answer

        objectName: "answer"
        label: qsTr("Your answer")
        onAccepted: page.next()
    }

    buttons: [
        PushButton {
            objectName: "next"
            highlighted: true
            text: qsTr("Next")
            enabled: page.isReady
            onClicked: page.next()
        },
        AgainButton {
            visible: page.complaint !== ""
            onClicked: {
                page.wizard.fetchQuestions()
                page.begin()
            }
        }
    ]
}
