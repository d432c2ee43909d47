// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15
import Kel.Accounts 1.0

// Bob's story on the screen of a handset, by keyboard alone.
Item {
    id: root

    width: 360
    height: 640

    Loader {
        id: screen

        anchors.fill: parent
        focus: true
    }

    SignalSpy {
        id: failures

        signalName: "failureChanged"
    }

    TestCase {
        id: test

        readonly property Item page: screen.item ? screen.item.page : null

        name: "Wizard"
        when: windowShown

        // As long as a busy machine may take.
        readonly property int patience: 60000

        function eventually(condition, message) {
            try {
                tryVerify(condition, test.patience, message || "")
            } catch (failed) {
                const page = test.page
                console.warn(page ? page.objectName : "no page", page ? page.complaint : "", new Error().stack)
                throw failed
            }
        }

        function becomes(object, property, value) {
            tryCompare(object, property, value, test.patience)
        }

        // For the next request, which is not to be another one that is still on its way.
        function order(fault) {
            eventually(() => !screen.item.accounts.busy)
            verify(emulator.order(fault))
        }

        // The wizard from its beginning, as on a device that was just switched on.
        function start(key) {
            screen.setSource("")
            screen.setSource("qrc:/setup-wizard/Wizard.qml", {
                consumerKey: key, consumerSecret: "demo-secret", animated: false,
            })
            screen.forceActiveFocus()
            comesTo("WelcomePage")
        }

        function comesTo(name) {
            eventually(() => test.page && test.page.objectName === name,
                       name + ", not " + (test.page ? test.page.objectName : "none"))
        }

        function part(name) {
            const found = findChild(test.page, name)
            verify(found, name)
            return found
        }

        function hasFocus(item) {
            for (let focus = screen.Window.activeFocusItem; focus; focus = focus.parent)
                if (focus === item)
                    return true
            return false
        }

        // As the tabulator goes.
        function go(name) {
            const target = part(name)
            for (let i = 0; i < 40 && !hasFocus(target); ++i)
                keyClick(Qt.Key_Tab)
            verify(hasFocus(target), "the keys do not come to " + name)
            // What has the keys is in sight, whole where there is room for it.
            const place = screen.Window.activeFocusItem.mapToItem(root, 0, 0)
            verify(place.y >= 0 && place.y < root.height, name + " is out of sight")
        }

        function type(name, text) {
            go(name)
            keyClick(Qt.Key_A, Qt.ControlModifier)
            for (const character of text)
                keyClick(character)
        }

        function press(name) {
            eventually(() => part(name).enabled, name)
            go(name)
            keyClick(Qt.Key_Space)
        }

        // Texts that do not fit, however large they are.
        function sticksOut(item) {
            let found = []
            for (let i = 0; i < item.children.length; ++i) {
                const child = item.children[i]
                if (!child.visible || child.width === 0)
                    continue
                const left = child.mapToItem(root, 0, 0).x
                // A text of the service is a text, and no page with pictures from elsewhere.
                if (child.text && child.textFormat !== undefined && child.textFormat !== Text.PlainText)
                    found.push("not plain: " + child.text)
                if (child.text && (left < -0.5 || left + child.width > root.width + 0.5
                                   || child.truncated))
                    found.push(child.text)
                found = found.concat(sticksOut(child))
            }
            return found
        }

        // What is another text each time is left out.
        function complaintAbout(name) {
            const hidden = ["captcha", "picture", "code"].map(one => findChild(test.page, one))
                .filter(item => item && item.visible)
                .map(item => item.mapToItem(root, 0, 0, item.width, item.height))
            let complaint
            verify(screen.grabToImage(result => {
                complaint = pictures.complaintAbout(result.image, name, hidden)
            }))
            eventually(() => complaint !== undefined)
            return complaint
        }

        // As soon as the page has come to rest.
        function looksRight(name) {
            let wide = ""
            eventually(() => (wide = sticksOut(screen.item).join("; ")) === "", name)
            let complaint = ""
            for (let i = 0; i < 20; ++i) {
                complaint = complaintAbout(name)
                if (complaint === "")
                    return true
                waitForRendering(screen, 100)
            }
            console.warn(complaint)
            return false
        }

        function solveCaptcha(field) {
            const captcha = part("captcha")
            becomes(captcha, "loading", CaptchaPicture.Ready)
            type(field, emulator.captchaText(captcha.captchaId))
        }

        // In one piece, since each part of a story needs the one before it.
        function test_bobSetsUpHisAccount() {
            const wrong = []
            const look = name => { if (!looksRight(name)) wrong.push(name) }

            start("demo-key")
            becomes(part("prepared"), "visible", true)
            becomes(part("country"), "visible", true)
            verify(/Finland|Suomi/.test(part("country").text), part("country").text)
            look("welcome")
            eventually(() => emulator.requestsFor("country=FI") > 0, "terms of this country")
            press("create")

            comesTo("NamePage")
            type("name", "alice")
            eventually(() => part("name").hint.length > 0 && !part("name").complaint
                            && part("name").hint !== part("name").input.text)
            type("name", "admin")
            eventually(() => part("name").complaint.length > 0)
            type("name", "bob")
            type("password", "bobs first")
            becomes(part("next"), "enabled", true)
            look("name")
            // Without questions there is no way on, so they can be asked for again.
            screen.item.questions = []
            order("status=503@6")
            press("next")

            comesTo("QuestionPage")
            eventually(() => test.page.complaint.length > 0)
            press("again")
            eventually(() => screen.item.questions.length > 0 && test.page.complaint === "")
            type("answer", "Kallio")
            look("question")
            press("next")

            comesTo("CaptchaPage")
            becomes(part("captcha"), "loading", CaptchaPicture.Ready)
            type("answer", "misread")
            press("next")
            comesTo("TermsPage")
            press("accept")
            look("terms")
            press("next")

            // Misread, so it comes back to the field.
            comesTo("CaptchaPage")
            eventually(() => part("answer").complaint.length > 0)
            becomes(part("captcha"), "loading", CaptchaPicture.Ready)
            look("captcha")
            solveCaptcha("answer")
            press("next")
            comesTo("TermsPage")
            press("accept")
            order("close-before-headers@5")
            press("next")

            // What is no field's failure is told where the way goes on.
            comesTo("CaptchaPage")
            eventually(() => test.page.complaint.length > 0)
            becomes(part("captcha"), "loading", CaptchaPicture.Ready)
            solveCaptcha("answer")
            press("next")
            comesTo("TermsPage")
            // What could not be fetched is not accepted.
            press("accept")
            order("status=503@8")
            screen.item.fetchTerms()
            eventually(() => test.page.complaint.length > 0)
            verify(!part("next").enabled)
            press("again")
            eventually(() => test.page.complaint === "")
            press("next")

            comesTo("SuccessPage")
            look("success")
            order("status=503@22")
            press("show")

            comesTo("ProfilePage")
            eventually(() => test.page.complaint.length > 0)
            verify(!screen.item.profile.loaded)
            press("again")
            becomes(screen.item.profile, "loaded", true)
            compare(screen.item.profile.userName, "bob")
            look("profile")
            type("oldPassword", "not it")
            type("newPassword", "bobs second")
            press("changePassword")
            eventually(() => part("oldPassword").complaint.length > 0)
            type("oldPassword", "bobs first")
            press("changePassword")
            eventually(() => test.page.done.length > 0)
            type("answer", "Seven Brothers")
            press("changeQuestion")
            eventually(() => test.page.done.length > 0 && !test.page.busy)
            press("signOut")

            comesTo("WelcomePage")
            press("signIn")
            comesTo("SignInPage")
            type("name", "bob")
            type("password", "bobs first")
            press("next")
            eventually(() => test.page.complaint.length > 0)
            look("signin")
            press("forgot")

            comesTo("RecoveryPage")
            solveCaptcha("picture")
            look("recovery")
            press("next")
            becomes(test.page, "isSent", true)
            eventually(() => !test.page.busy)
            type("code", emulator.tokenOf("bob"))
            type("answer", "Seven Brothers")
            type("password", "bobs third")
            look("newpassword")
            // A failure of a field that is not shown any more is told all the same.
            screen.item.recovery.userName = "nobody"
            press("next")
            eventually(() => !test.page.busy && test.page.failure.status !== 0)
            verify(test.page.complaint.length > 0, test.page.failure.name)
            screen.item.recovery.userName = "bob"
            press("next")
            comesTo("SignInPage")
            type("password", "bobs third")
            press("next")
            comesTo("SuccessPage")
            press("show")
            comesTo("ProfilePage")
            becomes(screen.item.profile, "loaded", true)
            eventually(() => !test.page.busy)
            press("signOut")

            // Somebody else, of whom nothing is known of the one before.
            comesTo("WelcomePage")
            press("signIn")
            comesTo("SignInPage")
            type("name", "alice")
            type("password", "secret")
            press("next")
            comesTo("SuccessPage")
            verify(part("loginId").text.includes("alice"), part("loginId").text)
            press("show")
            comesTo("ProfilePage")
            becomes(screen.item.profile, "loaded", true)
            eventually(() => !test.page.busy)
            press("signOut")
            comesTo("WelcomePage")
            compare(wrong, [])
            compare(pictures.complaintAboutSheets(), "")
        }

        // On a device with service tags, by an address, which can only be looked up with one.
        function test_carolRegistersByHerAddress() {
            const wrong = []
            const look = name => { if (!looksRight(name)) wrong.push(name) }

            // A SIM is good for one account.
            verify(emulator.insertSim("244", "05", "9876543210"))
            verify(emulator.giveTags(true))
            start("demo-key")
            becomes(screen.item, "captchaRequired", false)
            eventually(() => screen.item.questions.length > 0)
            press("create")

            comesTo("NamePage")
            type("name", "alice@example.org")
            verify(!part("mobile").visible)
            const lookingUp = part("name").hint
            eventually(() => part("name").hint !== lookingUp)
            const taken = part("name").hint
            verify(taken.length > 0)
            type("password", "carols first")
            verify(!part("next").enabled)
            type("name", "carol@mail.example")
            becomes(part("next"), "enabled", true)
            verify(part("name").hint.length > 0 && part("name").hint !== taken)
            compare(part("name").complaint, "")
            press("next")
            comesTo("QuestionPage")
            type("answer", "Kallio")
            press("next")

            // Without a captcha.
            comesTo("TermsPage")
            press("accept")
            order("hang@5")
            const before = emulator.requestsFor("registration")
            press("next")
            comesTo("ProgressPage")
            eventually(() => emulator.requestsFor("registration") > before)
            look("progress")
            // Taken back, and by the service, too, which had made the account.
            press("again")
            comesTo("TermsPage")
            let isGone = false
            eventually(() => (isGone = isGone || emulator.deleteAccount("carol@mail.example")))

            // The device has lost its tags meanwhile, so a captcha is needed after all.
            verify(emulator.giveTags(false))
            press("next")
            comesTo("ProgressPage")
            // The first may find the one that was taken back still going.
            eventually(() => {
                const asks = test.page.objectName === "ProgressPage"
                if (asks && !screen.item.registration.busy && test.page.complaint)
                    press("again")
                return !asks
            }, "no way on without tags")
            comesTo("CaptchaPage")
            solveCaptcha("answer")
            press("next")
            comesTo("TermsPage")
            press("accept")
            // Somebody else was faster.
            verify(emulator.makeAccounts('[{"userName": "quick", "email": "carol@mail.example"}]'))
            press("next")
            comesTo("NamePage")
            verify(part("name").complaint.length > 0)
            type("name", "carol@post.example")
            compare(part("name").complaint, "")
            becomes(part("next"), "enabled", true)
            press("next")
            comesTo("QuestionPage")
            type("answer", "Kallio")
            press("next")
            comesTo("CaptchaPage")
            solveCaptcha("answer")
            press("next")
            comesTo("TermsPage")
            press("accept")
            press("next")

            comesTo("SuccessPage")
            verify(part("loginId").text.includes("carol@post.example"), part("loginId").text)
            press("show")
            comesTo("ProfilePage")
            becomes(screen.item.profile, "loaded", true)
            compare(screen.item.profile.userName, "")
            compare(screen.item.profile.emailAddress, "carol@post.example")
            look("named")
            type("name", "alice")
            press("changeName")
            eventually(() => part("name").complaint.length > 0)
            type("name", "carol")
            press("changeName")
            eventually(() => test.page.done.length > 0)
            compare(screen.item.profile.userName, "carol")
            // It is for good.
            verify(!part("changeName").visible)
            eventually(() => !test.page.busy)
            press("signOut")

            comesTo("WelcomePage")
            press("signIn")
            comesTo("SignInPage")
            type("name", "carol")
            type("password", "carols first")
            press("next")
            comesTo("SuccessPage")
            press("show")
            comesTo("ProfilePage")
            becomes(screen.item.profile, "userName", "carol")
            eventually(() => !test.page.busy)
            press("signOut")
            comesTo("WelcomePage")
            compare(wrong, [])
        }

        function test_whatCouldNotBeginCanBeTriedAgain() {
            start("")
            eventually(() => test.page.complaint.length > 0)
            verify(!screen.item.accounts.initialized)
            failures.target = screen.item.accounts
            failures.clear()
            press("again")
            becomes(failures, "count", 1)
            verify(test.page.complaint.length > 0)
            verify(looksRight("failed"))
            screen.item.consumerKey = "demo-key"
            becomes(screen.item.accounts, "initialized", true)
            compare(test.page.complaint, "")
            eventually(() => screen.item.questions.length > 0)
        }

        // A page that was left out can be needed after all, and the way does not begin again for that.
        function test_aPageThatWasLeftOutComesWhenItIsNeeded() {
            start("demo-key")
            screen.item.show("NamePage")
            screen.item.show("TermsPage")
            comesTo("TermsPage")
            screen.item.backTo("CaptchaPage")
            comesTo("CaptchaPage")
            compare(screen.item.depth, 3)
            screen.item.backTo("NamePage")
            comesTo("NamePage")
            compare(screen.item.depth, 2)
        }
    }
}
