// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing in and tokens, through the real daemon.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"

#include <QDateTime>

class TestPluginSession : public PluginUserFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    }
    void init();
    void everyMechanismNeedsTheKeys_data();
    void everyMechanismNeedsTheKeys();
    void initialisingAsksNobodyAndKeepsNothing();
    void signingInAnswersWithWhoTheUserIs();
    void aUserWithoutANameStillHasTheKey();
    void aWrongPasswordIsTheServicesRefusal();
    void aLockedAccountIsTheServicesRefusal();
    void anEmptyPasswordIsNotSent();
    void anEmptyUserNameIsNotSent();
    void withoutATokenThereIsNoneToTell();
    void theTokenIsTheOneThatTheDaemonKeeps();
    void theTokenOutlivesThePluginProcess();
    void theTokenBelongsToOneApplicationAndServer();
    void manyApplicationsAreServed();
    void onlyClientsOfTheIdentitysListAreServed();
    void aDaemonThatForgotSendsNoPasswordUntilTheUserSignsIn();
    void anExpiredTokenIsRefreshed();
    void aTokenIsMadeOnlyWhenThereIsNone();
    void whatTheServiceDoesNotRefreshIsMadeAnew();
    void signingOutDeletesTheToken();
    void closingKeepsTheToken();
    void dataItemsAreKnownAfterSigningIn_data();
    void dataItemsAreKnownAfterSigningIn();
    void theServersTimeIsTold();
    void whatThePluginDoesNotDoItSays();
};

void TestPluginSession::init()
{
    QVERIFY(openNewUser());
}

void TestPluginSession::everyMechanismNeedsTheKeys_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    for (const char* mechanism :
         {"initialise", "signIn", "token", "privateMechanism_ensureToken",
          "privateMechanism_registerAccount", "privateMechanism_downloadProfile",
          "privateMechanism_updateSecurityQuestion", "privateMechanism_changepassword", "setUserId",
          "privateMechanism_updateDeviceInfo", "privateMechanism_signOut", "close", "userId",
          "loginIdentifier", "kelAccountId", "emailAddress", "serverUTCTime"})
        QTest::newRow(mechanism) << QByteArray(mechanism);
}

