// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import Kel.Accounts 1.0

// A captcha that says to a screen reader what it is and whether it is there. A press, by pointer, by
// keyboard or from there, fetches another.
Item {
    id: image

    property alias client: picture.client
    property alias pictureSize: picture.pictureSize
    property alias automatic: picture.automatic
    readonly property alias loading: picture.loading
    readonly property alias captchaId: picture.captchaId
    readonly property alias failure: picture.failure

    function reload() {
        picture.reload()
    }

    implicitWidth: picture.implicitWidth
    implicitHeight: picture.implicitHeight
    activeFocusOnTab: true
    Keys.onReturnPressed: image.reload()
    Keys.onEnterPressed: image.reload()
    Keys.onSpacePressed: image.reload()

    Accessible.role: Accessible.Button
    Accessible.name: picture.title
    Accessible.description: picture.description
    Accessible.focusable: true
    Accessible.onPressAction: image.reload()

    CaptchaPicture {
        id: picture

        anchors.fill: parent
    }

    TapHandler {
        onTapped: image.reload()
    }
}
