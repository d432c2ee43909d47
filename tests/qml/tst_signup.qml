// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15
import Kel.Accounts 1.0

// The example, used by keyboard.
Item {
    id: root

    width: 360
    height: 560

    Loader {
        id: screen

        anchors.fill: parent
        source: "../../examples/sign-up.qml"
    }

    TestCase {
        id: test

        name: "SignUp"
        when: windowShown

        function part(name) {
            const found = findChild(screen.item, name)
            verify(found, name)
            return found
        }

        // To the next thing that takes a key, as the tabulator goes.
        function typeInto(name, text) {
            for (let i = 0; i < 20 && !hasFocus(part(name)); ++i)
                keyClick(Qt.Key_Tab)
            verify(hasFocus(part(name)), name)
            keyClick(Qt.Key_A, Qt.ControlModifier)
            for (const character of text)
                keyClick(character)
        }

        function hasFocus(item) {
            for (let focus = screen.Window.activeFocusItem; focus; focus = focus.parent)
                if (focus === item)
                    return true
            return false
        }

        function test_aUserSignsUp() {
            const captcha = part("captcha")
            tryCompare(captcha, "loading", CaptchaPicture.Ready)
            typeInto("userName", "alice")
            tryVerify(() => part("userName").hint.startsWith("It is taken."))
            typeInto("userName", "admin")
            tryVerify(() => part("userName").hint.length > 20 && !part("userName").hint.startsWith("It is"))
            typeInto("userName", "rosa")
            tryCompare(part("userName"), "hint", "It is free.")
            typeInto("mobile", "+358401234567")
            typeInto("password", "rosas secret")
            typeInto("answer", "misread")
            const first = captcha.captchaId
            keyClick(Qt.Key_Tab)
            keyClick(Qt.Key_Space)
            tryVerify(() => part("answer").hint.length > 0)
            compare(part("outcome").text, "")
            tryVerify(() => captcha.loading === CaptchaPicture.Ready && captcha.captchaId !== first)
            typeInto("answer", emulator.captchaText(captcha.captchaId))
            keyClick(Qt.Key_Tab)
            keyClick(Qt.Key_Space)
            tryCompare(part("outcome"), "text", "Welcome.")
        }
    }
}
