// SPDX-License-Identifier: LGPL-2.1-or-later
// Registration and work with the account, through the real daemon.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "rest/records/profileinfodata.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"

#include <QDataStream>

using namespace KelRestHandler;

namespace {

QVariantMap passwords(const QString& oldPassword, const QString& newPassword)
{
    return {{"OldPassword"_s, oldPassword}, {"NewPassword"_s, newPassword}};
}

QVariantMap question(const QString& id, const QString& answer)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << id << answer;
    return {{"UpdateSecurityQuestion"_s, bytes}};
}

QVariantMap newName(const QString& name)
{
    return {{"NewUserName"_s, name}};
}

QVariantMap registering(const RegistrationInfoData& registration)
{
    return {{"RegistrationData"_s, serializeRegistration(registration)}, {"ManualSignIn"_s, true}};
}

} // namespace

class TestPluginAccount : public PluginUserFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(openNewUser()); }

    void aRegistrationNeedsACaptchaOrAServiceTag()
    {
        RegistrationInfoData data = registration();
        QCOMPARE(process("privateMechanism_registerAccount").error, 611);
        QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 611);
        data.captchaId = "0123"_s;
        QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 611);
        data.captchaId.clear();
        data.captchaText = "ABC"_s;
        QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 611);
        const QVariantMap garbage = {{"RegistrationData"_s, "\xff\xff\xff"_ba}};
        QCOMPARE(told("privateMechanism_registerAccount", garbage), "611:"_s);
    }

    void aRegisteredUserIsSignedIn()
    {
        RegistrationInfoData data = registration();
        QVERIFY(openSession(data.emailAddress, mPassword));
        QVERIFY(makeCaptcha(data.captchaId, data.captchaText));
        const Outcome outcome = process("privateMechanism_registerAccount", registering(data));
        QCOMPARE(outcome.error, 0);
        QCOMPARE(operations(), QList<int>{5});
        QCOMPARE(outcome.data.keys(),
                 (QStringList{"EmailAddress"_s, "KelAccountId"_s, "LoginId"_s, "UserId"_s}));
        QCOMPARE(outcome.data.value("EmailAddress"_s).toString(), data.emailAddress);
        QCOMPARE(outcome.data.value("LoginId"_s).toString(), data.emailAddress);
        QCOMPARE(outcome.data.value("UserId"_s).toString(), QString());
        const QJsonObject account =
            accountAtService(outcome.data.value("KelAccountId"_s).toString());
        QCOMPARE(account.value("email"_s).toString(), data.emailAddress);
        QCOMPARE(account.value("dateOfBirth"_s).toString(), "1980-02-29"_s);

        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);
    }

    void aServiceTagTakesTheCaptchasPlace()
    {
        RegistrationInfoData data = registration();
        data.serviceTag = "dGFn"; // the emulated service wants base64
        QVERIFY(openSession(data.emailAddress, mPassword));
        QCOMPARE(told("privateMechanism_registerAccount", registering(data)), "0: 5"_s);
    }

    void theProfileIsTheServices()
    {
        const QString user = "full%1"_s.arg(mCount);
        const QString number = addAccount({{"userName"_s, user},
                                           {"password"_s, mPassword},
                                           {"email"_s, "full@example.org"_s},
                                           {"emailVerified"_s, true},
                                           {"mobile"_s, "+358401234567"_s},
                                           {"mobileVerified"_s, false},
                                           {"firstName"_s, "Äiti <&>"_s},
                                           {"lastName"_s, "O'Hara"_s},
                                           {"country"_s, "FI"_s},
                                           {"language"_s, "fi"_s},
                                           {"dateOfBirth"_s, "1980-02-29"_s},
                                           {"gender"_s, "female"_s}});
        QVERIFY(!number.isEmpty());
        QVERIFY(openSignedOut(user, mPassword));
        const Outcome outcome = process("privateMechanism_downloadProfile");
        QCOMPARE(outcome.error, 0);
        QCOMPARE(operations(), (QList<int>{1, 22}));
        QCOMPARE(outcome.data.keys(), QStringList{"DownloadedProfile"_s});
        const ProfileInfoData profile(outcome.data.value("DownloadedProfile"_s).toByteArray());
        QCOMPARE(profile.userName, user);
        QCOMPARE(profile.account.accountId, number);
        QCOMPARE(profile.account.email, "full@example.org"_s);
        QVERIFY(profile.account.emailVerified);
        QCOMPARE(profile.account.mobile, "+358401234567"_s);
        QVERIFY(!profile.account.mobileVerified);
        QCOMPARE(profile.firstName, "Äiti <&>"_s);
        QCOMPARE(profile.lastName, "O'Hara"_s);
        QCOMPARE(profile.countryAsString, "FI"_s);
        QCOMPARE(profile.dateOfBirth, QDate(1980, 2, 29));
        QCOMPARE(profile.gender, GenderFemale);
        QVERIFY(!profile.services.isEmpty());
    }

    void aTokenThatTheServiceEndedIsRenewedAndTheRequestSentAgain()
    {
        QCOMPARE(process("signIn").error, 0);
        const QString before = storedSession().value("Token"_s).toString();
        QVERIFY(letTokensExpire());
        operations();
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22 2 1 22"_s);
        QVERIFY(storedSession().value("Token"_s).toString() != before);
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);
    }

    void theQuestionIsSet()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(told("privateMechanism_updateSecurityQuestion", question("2"_s, "Hämeenlinna"_s)),
                 "0: 1 24"_s);
        QCOMPARE(accountAtService(mNumber).value("securityQuestion"_s).toString(), "2"_s);
    }

    void aQuestionThatCannotBeReadIsNotSent()
    {
        const char* const mechanism = "privateMechanism_updateSecurityQuestion";
        QCOMPARE(process(mechanism).error, 1001);
        QCOMPARE(process(mechanism, question(QString(), "answer"_s)).error, 1001);
        QCOMPARE(process(mechanism, question("2"_s, QString())).error, 1001);
        // A length that no memory has.
        const QByteArray huge = QByteArray::fromHex("7ffffffe0041");
        QCOMPARE(told(mechanism, {{"UpdateSecurityQuestion"_s, huge}}), "1001:"_s);
    }

    void theServicesRefusalOfAQuestionIsPassedOn()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(process("privateMechanism_updateSecurityQuestion",
                         question("no such question"_s, "answer"_s))
                     .error,
                 522);
    }

    void theOldPasswordMustBeTheIdentitys()
    {
        const char* const mechanism = "privateMechanism_changepassword";
        const QString other = "another one"_s;
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(process(mechanism).error, 614);
        QCOMPARE(process(mechanism, passwords(other, other)).error, 614);
        QCOMPARE(process(mechanism, passwords(mPassword, ""_s)).error, 1001);
        QVariantMap noSecret = passwords(""_s, other);
        noSecret.insert("Secret"_s, ""_s);
        QCOMPARE(told(mechanism, noSecret), "615:"_s);
    }

    // The daemon stores it while the request is under way.
    void anOldPasswordIsCountedThoughNobodyWaitsForItsAnswer()
    {
        const char* const mechanism = "privateMechanism_changepassword";
        const QVariantMap guess = passwords("a guess"_s, "another one"_s);
        const auto counted = [this] {
            return KelTest::KeptData::mapIn(stored()).value("WrongPasswords"_s).toInt();
        };
        QVERIFY(openSignedOut(mUser, mPassword));
        for (int i = 0; i < 3; ++i)
            QCOMPARE(process(mechanism, guess).error, 614);
        send(mechanism, guess);
        QVERIFY(KelTest::waitUntil([&] { return counted() == 4; }));
        session()->cancel();
        QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
        QCOMPARE(counted(), 4);
        QCOMPARE(operations(), QList<int>());
    }

    void afterAChangeTheNewPasswordIsUsed()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        const char* const mechanism = "privateMechanism_changepassword";
        const QString second = "zweites Paßwort"_s;
        const QString third = "the third one"_s;
        QCOMPARE(told(mechanism, passwords(mPassword, second)), "0: 1 15"_s);

        // The identity still has the first one, also for a new plugin process.
        QVERIFY(killPluginProcesses());
        QVERIFY(startPluginAgain());
        QCOMPARE(process("signIn").error, 0);
        QCOMPARE(process(mechanism, passwords(mPassword, third)).error, 614);
        QCOMPARE(process(mechanism, passwords(second, third)).error, 0);
        QCOMPARE(process("signIn").error, 0);
        operations();

        // What the service says of it, with identities of their own.
        QVERIFY(openSession(mUser, mPassword));
        QCOMPARE(process("signIn").error, 504);
        QVERIFY(openSession(mUser, second));
        QCOMPARE(process("signIn").error, 504);
        QVERIFY(openSession(mUser, third));
        QCOMPARE(process("signIn").error, 0);
    }

    void anIdentityThatIsGivenAnotherSecretIsBelieved()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        const QString second = "the second one"_s;
        QCOMPARE(process("privateMechanism_changepassword", passwords(mPassword, second)).error, 0);
        QCOMPARE(process("signIn").error, 0);
        QVERIFY(storeSecret("mistyped"_s));
        QCOMPARE(process("signIn").error, 504);
        QVERIFY(storeSecret(second));
        QCOMPARE(process("signIn").error, 0);
    }

    void theServicesRefusalOfAPasswordIsPassedOn()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(process("privateMechanism_changepassword", passwords(mPassword, "abc"_s)).error,
                 522);
        QCOMPARE(process("signIn").error, 0);
    }

    void aUserNameIsGivenOnce()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(process("setUserId", newName("other"_s)).error, 608);
        QVERIFY(openNameless());
        const QString name = "given%1"_s.arg(mCount);
        QCOMPARE(told("setUserId"), "1001:"_s);
        QCOMPARE(told("setUserId", newName(name)), "0: 1 25"_s);
        QCOMPARE(accountAtService(mNumber).value("userName"_s).toString(), name);
        QCOMPARE(process("userId").data.value("UserId"_s).toString(), name);
        QCOMPARE(told("setUserId", newName("other"_s)), "608:"_s);
    }

    void theServicesRefusalOfAUserNameIsPassedOn()
    {
        QVERIFY(openNameless());
        QCOMPARE(process("setUserId", newName("alice"_s)).error, 512);
        QCOMPARE(process("setUserId", newName("not a name"_s)).error, 522);
        QCOMPARE(process("userId").error, 604);
    }

    void theDeviceIsTold()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(told("privateMechanism_updateDeviceInfo"), "0: 1 26"_s);
    }

private:
    /// A session of an account that has only an e-mail address.
    bool openNameless()
    {
        const QString email = "nameless%1@example.org"_s.arg(mCount);
        mNumber = addAccount({{"email"_s, email}, {"password"_s, mPassword}});
        return openSignedOut(email, mPassword);
    }

    RegistrationInfoData registration() const
    {
        RegistrationInfoData data;
        data.emailAddress = "new%1@example.org"_s.arg(mCount);
        data.password = mPassword;
        data.countryAsString = "FI"_s;
        data.languageAsString = "fi"_s;
        data.dateOfBirth = QDate(1980, 2, 29);
        return data;
    }
};

QTEST_GUILESS_MAIN(TestPluginAccount)
#include "tst_plugin_account.moc"