void TestPluginSession::everyMechanismNeedsTheKeys()
{
    QFETCH(QByteArray, mechanism);
    const QVariantMap noKey = {{QStringLiteral("ConsumerKey"), QVariant()}};
    const QVariantMap emptyKey = {{QStringLiteral("ConsumerKey"), QString(QLatin1String(""))}};
    const QVariantMap noSecret = {{QStringLiteral("ConsumerSecret"), QVariant()}};
    QCOMPARE(process(mechanism.constData(), noKey).error, 600);
    QCOMPARE(process(mechanism.constData(), emptyKey).error, 600);
    QCOMPARE(process(mechanism.constData(), noSecret).error, 601);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginSession::initialisingAsksNobodyAndKeepsNothing()
{
    const Outcome outcome =
        process("initialise", {{QStringLiteral("ZorService"), QStringLiteral("music")}});
    QCOMPARE(outcome.error, 0);
    QCOMPARE(outcome.data, QVariantMap());
    QCOMPARE(operations(), QList<int>());
    QCOMPARE(stored(), QVariantMap());
}

void TestPluginSession::signingInAnswersWithWhoTheUserIs()
{
    const Outcome outcome = process("signIn", {{QStringLiteral("ManualSignIn"), true}});
    QCOMPARE(outcome.error, 0);
    const QVariantMap expected = {{QStringLiteral("UserId"), mUser},
                                  {QStringLiteral("LoginId"), mUser},
                                  {QStringLiteral("KelAccountId"), mNumber},
                                  {QStringLiteral("EmailAddress"), mEmail}};
    QCOMPARE(outcome.data, expected);
    QCOMPARE(operations(), QList<int>{1});
}

void TestPluginSession::aUserWithoutANameStillHasTheKey()
{
    const QString email = QStringLiteral("nameless%1@example.org").arg(mCount);
    QVERIFY(!addAccount({{QStringLiteral("email"), email}, {QStringLiteral("password"), mPassword}})
                 .isEmpty());
    QVERIFY(openSession(email, mPassword));
    const Outcome outcome = process("signIn");
    QCOMPARE(outcome.error, 0);
    QCOMPARE(outcome.data.size(), 4);
    QCOMPARE(outcome.data.value(QStringLiteral("UserId")), QVariant(QString(QLatin1String(""))));
    QCOMPARE(outcome.data.value(QStringLiteral("LoginId")).toString(), email);
}

void TestPluginSession::aWrongPasswordIsTheServicesRefusal()
{
    QVERIFY(openSession(mUser, QStringLiteral("another one")));
    QCOMPARE(process("signIn").error, 504);
    QCOMPARE(process("token").error, 604);
    // Nobody knows yet where the password belongs.
    QCOMPARE(process("privateMechanism_ensureToken").error, 703);
    QCOMPARE(operations(), QList<int>{1});
}

void TestPluginSession::aLockedAccountIsTheServicesRefusal()
{
    const QString user = QStringLiteral("locked%1").arg(mCount);
    QVERIFY(!addAccount({{QStringLiteral("userName"), user},
                         {QStringLiteral("password"), mPassword},
                         {QStringLiteral("locked"), true}})
                 .isEmpty());
    QVERIFY(openSession(user, mPassword));
    QCOMPARE(process("signIn").error, 510);
}

void TestPluginSession::anEmptyPasswordIsNotSent()
{
    const QVariantMap none = {{QStringLiteral("Secret"), QString(QLatin1String(""))}};
    QCOMPARE(process("signIn", none).error, 615);
    QCOMPARE(process("privateMechanism_ensureToken", none).error, 615);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginSession::anEmptyUserNameIsNotSent()
{
    QCOMPARE(process("signIn", {{QStringLiteral("UserName"), QString(QLatin1String(""))}}).error,
             703);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginSession::withoutATokenThereIsNoneToTell()
{
    QCOMPARE(process("token").error, 604);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginSession::theTokenIsTheOneThatTheDaemonKeeps()
{
    QCOMPARE(process("signIn").error, 0);
    const Outcome outcome = process("token");
    QCOMPARE(outcome.error, 0);
    QCOMPARE(outcome.data.keys(), QStringList{QStringLiteral("Token")});
    const QString token = outcome.data.value(QStringLiteral("Token")).toString();
    QVERIFY(!token.isEmpty());
    QCOMPARE(storedSession().value(QStringLiteral("Token")).toString(), token);
    const QString tokenSecret = storedSession().value(QStringLiteral("TokenSecret")).toString();
    QVERIFY(!tokenSecret.isEmpty());
    QVERIFY(tokenSecret != token);
    // The service's tokens live for a day.
    const qint64 left = storedSession().value(QStringLiteral("ValidUntil")).toLongLong() -
                        QDateTime::currentSecsSinceEpoch();
    QVERIFY2(left > 86000 && left <= 86400, qPrintable(QString::number(left)));
}

void TestPluginSession::theTokenOutlivesThePluginProcess()
{
    QCOMPARE(process("signIn").error, 0);
    const QVariantMap before = process("token").data;
    operations();
    QVERIFY(killPluginProcesses());
    QVERIFY(startPluginAgain());
    const Outcome after = process("token");
    QCOMPARE(after.error, 0);
    QCOMPARE(after.data, before);
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), QList<int>{22});
}

void TestPluginSession::theTokenBelongsToOneApplicationAndServer()
{
    QCOMPARE(process("signIn").error, 0);
    QCOMPARE(process("token", {{QStringLiteral("ConsumerKey"), QStringLiteral("other")}}).error,
             604);
    QCOMPARE(process("token", {{QStringLiteral("ServerUrlValue"), 3}}).error, 703);
    QCOMPARE(process("token").error, 0);
}

void TestPluginSession::manyApplicationsAreServed()
{
    QCOMPARE(process("signIn").error, 0);
    // More than is carried along with another one.
    QVariantMap all = stored();
    constexpr int others = 16;
    const QVariantMap other = {{QStringLiteral("Token"), QString(20, QLatin1Char('t'))}};
    for (int i = 0; i < others; ++i)
        all = KelTest::KeptData::withSession(all, other, QStringLiteral("other-%1").arg(i));
    QVERIFY(changeStored(int(mIdentityId), all.firstKey(), all.first()));
    QCOMPARE(process("signIn").error, 0);
    for (int i = 0; i < 5; ++i)
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    const QVariantMap kept = KelTest::KeptData::mapIn(stored());
    const int sessions = kept.value(QStringLiteral("Sessions")).toMap().size();
    QVERIFY2(sessions >= 3 && sessions <= others, qPrintable(QString::number(sessions)));
}

// Without an extension the daemon takes every process for one that has the whole list.
void TestPluginSession::onlyClientsOfTheIdentitysListAreServed()
{
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(storeAccessControlList({QStringLiteral("some-app::some-token")}));
    operations();
    for (const char* mechanism : {"initialise", "signIn", "token", "privateMechanism_ensureToken"})
        QCOMPARE(process(mechanism).error, 603);
    QCOMPARE(operations(), QList<int>());
    QVERIFY(storeAccessControlList(
        {QStringLiteral("some-app::some-token"), QStringLiteral("libaccounts-kel::accesssvt")}));
    QCOMPARE(process("token").error, 0);
}

// Any process that may use the identity may do this.
void TestPluginSession::aDaemonThatForgotSendsNoPasswordUntilTheUserSignsIn()
{
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(signOutOfIdentity());
    QVERIFY(stored().isEmpty());
    operations();
    const QVariantMap elsewhere = {{QStringLiteral("ServerUrlValue"), 0}};
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

void TestPluginSession::anExpiredTokenIsRefreshed()
{
    QCOMPARE(process("signIn").error, 0);
    const QString before = storedSession().value(QStringLiteral("Token")).toString();
    operations();

    QVERIFY(expire());
    const Outcome outcome = process("token");
    QCOMPARE(outcome.error, 0);
    QCOMPARE(operations(), QList<int>{2});
    const QString after = outcome.data.value(QStringLiteral("Token")).toString();
    QVERIFY(!after.isEmpty() && after != before);
    QCOMPARE(storedSession().value(QStringLiteral("Token")).toString(), after);
    QCOMPARE(storedSession().value(QStringLiteral("UserId")).toString(), mUser);

    QVERIFY(expire());
    QCOMPARE(process("privateMechanism_ensureToken").error, 0);
    QCOMPARE(operations(), QList<int>{2});
    QVERIFY(expire());
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), (QList<int>{2, 22}));
}

void TestPluginSession::aTokenIsMadeOnlyWhenThereIsNone()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process("privateMechanism_ensureToken").error, 0);
    QCOMPARE(operations(), QList<int>{1});
    QCOMPARE(process("privateMechanism_ensureToken").error, 0);
    QCOMPARE(operations(), QList<int>());
    QCOMPARE(process("userId").data.value(QStringLiteral("UserId")).toString(), mUser);
}

