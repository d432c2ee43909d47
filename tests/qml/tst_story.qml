// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtTest 1.15
import Kel.Accounts 1.0

// A user's life with an account, by the types that screens are made of.
TestCase {
    id: test

    name: "Story"
    when: windowShown

    AccountsClient {
        id: accounts

        consumerKey: "demo-key"
        consumerSecret: "demo-secret"
        service: "music"
    }

    CaptchaImage {
        id: captcha

        client: accounts
    }

    Registration {
        id: registration

        client: accounts
        emailAddress: "bob@example.org"
        captchaId: captcha.captchaId
        mobilePhoneNumber: "+358401234567"
        firstName: "Bob"
        lastName: "Virtanen"
        country: "FI"
        language: "fi"
        dateOfBirth: "1990-02-28"
        securityQuestionId: "3"
    }

    SignIn {
        id: signIn

        client: accounts
    }

    Profile {
        id: profile

        client: accounts
    }

    Recovery {
        id: recovery

        client: accounts
    }

    SignalSpy { id: registered; target: registration; signalName: "succeeded" }
    SignalSpy { id: refused; target: registration; signalName: "failed" }
    SignalSpy { id: signedIn; target: signIn; signalName: "succeeded" }
    SignalSpy { id: notSignedIn; target: signIn; signalName: "failed" }
    SignalSpy { id: signedOut; target: profile; signalName: "signedOut" }
    SignalSpy { id: named; target: profile; signalName: "userNameChanged" }
    SignalSpy { id: passwordChanged; target: profile; signalName: "passwordChanged" }
    SignalSpy { id: questionChanged; target: profile; signalName: "securityQuestionChanged" }
    SignalSpy { id: profileFailed; target: profile; signalName: "failed" }
    SignalSpy { id: sent; target: recovery; signalName: "messageSent" }
    SignalSpy { id: passwordSet; target: recovery; signalName: "passwordSet" }
    SignalSpy { id: recoveryFailed; target: recovery; signalName: "failed" }

    // In one piece, since each part of a story needs the one before it.
    function test_bobLivesWithHisAccount() {
        tryCompare(captcha, "loading", CaptchaPicture.Ready)
        verify(!registration.complete)
        registration.password = "bobs first"
        registration.securityAnswer = "Kallio"
        verify(registration.complete)
        compare(registration.password, "")
        compare(registration.securityAnswer, "")

        // Misread, then read.
        registration.captchaText = "not it"
        verify(registration.submit())
        verify(registration.busy)
        verify(!registration.submit())
        refused.wait()
        verify(!registration.busy)
        compare(registration.failure.status, Status.ErrorCaptchaError)
        compare(registration.failure.field, "captchaText")
        captcha.reload()
        tryCompare(captcha, "loading", CaptchaPicture.Ready)
        registration.captchaText = emulator.captchaText(captcha.captchaId)
        verify(registration.submit())
        compare(registration.failure.status, 0)
        registered.wait()
        compare(registration.account.emailAddress, "bob@example.org")
        verify(registration.account.credentialsId > 0)
        const known = emulator.accountOf("bob@example.org")
        const filledIn = {
            password: "bobs first", mobile: "+358401234567", firstName: "Bob", lastName: "Virtanen",
            country: "FI", language: "fi", dateOfBirth: "1990-02-28", securityQuestion: "3", securityAnswer: "Kallio"
        }
        for (const name in filledIn)
            compare(known[name], filledIn[name], name)

        verify(profile.load())
        tryCompare(profile, "loaded", true)
        compare(profile.emailAddress, "bob@example.org")
        compare(profile.firstName, "Bob")
        compare(profile.dateOfBirth, "1990-02-28")
        compare(profile.country, "FI")
        const call = accounts.downloadProfile()
        tryVerify(() => call.finished)
        compare(call.result.firstName, "Bob")
        verify(!JSON.stringify(call.result).includes("securityAnswer"))

        verify(profile.changeUserName("bob"))
        named.wait()
        compare(profile.userName, "bob")
        verify(profile.changePassword("wrong", "bobs second"))
        profileFailed.wait()
        compare(profile.failure.status, Status.ErrorOldPasswordMismatch)
        compare(profile.failure.field, "oldPassword")
        verify(profile.changePassword("bobs first", "bobs second"))
        passwordChanged.wait()
        verify(profile.changeSecurityQuestion("4", "Seven Brothers"))
        questionChanged.wait()
        compare(profile.securityQuestionId, "4")
        verify(profile.signOut())
        signedOut.wait()
        verify(!profile.loaded)
        compare(profile.userName, "")

        // He forgets the password.
        captcha.reload()
        tryCompare(captcha, "loading", CaptchaPicture.Ready)
        recovery.userName = "bob"
        recovery.captchaText = emulator.captchaText(captcha.captchaId)
        verify(recovery.sendMessage("Your code:"))
        sent.wait()
        const token = emulator.tokenOf("bob")
        verify(recovery.fetchQuestion())
        tryCompare(recovery, "questionId", "4")
        verify(recovery.question.length > 0)
        verify(recovery.setPassword(token, "no idea", "bobs third"))
        recoveryFailed.wait()
        verify(recovery.setPassword(token, "Seven Brothers", "bobs third"))
        passwordSet.wait()

        signIn.userName = "bob"
        signIn.password = "bobs second"
        compare(signIn.password, "")
        verify(signIn.submit())
        notSignedIn.wait()
        compare(signIn.failure.status, Status.ErrorNotAuthorized)
        signIn.password = "bobs third"
        verify(signIn.submit())
        signedIn.wait()
        compare(signIn.account.userId.length > 0, true)
        const state = accounts.isKeLAccountConfigured()
        tryVerify(() => state.finished)
        verify(state.result.isConfigured)
    }
}
