// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtTest 1.15
import Kel.Accounts 1.0

TestCase {
    id: test

    name: "NameCheck"

    AccountsClient {
        id: accounts

        consumerKey: "demo-key"
        consumerSecret: "demo-secret"
    }

    Component {
        id: checks

        NameCheck { client: accounts }
    }

    property NameCheck check: null

    // As long as a busy machine may take.
    readonly property int patience: 60000

    function eventually(condition) {
        tryVerify(condition, test.patience)
    }

    function becomes(object, property, value) {
        tryCompare(object, property, value, test.patience)
    }

    function init() {
        check = createTemporaryObject(checks, test)
    }

    function test_aFreeNameIsAvailable() {
        compare(check.pause, 250)
        check.name = "linda"
        verify(check.checking)
        verify(!check.checked)
        becomes(check, "checked", true)
        verify(!check.checking)
        verify(check.available)
        compare(check.suggestions, [])
    }

    function test_aTakenNameHasSuggestionsUntilItChanges() {
        check.name = "alice"
        becomes(check, "checked", true)
        verify(!check.available)
        verify(check.suggestions.length > 0)
        check.name = "alice1"
        verify(!check.checked)
        compare(check.suggestions, [])
        verify(check.checking)
    }

    function test_anAddressIsAskedForAsOne_data() {
        return [
            { tag: "by its sign", given: "alice@example.org", kind: NameCheck.Kind.Any },
            { tag: "by its kind", given: "alice", kind: NameCheck.Kind.EmailAddress },
        ]
    }

    function test_anAddressIsAskedForAsOne(row) {
        check.kind = row.kind
        check.name = row.given
        // The service wants a service tag for that, which this device has not.
        eventually(() => check.failure.status === Status.ErrorInvalidServiceTag)
    }

    function test_aNameWithASignIsANameWhenThatIsItsKind() {
        check.kind = NameCheck.Kind.UserName
        check.name = "rita@home"
        becomes(check, "available", true)
        compare(emulator.requestsFor("availability/rita"), 1)
    }

    function test_onlyTheNameThatStaysIsAskedFor() {
        for (const typed of ["m", "ma", "mar", "mart", "marta"])
            check.name = typed
        becomes(check, "checked", true)
        compare(emulator.requestsFor("/availability/mar"), 1)
        compare(emulator.requestsFor("/availability/marta"), 1)
    }

    function test_anAnswerIsAboutNoOtherNameThanTheOneAskedFor() {
        const found = []
        check.busyChanged.connect(() => {
            // The answer is there, and not told yet.
            if (!check.busy && check.name === "alice")
                check.name = "susan"
        })
        check.checkedChanged.connect(() => {
            if (check.checked)
                found.push(check.name + (check.available ? " is free" : " is taken"))
        })
        check.name = "alice"
        eventually(() => check.checked && check.name === "susan" && !check.checking)
        compare(found, ["susan is free"])
    }

    function test_twoChecksDoNotTakeBackEachOthersQuestions() {
        const other = createTemporaryObject(checks, test)
        check.name = "nora"
        other.name = "alice"
        becomes(check, "checked", true)
        becomes(other, "checked", true)
        verify(check.available)
        verify(!other.available)
    }

    function test_aRefusedNameFails() {
        check.name = "admin"
        eventually(() => check.failure.status === Status.ErrorUserNameReserved)
        compare(check.failure.field, "userName")
        verify(!check.checking)
        verify(!check.available)
        check.name = "administrator"
        compare(check.failure.status, 0)
    }

    function test_noNameIsNoQuestion() {
        check.name = "olga"
        check.name = ""
        verify(!check.checking)
        verify(!check.checked)
        check.check()
        verify(!check.checking)
        compare(emulator.requestsFor("/availability/olga"), 0)
    }

    function test_aLostAnswerFailsAndCanBeAskedAgain() {
        verify(emulator.order("status=503"))
        check.name = "petra"
        eventually(() => check.failure.status !== 0)
        verify(check.failure.retryable)
        check.check()
        verify(check.checking)
        becomes(check, "checked", true)
        compare(check.failure.status, 0)
    }

    function test_nothingThatWasKnownStandsBesideAFailure_data() {
        return [{ tag: "free", name: "tessa" }, { tag: "taken", name: "alice" }]
    }

    function test_nothingThatWasKnownStandsBesideAFailure(row) {
        check.name = row.name
        becomes(check, "checked", true)
        verify(emulator.order("status=503"))
        let beside
        check.failureChanged.connect(() => {
            if (check.failure.status !== 0)
                beside = [check.checked, check.available, check.suggestions.length]
        })
        check.check()
        eventually(() => beside !== undefined)
        compare(beside, [false, false, 0])
        check.check()
        becomes(check, "checked", true)
        check.client = null
        check.check()
        verify(!check.checked && !check.available)
    }

    function test_whoIsToldMayGiveAnotherName() {
        check.name = "ursula"
        becomes(check, "checked", true)
        check.checkedChanged.connect(() => {
            if (!check.checked && check.name === "ursula")
                check.name = "viola"
        })
        check.check()
        verify(check.checking)
        becomes(check, "checked", true)
        compare(check.name, "viola")
        compare(emulator.requestsFor("/availability/ursula"), 1)
        compare(emulator.requestsFor("/availability/viola"), 1)
    }

    function test_withoutAClientNothingIsAsked() {
        check.client = null
        check.name = "quinn"
        verify(!check.checking)
        check.check()
        compare(check.failure.status, Status.ErrorInitializationPending)
        check.client = accounts
        verify(check.checking)
        becomes(check, "available", true)
    }
}
