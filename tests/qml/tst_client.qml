// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtTest 1.15
import Kel.Accounts 1.0

TestCase {
    id: test

    name: "Client"

    property var told: []
    property bool isPageGone: false

    AccountsClient {
        id: client

        consumerKey: "demo-key"
        consumerSecret: "demo-secret"
        service: "music"
    }

    Component {
        id: another

        AccountsClient {}
    }

    Component {
        id: forms

        SignIn {}
    }

    Component {
        id: registrations

        Registration {}
    }

    Component {
        id: page

        QtObject { Component.onDestruction: test.isPageGone = true }
    }

    function answered(what) {
        return function (value) { test.told.push([what, value]) }
    }

    // As long as a busy machine may take.
    readonly property int patience: 60000

    function eventually(condition) {
        tryVerify(condition, test.patience)
    }

    function becomes(object, property, value) {
        tryCompare(object, property, value, test.patience)
    }

    function init() {
        becomes(client, "initialized", true)
        told = []
    }

    function cleanup() {
        becomes(client, "busy", false)
    }

    function test_aCompleteClientInitializesItself() {
        becomes(client, "initialized", true)
        compare(client.failure.status, Status.ErrorNone)
        compare(client.server, AccountsClient.Production)
    }

    function test_aClientIsInitializedWhenItsKeysAreSet() {
        const late = createTemporaryObject(another, test)
        late.isUserIdAvailable("carol").then(answered("free"), answered("failed"))
        eventually(() => told.length === 1)
        compare(told[0][1].status, Status.ErrorInitializationPending)
        late.consumerSecret = "demo-secret"
        late.consumerKey = "demo-key"
        becomes(late, "initialized", true)
        ignoreWarning(/"consumerKey" is read before that/)
        late.consumerKey = "another"
        compare(late.consumerKey, "demo-key")
    }

    function test_aClientThatCouldNotBeInitializedCanBeLater() {
        const late = createTemporaryObject(another, test)
        late.initialize("", "", AccountsClient.Production, "music").then(answered("done"), answered("failed"))
        eventually(() => told.length === 1)
        compare(told[0][0], "failed")
        compare(late.failure.status, Status.ErrorInvalidParameter)
        verify(!late.initialized)
        late.consumerKey = "demo-key"
        late.consumerSecret = "demo-secret"
        becomes(late, "initialized", true)
        compare(late.failure.status, Status.ErrorNone)
    }

    function test_ofSeveralInitializationsTheOneThatGoesWellCounts_data() {
        return [{ tag: "the first", keys: ["demo-key", ""] }, { tag: "the second", keys: ["", "demo-key"] }]
    }

    function test_ofSeveralInitializationsTheOneThatGoesWellCounts(row) {
        const late = createTemporaryObject(another, test)
        const failures = []
        late.failureChanged.connect(() => { failures.push(late.failure.status) })
        for (const key of row.keys) {
            late.initialize(key, "demo-secret", AccountsClient.Production, "music")
                .then(answered("done"), answered("failed"))
        }
        // What is set while one is under way comes too late, also when another fails.
        ignoreWarning(/"consumerKey" is read before that/)
        late.consumerKey = "another"
        eventually(() => told.length === 2)
        compare(told.map(one => one[0]).sort(), ["done", "failed"])
        verify(late.initialized)
        compare(late.failure.status, Status.ErrorNone)
        compare(failures, [])
    }

    function test_anInitializedClientStaysSo() {
        const told = []
        client.initializedChanged.connect(() => { told.push("initialized") })
        client.failureChanged.connect(() => { told.push("failure") })
        const call = client.initialize("another", "secret", AccountsClient.Production, "music")
        eventually(() => call.finished)
        compare(call.failure.status, Status.ErrorInvalidRequest)
        verify(client.initialized)
        compare(client.failure.status, Status.ErrorNone)
        compare(told, [])
    }

    function test_anInitializationThatIsTakenBackIsKnownToItsClient() {
        const late = createTemporaryObject(another, test)
        const call = late.initialize("demo-key", "demo-secret", AccountsClient.Production, "music")
        call.then(answered("done"), answered("failed"))
        call.cancel()
        verify(call.cancelled)
        verify(!late.busy)
        becomes(late, "initialized", true)
        compare(told, [])
        verify(call.cancelled)
    }

    function test_aDateOfBirthThatIsNoneIsNotSent_data() {
        return [
            { tag: "another order", date: "28.2.1990" },
            { tag: "other signs", date: "1990/02/28" },
            { tag: "more behind it", date: "1990-02-28x" },
            { tag: "no such day", date: "1990-02-29" },
            { tag: "a moment", date: new Date(0) },
        ]
    }

    function test_aDateOfBirthThatIsNoneIsNotSent(row) {
        const sent = emulator.requestsFor("")
        const call = client.registerAccount({ emailAddress: "dated@mail.example", password: "x",
                                              dateOfBirth: row.date })
        compare(call.operation, "registerAccount")
        call.then(answered("done"), answered("failed"))
        verify(client.busy)
        verify(!call.finished)
        eventually(() => told.length === 1)
        compare(told[0][0], "failed")
        compare(told[0][1].status, Status.ErrorInvalidParameter)
        compare(told[0][1].field, "dateOfBirth")
        verify(told[0][1].text.includes("1990-02-28"), told[0][1].text)
        compare(call.failure.field, "dateOfBirth")
        verify(!client.busy)
        compare(emulator.requestsFor(""), sent)
    }

    function test_aFormTellsThatADateOfBirthIsNone() {
        const form = createTemporaryObject(registrations, test, { client: client,
            emailAddress: "dated@mail.example", password: "x", dateOfBirth: "28.2.1990" })
        const sent = emulator.requestsFor("")
        let failed = 0
        form.failed.connect(() => { ++failed })
        verify(!form.submit())
        compare(failed, 1)
        compare(form.failure.status, Status.ErrorInvalidParameter)
        compare(form.failure.field, "dateOfBirth")
        verify(!form.busy)
        compare(emulator.requestsFor(""), sent)
        form.dateOfBirth = "1990-02-28"
        verify(form.submit())
        // There is no captcha with it.
        eventually(() => form.failure.status !== 0)
        verify(form.failure.field !== "dateOfBirth", form.failure.name)
    }

    function test_anAnswerComesLaterAndOnce() {
        const call = client.isUserIdAvailable("alice")
        compare(call.operation, "isUserIdAvailable")
        compare(call.then(answered("done"), answered("failed")), call)
        verify(client.busy)
        verify(!call.finished)
        compare(told.length, 0)
        eventually(() => told.length === 1)
        compare(told[0][0], "done")
        compare(told[0][1].available, false)
        verify(told[0][1].suggestions.length > 0)
        verify(call.finished)
        verify(!call.cancelled)
        compare(call.result.available, false)
        compare(call.failure.status, 0)
    }

    function test_aFailureSaysWhatIsKnownOfIt() {
        client.isUserIdAvailable("admin").then(answered("done"), answered("failed"))
        eventually(() => told.length === 1)
        compare(told[0][0], "failed")
        const failure = told[0][1]
        compare(failure.status, Status.ErrorUserNameReserved)
        compare(failure.field, "userName")
        compare(failure.retryable, false)
        verify(failure.text.length > 10)
    }

    function test_aFinishedCallCanStillBeAsked() {
        const call = client.isUserIdAvailable("dora")
        eventually(() => call.finished)
        call.then(answered("done"))
        compare(told.length, 0)
        eventually(() => told.length === 1)
        compare(told[0][1].available, true)
    }

    function test_aCancelledCallTellsNobody() {
        const call = client.isUserIdAvailable("erin")
        call.then(answered("done"), answered("failed"))
        call.cancel()
        verify(call.finished)
        verify(call.cancelled)
        verify(!client.busy)
        call.then(answered("done"), answered("failed"))
        // What comes after it has come, so it would have come, too.
        const next = client.isUserIdAvailable("frank")
        eventually(() => next.finished)
        compare(told.length, 0)
    }

    function test_aFinishedCallCanBeKeptBack() {
        const call = client.isUserIdAvailable("gina")
        call.then(() => { told.push("first"); call.cancel() })
        call.then(answered("second"))
        eventually(() => told.length > 0)
        const next = client.isUserIdAvailable("henry")
        eventually(() => next.finished)
        compare(told, ["first"])
        verify(!call.cancelled)
    }

    function test_nobodyHasToKeepACall() {
        for (let i = 0; i < 5; ++i)
            client.isUserIdAvailable("keep" + i).then(answered("done"))
        gc()
        eventually(() => told.length === 5)
        gc()
    }

    function test_nothingIsToldAPageThatIsGone() {
        const shown = page.createObject(test)
        isPageGone = false
        // An answer that is there at once may come before the page is gone.
        verify(emulator.order("delay=500"))
        const call = client.isUserIdAvailable("ivy")
        const tell = () => { test.told.push(test.isPageGone ? "page that is gone" : "page") }
        call.then(tell, tell, shown)
        call.then(() => { test.told.push("client") })
        shown.destroy()
        eventually(() => isPageGone && told.includes("client"))
        verify(!told.includes("page that is gone"))
    }

    function test_nothingIsToldWithoutItsClient() {
        const brief = another.createObject(test)
        const call = brief.retrieveCountryCode()
        call.then(answered("done"), answered("failed"))
        brief.destroy()
        eventually(() => call.finished)
        verify(call.cancelled)
        const next = client.isUserIdAvailable("jack")
        eventually(() => next.finished)
        compare(told.length, 0)
    }

    function test_aFormMayLoseItsClientWhileItAsks() {
        const form = createTemporaryObject(forms, test)
        form.client = client
        verify(form.submit())
        eventually(() => form.failure.status !== 0)
        form.failureChanged.connect(() => { form.client = null })
        verify(!form.submit())
        compare(form.failure.status, Status.ErrorInitializationPending)
        verify(!form.busy)
    }

    function test_aFormAsksOnceWhoeverIsTold() {
        const form = createTemporaryObject(forms, test)
        form.client = client
        verify(form.submit())
        eventually(() => form.failure.status !== 0)
        const asked = []
        const again = () => {
            if (!form.failure.status && asked.length === 0)
                asked.push(form.submit())
        }
        form.failureChanged.connect(again)
        verify(!form.submit())
        compare(asked, [true])
        eventually(() => form.failure.status !== 0)
    }

    function test_aQuestionMayBeTakenBackAsSoonAsItIsOpen() {
        const form = createTemporaryObject(forms, test)
        form.client = client
        const takeBack = () => {
            if (client.busy)
                form.cancel()
        }
        client.busyChanged.connect(takeBack)
        verify(!form.submit())
        client.busyChanged.disconnect(takeBack)
        verify(!form.busy)
        verify(!client.busy)
    }

    function test_aClientThatEndsIsAskedNothing() {
        const brief = another.createObject(test)
        const form = createTemporaryObject(forms, test)
        const states = []
        const asked = []
        form.client = brief
        form.busyChanged.connect(() => {
            states.push(form.busy)
            if (!form.busy && asked.length === 0)
                asked.push(form.submit())
        })
        verify(form.submit())
        brief.destroy()
        eventually(() => !form.client)
        compare(asked, [false])
        compare(states, [true, false])
    }

    function test_aFunctionThatFailsIsWarnedOfAndTheOthersAreCalled() {
        ignoreWarning(/tst_client\.qml:\d+: Error: out of order/)
        const call = client.isUserIdAvailable("kate")
        call.then(() => { throw new Error("out of order") })
        call.then(answered("second"))
        eventually(() => told.length === 1)
    }

    function test_valuesOfAnotherTypeAreNoCrash() {
        const call = client.isUserIdAvailable(undefined)
        call.then(null, 42)
        call.then(answered("done"), answered("failed"), null)
        eventually(() => told.length === 1)
        client.registerAccount({}).then(answered("done"), answered("failed"))
        eventually(() => told.length === 2)
        compare(told[1][1].status, Status.ErrorInvalidParameter)
    }

    function test_aRegistrationWarnsOfAPropertyThatItHasNot() {
        ignoreWarning(/A registration has no property "pasword"/)
        client.registerAccount({ emailAddress: "a@mail.example", pasword: "x" })
            .then(answered("done"), answered("failed"))
        eventually(() => told.length === 1)
        compare(told[0][1].status, Status.ErrorInvalidParameter)
    }

    function test_aSignInMakesADeviceAccountUnlessItIsToldNotTo_data() {
        return [
            { tag: "by itself", configured: true },
            { tag: "told to", deviceAccount: AccountsClient.DeviceAccount.Create, configured: true },
            { tag: "told not to", deviceAccount: AccountsClient.DeviceAccount.Leave, configured: false },
        ]
    }

    function test_aSignInMakesADeviceAccountUnlessItIsToldNotTo(row) {
        const call = row.deviceAccount === undefined
            ? client.signInAndConfigure("alice", "secret")
            : client.signInAndConfigure("alice", "secret", row.deviceAccount)
        call.then(answered("done"), answered("failed"))
        eventually(() => told.length === 1)
        compare(told[0][0], "done", JSON.stringify(told[0][1]))
        client.isKeLAccountConfigured().then(answered("state"))
        client.signOut().then(answered("out"), answered("failed"))
        eventually(() => told.length === 3)
        compare(told[1][1].isConfigured, row.configured)
        compare(told[2][0], "out")
    }

    function test_valuesHaveTheLibrarysNumbers() {
        compare([AccountsClient.TestA, AccountsClient.TestB, AccountsClient.Production, AccountsClient.Staging,
                 AccountsClient.TestC, AccountsClient.TestD], [0, 1, 2, 3, 4, 5])
        compare([AccountsClient.TermsFormat.Text, AccountsClient.TermsFormat.Html], [0, 1])
        compare([AccountsClient.DeviceAccount.Leave, AccountsClient.DeviceAccount.Create], [0, 1])
        compare([AccountsClient.RecoveryBy.Token, AccountsClient.RecoveryBy.Message], [0, 1])
        compare([AccountsClient.ConsentVariant.Unknown, AccountsClient.ConsentVariant.Implicit,
                 AccountsClient.ConsentVariant.PreTicked, AccountsClient.ConsentVariant.UnTicked,
                 AccountsClient.ConsentVariant.UnTickedWithCopyText], [0, 1, 2, 3, 4])
    }

    function test_secretsCannotBeRead() {
        compare(client.consumerSecret, "")
        verify(!JSON.stringify(client).includes("demo-secret"))
        verify(!String(client).includes("demo-secret"))
    }

    function test_resultsAreObjects() {
        const terms = client.retrieveTermsOfService("music", "en", "FI",
                                                    AccountsClient.TermsFormat.Html)
        const questions = client.retrieveSecurityQuestionList("fi")
        const captcha = client.retrieveCaptchaImage(120, 40)
        const variant = client.queryMarketingVariant()
        const required = client.isCaptchaRequired()
        const state = client.isKeLAccountConfigured()
        becomes(client, "busy", false)
        verify(Object.keys(terms.result.addresses).length > 0)
        verify(questions.result.questions.length > 1)
        verify(questions.result.questions[0].text.length > 0)
        compare(captcha.result.format, "png")
        verify(captcha.result.bytes.byteLength > 0)
        verify(captcha.result.width > 0)
        verify(variant.result.variant >= AccountsClient.ConsentVariant.Implicit)
        compare(required.result.isRequired, true)
        compare(state.result.isConfigured, false)
    }
}
