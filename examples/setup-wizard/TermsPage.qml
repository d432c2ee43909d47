// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import Kel.Accounts 1.0

WizardPage {
    id: page

    readonly property int consent: page.wizard.consent

    function next() {
        page.wizard.registration.marketingInfo =
            page.consent === AccountsClient.Implicit || news.checked
        page.wizard.show("ProgressPage")
    }

    objectName: "TermsPage"
    title: qsTr("Terms of service")
    firstField: accept
    complaint: page.wizard.termsComplaint

    Repeater {
        model: Object.keys(page.wizard.terms)

        Words {
            required property string modelData

            text: "\u2066" + page.wizard.terms[modelData] + "\u2069"
            wrapMode: Text.WrapAnywhere
        }
    }

    Choice {
        id: accept

        objectName: "accept"
        text: qsTr("I accept the terms.")
    }

    Choice {
        id: news

        objectName: "news"
        visible: page.consent !== AccountsClient.Implicit
        checked: page.consent === AccountsClient.PreTicked
        text: qsTr("Send me news and offers.")
    }

    Words {
        visible: page.consent === AccountsClient.Implicit
            || page.consent === AccountsClient.UnTickedWithCopyText
        text: page.consent === AccountsClient.Implicit
            ? qsTr("With the account you agree to be sent news and offers.")
            : qsTr("You can take this back at any time.")
    }

    buttons: [
        PushButton {
            objectName: "next"
            highlighted: true
            text: qsTr("Create the account")
            // Nobody accepts what could not be shown.
            enabled: accept.checked && page.complaint === ""
            onClicked: page.next()
        },
        AgainButton {
            visible: page.complaint !== ""
            onClicked: {
                page.wizard.fetchTerms()
                page.begin()
            }
        }
    ]
}
