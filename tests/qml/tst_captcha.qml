// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtTest 1.15
import Kel.Accounts 1.0

TestCase {
    id: test

    name: "Captcha"
    width: 320
    height: 240
    visible: true
    when: windowShown

    AccountsClient {
        id: accounts

        consumerKey: "demo-key"
        consumerSecret: "demo-secret"
    }

    Component {
        id: images

        CaptchaImage {
            // A reply may come while a key or a click is being delivered.
            property var states: []

            client: accounts
            onLoadingChanged: states.push([loading, captchaId])
        }
    }

    Component {
        id: clients

        AccountsClient {
            consumerKey: "demo-key"
            consumerSecret: "demo-secret"
        }
    }

    property var image: null

    function initTestCase() {
        tryCompare(accounts, "initialized", true)
    }

    function init() {
        image = createTemporaryObject(images, test)
    }

    // How many colours the item has on the screen. A window without a display keeps no picture of
    // itself, so the item is drawn once more.
    function coloursOf(item) {
        let colours = 0
        verify(item.grabToImage(result => { colours = emulator.coloursIn(result.image) }))
        tryVerify(() => colours > 0)
        return colours
    }

    function test_aPictureIsFetchedAndShown() {
        tryCompare(image, "loading", CaptchaPicture.Ready)
        verify(image.states.some(state => state[0] === CaptchaPicture.Loading))
        verify(image.captchaId.length > 0)
        verify(emulator.captchaText(image.captchaId).length > 0)
        verify(image.implicitWidth > 0)
        verify(image.implicitHeight > 0)
        verify(coloursOf(image) > 1)
    }

    function test_aClientThatComesLaterIsAskedAtOnce() {
        const late = createTemporaryObject(images, test, { client: null })
        compare(late.loading, CaptchaPicture.Null)
        late.client = accounts
        tryCompare(late, "loading", CaptchaPicture.Ready)
        verify(late.captchaId.length > 0)
    }

    function test_anotherPictureIsAnotherCaptcha() {
        tryCompare(image, "loading", CaptchaPicture.Ready)
        const first = image.captchaId
        image.forceActiveFocus()
        image.states = []
        keyClick(Qt.Key_Space)
        tryVerify(() => image.states.length === 2)
        compare(image.states[0], [CaptchaPicture.Loading, ""])
        compare(image.loading, CaptchaPicture.Ready)
        verify(image.captchaId !== first)
        image.states = []
        mouseClick(image)
        tryVerify(() => image.states.length === 2)
        compare(image.states[0], [CaptchaPicture.Loading, ""])
        compare(image.loading, CaptchaPicture.Ready)
    }

    function test_aScreenReaderIsToldWhatItIs() {
        compare(image.Accessible.role, Accessible.Button)
        verify(image.Accessible.name.includes("aptcha"))
        const onItsWay = image.Accessible.description
        tryCompare(image, "loading", CaptchaPicture.Ready)
        verify(image.Accessible.description.length > 0)
        verify(image.Accessible.description !== onItsWay)
    }

    function test_aReplyWithoutAPictureIsAFailure_data() {
        return [
            { tag: "not-xml", status: Status.ErrorProtocolFailure },
            { tag: "status=503", status: Status.ErrorUnknown, any: true },
            { tag: "cut-body", status: Status.ErrorRemoteHostClosed },
        ]
    }

    function test_aReplyWithoutAPictureIsAFailure(row) {
        tryCompare(image, "loading", CaptchaPicture.Ready)
        verify(emulator.order(row.tag))
        image.reload()
        tryCompare(image, "loading", CaptchaPicture.Error)
        if (!row.any)
            compare(image.failure.status, row.status)
        verify(image.failure.status !== 0)
        compare(image.captchaId, "")
        compare(image.Accessible.description, image.failure.text)
        compare(coloursOf(image), 1)
        image.reload()
        tryCompare(image, "loading", CaptchaPicture.Ready)
        compare(image.failure.status, 0)
    }

    function test_aPictureWithoutItsClientIsNone() {
        tryCompare(image, "loading", CaptchaPicture.Ready)
        const states = []
        image.loadingChanged.connect(() => states.push(image.loading))
        const own = clients.createObject(test)
        own.initializedChanged.connect(() => own.destroy())
        image.client = own
        tryVerify(() => !image.client)
        compare(states, [CaptchaPicture.Null, CaptchaPicture.Loading, CaptchaPicture.Null])
        compare(image.captchaId, "")
    }
}