void TestPluginSession::whatTheServiceDoesNotRefreshIsMadeAnew()
{
    QCOMPARE(process("signIn").error, 0);
    const QString before = storedSession().value(QStringLiteral("Token")).toString();
    QVERIFY(letTokensExpire());
    operations();
    QVERIFY(expire());
    QCOMPARE(process("privateMechanism_ensureToken").error, 0);
    QCOMPARE(operations(), (QList<int>{2, 1}));
    QVERIFY(storedSession().value(QStringLiteral("Token")).toString() != before);
}

void TestPluginSession::signingOutDeletesTheToken()
{
    QCOMPARE(process("privateMechanism_signOut").error, 604);
    QCOMPARE(process("signIn").error, 0);
    operations();
    QCOMPARE(process("privateMechanism_signOut").error, 0);
    QCOMPARE(operations(), QList<int>{9});
    QCOMPARE(process("token").error, 604);
    QCOMPARE(storedSession().value(QStringLiteral("Token")).toString(), QString());
    QCOMPARE(storedSession().value(QStringLiteral("TokenSecret")).toString(), QString());

    // One that the service has ended already is forgotten as well.
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(letTokensExpire());
    operations();
    QCOMPARE(process("privateMechanism_signOut").error, 0);
    QCOMPARE(operations(), QList<int>{9});
    QCOMPARE(process("token").error, 604);
}

void TestPluginSession::closingKeepsTheToken()
{
    QCOMPARE(process("signIn").error, 0);
    operations();
    QCOMPARE(process("close").error, 0);
    QCOMPARE(process("token").error, 0);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginSession::dataItemsAreKnownAfterSigningIn_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    QTest::addColumn<QString>("key");
    QTest::newRow("user name") << QByteArray("userId") << QStringLiteral("UserId");
    QTest::newRow("login") << QByteArray("loginIdentifier") << QStringLiteral("LoginId");
    QTest::newRow("account") << QByteArray("kelAccountId") << QStringLiteral("KelAccountId");
    QTest::newRow("address") << QByteArray("emailAddress") << QStringLiteral("EmailAddress");
}

void TestPluginSession::dataItemsAreKnownAfterSigningIn()
{
    QFETCH(QByteArray, mechanism);
    QFETCH(QString, key);
    QCOMPARE(process(mechanism.constData()).error, 604);
    const Outcome signedIn = process("signIn");
    QCOMPARE(signedIn.error, 0);
    operations();
    const Outcome outcome = process(mechanism.constData());
    QCOMPARE(outcome.error, 0);
    QCOMPARE(outcome.data, (QVariantMap{{key, signedIn.data.value(key)}}));
    QCOMPARE(operations(), QList<int>());
}

void TestPluginSession::theServersTimeIsTold()
{
    const Outcome outcome = process("serverUTCTime");
    QCOMPARE(outcome.error, 0);
    const qint64 told = outcome.data.value(QStringLiteral("ServerUTCTime")).toLongLong();
    QVERIFY(qAbs(told - QDateTime::currentSecsSinceEpoch()) < 10);
}

void TestPluginSession::whatThePluginDoesNotDoItSays()
{
    // Granted to the identity, and beyond this plugin.
    QCOMPARE(process("signature").error, int(SignOn::Error::MechanismNotAvailable));
    // Not granted: the daemon's own refusal.
    QVERIFY(process("SIGNIN").error > 0);
    QCOMPARE(process("initialise").error, 0);
}

QTEST_GUILESS_MAIN(TestPluginSession)
#include "tst_plugin_session.moc"
