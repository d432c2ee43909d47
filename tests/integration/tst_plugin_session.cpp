// SPDX-License-Identifier: LGPL-2.1-or-later
// What the plugin does through the real daemon and no scenario can say: registrations and profiles,
// sessions as they are stored, requests that are given up.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "rest/records/profileinfodata.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <QDateTime>
#include <QElapsedTimer>

using namespace KelTest;
using namespace KelRestHandler;

namespace {

QVariantMap registering(const RegistrationInfoData& registration)
{
    return {{"RegistrationData"_s, serializeRegistration(registration)}, {"ManualSignIn"_s, true}};
}

} // namespace

class TestPluginSession : public PluginUserFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(openNewUser()); }
    void cleanup() { EmulatedService::ask("DELETE", "/faults"); }

    void initialisingAsksNobodyAndKeepsNothing()
    {
        const Outcome outcome = process("initialise", {{"ZorService"_s, "music"_s}});
        QCOMPARE(outcome.error, 0);
        QCOMPARE(outcome.data, (QVariantMap{{"PluginVersion"_s, KELACCOUNT_TEST_VERSION ""_s}}));
        QCOMPARE(operations(), QList<int>());
        QCOMPARE(stored(), QVariantMap());
    }

    void theTokenIsTheOneThatTheDaemonKeeps()
    {
        QCOMPARE(process("signIn").error, 0);
        const Outcome outcome = process("token");
        QCOMPARE(outcome.error, 0);
        QCOMPARE(outcome.data.keys(), QStringList{"Token"_s});
        const QString token = outcome.data.value("Token"_s).toString();
        QVERIFY(!token.isEmpty());
        QCOMPARE(storedSession().value("Token"_s).toString(), token);
        const QString tokenSecret = storedSession().value("TokenSecret"_s).toString();
        QVERIFY(!tokenSecret.isEmpty());
        QVERIFY(tokenSecret != token);
        // The service's tokens live for a day.
        const qint64 left =
            storedSession().value("ValidUntil"_s).toLongLong() - QDateTime::currentSecsSinceEpoch();
        QVERIFY2(left > 86000 && left <= 86400, qPrintable(QString::number(left)));
    }

    void manyApplicationsAreServed()
    {
        QCOMPARE(process("signIn").error, 0);
        // More than is carried along with another one.
        QVariantMap all = stored();
        constexpr int others = 16;
        const QVariantMap other = {{"Token"_s, QString(20, QLatin1Char('t'))}};
        for (int i = 0; i < others; ++i)
            all = KeptData::withSession(all, other, "other-%1"_s.arg(i));
        QVERIFY(changeStored(int(mIdentityId), all.firstKey(), all.first()));
        QCOMPARE(process("signIn").error, 0);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        const QVariantMap kept = KeptData::mapIn(stored());
        const int sessions = kept.value("Sessions"_s).toMap().size();
        QVERIFY2(sessions >= 3 && sessions <= others, qPrintable(QString::number(sessions)));
    }

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

    // The daemon stores it while the request is under way.
    void anOldPasswordIsCountedThoughNobodyWaitsForItsAnswer()
    {
        const char* const mechanism = "privateMechanism_changepassword";
        const QVariantMap guess = {{"OldPassword"_s, "a guess"_s},
                                   {"NewPassword"_s, "another one"_s}};
        const auto counted = [this] {
            return KeptData::mapIn(stored()).value("WrongPasswords"_s).toInt();
        };
        QVERIFY(openSignedOut(mUser, mPassword));
        for (int i = 0; i < 3; ++i)
            QCOMPARE(process(mechanism, guess).error, 614);
        send(mechanism, guess);
        QVERIFY(waitUntil([&] { return counted() == 4; }));
        session()->cancel();
        QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
        QCOMPARE(counted(), 4);
        QCOMPARE(operations(), QList<int>());
    }

    void aCancelledRequestEndsAtOnce()
    {
        QCOMPARE(process("signIn").error, 0);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(cancelOnceItHangs("signIn"));
        QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
        // The next one is served at once: the plugin does not wait for the service any more.
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);

        QVERIFY(cancelOnceItHangs("privateMechanism_downloadProfile"));
        QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
        const QVariant good = storedSession();
        QVERIFY(expire() && cancelOnceItHangs("privateMechanism_ensureToken"));
        QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
        QVERIFY(changeStoredSession(good));
        QCOMPARE(process("token").error, 0);
        QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    }

    void anEndedPluginIsReported()
    {
        QCOMPARE(process("signIn").error, 0);
        QVERIFY(EmulatedService::orderFaults("hang"));
        send("signIn");
        QVERIFY(waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }));
        QVERIFY(killPluginProcesses());
        QVERIFY(wait().error > 0);
        QVERIFY(startPluginAgain());
        QCOMPARE(process("token").error, 0);
        QCOMPARE(process("signIn").error, 0);
    }

private:
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

    bool cancelOnceItHangs(const char* mechanism, const QVariantMap& data = {})
    {
        if (!EmulatedService::orderFaults("hang"))
            return false;
        send(mechanism, data);
        if (!waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }))
            return false;
        session()->cancel();
        return true;
    }
};

QTEST_GUILESS_MAIN(TestPluginSession)
#include "tst_plugin_session.moc"
