// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing in and tokens, through the real daemon.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDateTime>

class TestPluginSession : public PluginUserFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(openNewUser()); }

    void everyMechanismNeedsTheKeys_data()
    {
        rowsNamed("mechanism",
                  {"initialise", "signIn", "token", "privateMechanism_ensureToken",
                   "privateMechanism_registerAccount", "privateMechanism_downloadProfile",
                   "privateMechanism_updateSecurityQuestion", "privateMechanism_changepassword",
                   "setUserId", "privateMechanism_updateDeviceInfo", "privateMechanism_signOut",
                   "close", "userId", "loginIdentifier", "kelAccountId", "emailAddress",
                   "serverUTCTime"});
    }
    void everyMechanismNeedsTheKeys()
    {
        QFETCH(QByteArray, mechanism);
        const QVariantMap noKey = {{"ConsumerKey"_s, QVariant()}};
        const QVariantMap emptyKey = {{"ConsumerKey"_s, ""_s}};
        const QVariantMap noSecret = {{"ConsumerSecret"_s, QVariant()}};
        QCOMPARE(process(mechanism.constData(), noKey).error, 600);
        QCOMPARE(process(mechanism.constData(), emptyKey).error, 600);
        QCOMPARE(told(mechanism.constData(), noSecret), "601:"_s);
    }

    void initialisingAsksNobodyAndKeepsNothing()
    {
        const Outcome outcome = process("initialise", {{"ZorService"_s, "music"_s}});
        QCOMPARE(outcome.error, 0);
        QCOMPARE(outcome.data, (QVariantMap{{"PluginVersion"_s, KELACCOUNT_TEST_VERSION ""_s}}));
        QCOMPARE(operations(), QList<int>());
        QCOMPARE(stored(), QVariantMap());
    }

    void signingInAnswersWithWhoTheUserIs()
    {
        const Outcome outcome = process("signIn", {{"ManualSignIn"_s, true}});
        QCOMPARE(outcome.error, 0);
        const QVariantMap expected = {{"UserId"_s, mUser},
                                      {"LoginId"_s, mUser},
                                      {"KelAccountId"_s, mNumber},
                                      {"EmailAddress"_s, mEmail}};
        QCOMPARE(outcome.data, expected);
        QCOMPARE(operations(), QList<int>{1});
    }

    void aUserWithoutANameStillHasTheKey()
    {
        const QString email = "nameless%1@example.org"_s.arg(mCount);
        QVERIFY(!addAccount({{"email"_s, email}, {"password"_s, mPassword}}).isEmpty());
        QVERIFY(openSession(email, mPassword));
        const Outcome outcome = process("signIn");
        QCOMPARE(outcome.error, 0);
        QCOMPARE(outcome.data.size(), 4);
        QCOMPARE(outcome.data.value("UserId"_s), QVariant(""_s));
        QCOMPARE(outcome.data.value("LoginId"_s).toString(), email);
    }

    void aWrongPasswordIsTheServicesRefusal()
    {
        QVERIFY(openSession(mUser, "another one"_s));
        QCOMPARE(process("signIn").error, 504);
        QCOMPARE(process("token").error, 604);
        // Nobody knows yet where the password belongs.
        QCOMPARE(told("privateMechanism_ensureToken"), "703: 1"_s);
    }

    void anEmptyPasswordIsNotSent()
    {
        const QVariantMap none = {{"Secret"_s, ""_s}};
        QCOMPARE(process("signIn", none).error, 615);
        QCOMPARE(told("privateMechanism_ensureToken", none), "615:"_s);
    }

    void anEmptyUserNameIsNotSent() { QCOMPARE(told("signIn", {{"UserName"_s, ""_s}}), "703:"_s); }

    void withoutATokenThereIsNoneToTell() { QCOMPARE(told("token"), "604:"_s); }

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

    void theTokenOutlivesThePluginProcess()
    {
        QCOMPARE(process("signIn").error, 0);
        const QVariantMap before = process("token").data;
        operations();
        QVERIFY(killPluginProcesses());
        QVERIFY(startPluginAgain());
        const Outcome after = process("token");
        QCOMPARE(after.error, 0);
        QCOMPARE(after.data, before);
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);
    }

    void manyApplicationsAreServed()
    {
        QCOMPARE(process("signIn").error, 0);
        // More than is carried along with another one.
        QVariantMap all = stored();
        constexpr int others = 16;
        const QVariantMap other = {{"Token"_s, QString(20, QLatin1Char('t'))}};
        for (int i = 0; i < others; ++i)
            all = KelTest::KeptData::withSession(all, other, "other-%1"_s.arg(i));
        QVERIFY(changeStored(int(mIdentityId), all.firstKey(), all.first()));
        QCOMPARE(process("signIn").error, 0);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        const QVariantMap kept = KelTest::KeptData::mapIn(stored());
        const int sessions = kept.value("Sessions"_s).toMap().size();
        QVERIFY2(sessions >= 3 && sessions <= others, qPrintable(QString::number(sessions)));
    }

    // Without an extension the daemon takes every process for one that has the whole list.
    void onlyClientsOfTheIdentitysListAreServed()
    {
        QCOMPARE(process("signIn").error, 0);
        QVERIFY(storeAccessControlList({"some-app::some-token"_s}));
        operations();
        for (const char* mechanism :
             {"initialise", "signIn", "token", "privateMechanism_ensureToken"})
            QCOMPARE(told(mechanism), "603:"_s);
        QVERIFY(storeAccessControlList({"some-app::some-token"_s, "libaccounts-kel::accesssvt"_s}));
        QCOMPARE(process("token").error, 0);
    }

    // Any process that may use the identity may do this.
    void aDaemonThatForgotSendsNoPasswordUntilTheUserSignsIn()
    {
        QCOMPARE(process("signIn").error, 0);
        QVERIFY(signOutOfIdentity());
        QVERIFY(stored().isEmpty());
        operations();
        const QVariantMap elsewhere = {{"ServerUrlValue"_s, 0}};
        for (const char* mechanism :
             {"privateMechanism_ensureToken", "privateMechanism_downloadProfile",
              "privateMechanism_updateDeviceInfo"}) {
            QCOMPARE(process(mechanism, elsewhere).error, 703);
            QCOMPARE(process(mechanism).error, 703);
        }
        QCOMPARE(operations(), QList<int>());
        QCOMPARE(process("signIn").error, 0);
        QCOMPARE(process("privateMechanism_ensureToken").error, 0);
    }

    void anExpiredTokenIsRefreshed()
    {
        QCOMPARE(process("signIn").error, 0);
        const QString before = storedSession().value("Token"_s).toString();
        operations();

        QVERIFY(expire());
        const Outcome outcome = process("token");
        QCOMPARE(outcome.error, 0);
        QCOMPARE(operations(), QList<int>{2});
        const QString after = outcome.data.value("Token"_s).toString();
        QVERIFY(!after.isEmpty() && after != before);
        QCOMPARE(storedSession().value("Token"_s).toString(), after);
        QCOMPARE(storedSession().value("UserId"_s).toString(), mUser);

        QVERIFY(expire());
        QCOMPARE(told("privateMechanism_ensureToken"), "0: 2"_s);
        QVERIFY(expire());
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 2 22"_s);
    }

    void aTokenIsMadeOnlyWhenThereIsNone()
    {
        QVERIFY(openSignedOut(mUser, mPassword));
        QCOMPARE(told("privateMechanism_ensureToken"), "0: 1"_s);
        QCOMPARE(told("privateMechanism_ensureToken"), "0:"_s);
        QCOMPARE(process("userId").data.value("UserId"_s).toString(), mUser);
    }

    void whatTheServiceDoesNotRefreshIsMadeAnew()
    {
        QCOMPARE(process("signIn").error, 0);
        const QString before = storedSession().value("Token"_s).toString();
        QVERIFY(letTokensExpire());
        operations();
        QVERIFY(expire());
        QCOMPARE(told("privateMechanism_ensureToken"), "0: 2 1"_s);
        QVERIFY(storedSession().value("Token"_s).toString() != before);
    }

    void signingOutDeletesTheToken()
    {
        QCOMPARE(process("privateMechanism_signOut").error, 604);
        QCOMPARE(process("signIn").error, 0);
        operations();
        QCOMPARE(told("privateMechanism_signOut"), "0: 9"_s);
        QCOMPARE(process("token").error, 604);
        QCOMPARE(storedSession().value("Token"_s).toString(), QString());
        QCOMPARE(storedSession().value("TokenSecret"_s).toString(), QString());

        // One that the service has ended already is forgotten as well.
        QCOMPARE(process("signIn").error, 0);
        QVERIFY(letTokensExpire());
        operations();
        QCOMPARE(told("privateMechanism_signOut"), "0: 9"_s);
        QCOMPARE(process("token").error, 604);
    }

    void closingKeepsTheToken()
    {
        QCOMPARE(process("signIn").error, 0);
        operations();
        QCOMPARE(process("close").error, 0);
        QCOMPARE(told("token"), "0:"_s);
    }

    void dataItemsAreKnownAfterSigningIn_data()
    {
        const auto row = rows<QByteArray, QString>("mechanism", "key");
        row("user name", "userId", "UserId");
        row("login", "loginIdentifier", "LoginId");
        row("account", "kelAccountId", "KelAccountId");
        row("address", "emailAddress", "EmailAddress");
    }
    void dataItemsAreKnownAfterSigningIn()
    {
        const auto [mechanism, key] = fetch<QByteArray, QString>("mechanism", "key");
        QCOMPARE(process(mechanism.constData()).error, 604);
        const Outcome signedIn = process("signIn");
        QCOMPARE(signedIn.error, 0);
        operations();
        const Outcome outcome = process(mechanism.constData());
        QCOMPARE(outcome.error, 0);
        QCOMPARE(outcome.data, (QVariantMap{{key, signedIn.data.value(key)}}));
        QCOMPARE(operations(), QList<int>());
    }

    void whatThePluginDoesNotDoItSays()
    {
        // Granted to the identity, and beyond this plugin.
        QCOMPARE(process("signature").error, int(SignOn::Error::MechanismNotAvailable));
        // Not granted: the daemon's own refusal.
        QVERIFY(process("SIGNIN").error > 0);
        QCOMPARE(process("initialise").error, 0);
    }
};

QTEST_GUILESS_MAIN(TestPluginSession)
#include "tst_plugin_session.moc"
