// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQml 2.15
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

WizardPage {
    id: page

    readonly property var registration: page.wizard.registration
    // Where a field of it is to be mended.
    readonly property var places: ({
        userName: "NamePage", emailAddress: "NamePage", password: "NamePage", captchaText: "CaptchaPage",
    })

    objectName: "ProgressPage"
    title: qsTr("One moment")
    explanation: page.registration.busy ? qsTr("Your account is being set up.") : ""
    complaint: page.places[page.registration.failure.field] ? "" : page.registration.failure.text
    canGoBack: !page.registration.busy
    firstField: again
    Component.onCompleted: page.registration.submit()
    Component.onDestruction: page.registration.cancel()

    BusyIndicator {
        Layout.alignment: Qt.AlignHCenter
        running: page.registration.busy && page.wizard.animated
        visible: page.registration.busy
        Accessible.name: page.explanation
    }

    Connections {
        target: page.registration
        function onSucceeded() {
            page.wizard.startAgainWith("SuccessPage")
        }
        function onFailed() {
            const place = page.places[page.registration.failure.field]
            // The service wants one, also where the device thought that its tag would do.
            if (place === "CaptchaPage")
                page.wizard.captchaRequired = true
            // Another captcha is needed, whatever failed.
            if (place || page.wizard.captchaRequired)
                page.wizard.backTo(place || "CaptchaPage")
            else
                page.wizard.askWhetherCaptchaIsRequired()
        }
    }

    buttons: PushButton {
        id: again

        objectName: "again"
        text: page.registration.busy ? qsTr("Cancel") : qsTr("Try again")
        onClicked: {
            if (page.registration.busy)
                page.wizard.back()
            else if (page.wizard.captchaRequired)
                page.wizard.backTo("CaptchaPage")
            else
                page.registration.submit()
        }
    }
}
