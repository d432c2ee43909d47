// SPDX-License-Identifier: LGPL-2.1-or-later
// Registration and work with the account, through the real daemon.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "rest/records/profileinfodata.h"
#include "rest/records/registrationinfodata.h"
#include "support/sessionsandbox.h"

#include <QDataStream>

using namespace KelRestHandler;

namespace {

QVariantMap passwords(const QString& oldPassword, const QString& newPassword)
{
    return {{QStringLiteral("OldPassword"), oldPassword},
            {QStringLiteral("NewPassword"), newPassword}};
}

QVariantMap question(const QString& id, const QString& answer)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << id << answer;
    return {{QStringLiteral("UpdateSecurityQuestion"), bytes}};
}

QVariantMap newName(const QString& name)
{
    return {{QStringLiteral("NewUserName"), name}};
}

QVariantMap registering(const RegistrationInfoData& registration)
{
    return {{QStringLiteral("RegistrationData"), serializeRegistration(registration)},
            {QStringLiteral("ManualSignIn"), true}};
}

/// The same user with an identity of another device.
struct AnotherDevice : PluginFixture
{
    using PluginFixture::openSignedOut;
    using PluginFixture::process;
};

} // namespace

class TestPluginAccount : public PluginUserFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    }
    void init();
    void aRegistrationNeedsACaptchaOrAServiceTag();
    void aRegisteredUserIsSignedIn();
    void aServiceTagTakesTheCaptchasPlace();
    void theServicesRefusalOfARegistrationIsPassedOn_data();
    void theServicesRefusalOfARegistrationIsPassedOn();
    void theProfileIsTheServices();
    void aTokenThatTheServiceEndedIsRenewedAndTheRequestSentAgain();
    void whatCannotBeRenewedIsGivenUp();
    void theQuestionIsSet();
    void aQuestionThatCannotBeReadIsNotSent();
    void theServicesRefusalOfAQuestionIsPassedOn();
    void theOldPasswordMustBeTheIdentitys();
    void anOldPasswordIsCountedThoughNobodyWaitsForItsAnswer();
    void afterAChangeTheNewPasswordIsUsed();
    void anIdentityThatIsGivenAnotherSecretIsBelieved();
    void theServicesRefusalOfAPasswordIsPassedOn();
    void aUserNameIsGivenOnce();
    void aUserNameGivenElsewhereIsTheServicesRefusal();
    void theServicesRefusalOfAUserNameIsPassedOn();
    void theDeviceIsTold();

private:
    bool openNameless();
    RegistrationInfoData registration() const;
};

void TestPluginAccount::init()
{
    QVERIFY(openNewUser());
}

/// A session of an account that has only an e-mail address.
bool TestPluginAccount::openNameless()
{
    const QString email = QStringLiteral("nameless%1@example.org").arg(mCount);
    mNumber =
        addAccount({{QStringLiteral("email"), email}, {QStringLiteral("password"), mPassword}});
    return openSignedOut(email, mPassword);
}

RegistrationInfoData TestPluginAccount::registration() const
{
    RegistrationInfoData data;
    data.emailAddress = QStringLiteral("new%1@example.org").arg(mCount);
    data.password = mPassword;
    data.countryAsString = QStringLiteral("FI");
    data.languageAsString = QStringLiteral("fi");
    data.dateOfBirth = QDate(1980, 2, 29);
    return data;
}

void TestPluginAccount::aRegistrationNeedsACaptchaOrAServiceTag()
{
    RegistrationInfoData data = registration();
    QCOMPARE(process("privateMechanism_registerAccount").error, 611);
    QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 611);
    data.captchaId = QStringLiteral("0123");
    QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 611);
    data.captchaId.clear();
    data.captchaText = QStringLiteral("ABC");
    QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 611);
    const QVariantMap garbage = {{QStringLiteral("RegistrationData"), QByteArray("\xff\xff\xff")}};
    QCOMPARE(process("privateMechanism_registerAccount", garbage).error, 611);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginAccount::aRegisteredUserIsSignedIn()
{
    RegistrationInfoData data = registration();
    QVERIFY(openSession(data.emailAddress, mPassword));
    QVERIFY(makeCaptcha(data.captchaId, data.captchaText));
    const Outcome outcome = process("privateMechanism_registerAccount", registering(data));
    QCOMPARE(outcome.error, 0);
    QCOMPARE(operations(), QList<int>{5});
    QCOMPARE(outcome.data.keys(),
             (QStringList{QStringLiteral("EmailAddress"), QStringLiteral("KelAccountId"),
                          QStringLiteral("LoginId"), QStringLiteral("UserId")}));
    QCOMPARE(outcome.data.value(QStringLiteral("EmailAddress")).toString(), data.emailAddress);
    QCOMPARE(outcome.data.value(QStringLiteral("LoginId")).toString(), data.emailAddress);
    QCOMPARE(outcome.data.value(QStringLiteral("UserId")).toString(), QString());
    const QJsonObject account =
        accountAtService(outcome.data.value(QStringLiteral("KelAccountId")).toString());
    QCOMPARE(account.value(QStringLiteral("email")).toString(), data.emailAddress);
    QCOMPARE(account.value(QStringLiteral("dateOfBirth")).toString(), QStringLiteral("1980-02-29"));

    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), QList<int>{22});
}

void TestPluginAccount::aServiceTagTakesTheCaptchasPlace()
{
    RegistrationInfoData data = registration();
    data.serviceTag = "dGFn"; // the emulated service wants base64
    QVERIFY(openSession(data.emailAddress, mPassword));
    QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, 0);
    QCOMPARE(operations(), QList<int>{5});
}

void TestPluginAccount::theServicesRefusalOfARegistrationIsPassedOn_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("status");
    const auto row = [](const char* name, const char* field, const char* value, int status) {
        QTest::newRow(name) << QString::fromLatin1(field) << QString::fromLatin1(value) << status;
    };
    row("wrong captcha text", "captchaText", "NEVER", 513);
    row("taken address", "emailAddress", "taken@example.org", 515);
    row("taken name", "userName", "alice", 512);
    row("short password", "password", "abc", 522);
    row("a child", "dateOfBirth", "", 525);
}

void TestPluginAccount::theServicesRefusalOfARegistrationIsPassedOn()
{
    QFETCH(QString, field);
    QFETCH(QString, value);
    QFETCH(int, status);
    addAccount({{QStringLiteral("email"), QStringLiteral("taken@example.org")}});
    RegistrationInfoData data = registration();
    QVERIFY(makeCaptcha(data.captchaId, data.captchaText));
    if (field == QLatin1String("captchaText"))
        data.captchaText = value;
    else if (field == QLatin1String("emailAddress"))
        data.emailAddress = value;
    else if (field == QLatin1String("userName"))
        data.userName = value;
    else if (field == QLatin1String("password"))
        data.password = value;
    else
        data.dateOfBirth = QDate::currentDate().addYears(-5);
    QCOMPARE(process("privateMechanism_registerAccount", registering(data)).error, status);
    QCOMPARE(operations(), QList<int>{5});
    QCOMPARE(process("token").error, 604);
}

void TestPluginAccount::theProfileIsTheServices()
{
    const QString user = QStringLiteral("full%1").arg(mCount);
    const QString number =
        addAccount({{QStringLiteral("userName"), user},
                    {QStringLiteral("password"), mPassword},
                    {QStringLiteral("email"), QStringLiteral("full@example.org")},
                    {QStringLiteral("emailVerified"), true},
                    {QStringLiteral("mobile"), QStringLiteral("+358401234567")},
                    {QStringLiteral("mobileVerified"), false},
                    {QStringLiteral("firstName"), QString::fromUtf8("Äiti <&>")},
                    {QStringLiteral("lastName"), QStringLiteral("O'Hara")},
                    {QStringLiteral("country"), QStringLiteral("FI")},
                    {QStringLiteral("language"), QStringLiteral("fi")},
                    {QStringLiteral("dateOfBirth"), QStringLiteral("1980-02-29")},
                    {QStringLiteral("gender"), QStringLiteral("female")}});
    QVERIFY(!number.isEmpty());
    QVERIFY(openSignedOut(user, mPassword));
    const Outcome outcome = process("privateMechanism_downloadProfile");
    QCOMPARE(outcome.error, 0);
    QCOMPARE(operations(), (QList<int>{1, 22}));
    QCOMPARE(outcome.data.keys(), QStringList{QStringLiteral("DownloadedProfile")});
    const ProfileInfoData profile(
        outcome.data.value(QStringLiteral("DownloadedProfile")).toByteArray());
    QCOMPARE(profile.userName, user);
    QCOMPARE(profile.account.accountId, number);
    QCOMPARE(profile.account.email, QStringLiteral("full@example.org"));
    QVERIFY(profile.account.emailVerified);
    QCOMPARE(profile.account.mobile, QStringLiteral("+358401234567"));
    QVERIFY(!profile.account.mobileVerified);
    QCOMPARE(profile.firstName, QString::fromUtf8("Äiti <&>"));
    QCOMPARE(profile.lastName, QStringLiteral("O'Hara"));
    QCOMPARE(profile.countryAsString, QStringLiteral("FI"));
    QCOMPARE(profile.dateOfBirth, QDate(1980, 2, 29));
    QCOMPARE(profile.gender, GenderFemale);
    QVERIFY(!profile.services.isEmpty());
}

void TestPluginAccount::aTokenThatTheServiceEndedIsRenewedAndTheRequestSentAgain()
{
    QCOMPARE(process("signIn").error, 0);
    const QString before = storedSession().value(QStringLiteral("Token")).toString();
    QVERIFY(letTokensExpire());
    operations();
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), (QList<int>{22, 2, 1, 22}));
    QVERIFY(storedSession().value(QStringLiteral("Token")).toString() != before);
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(operations(), QList<int>{22});
}

void TestPluginAccount::whatCannotBeRenewedIsGivenUp()
{
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(letTokensExpire());
    operations();
    // The identity's password is not the account's any more.
    const QVariantMap other = {{QStringLiteral("Secret"), QStringLiteral("another one")}};
    QCOMPARE(process("privateMechanism_downloadProfile", other).error, 504);
    QCOMPARE(operations(), (QList<int>{22, 2, 1}));
    // The network goes away in the middle of it: nothing else is tried.
    QVERIFY(KelTest::EmulatedService::orderFaults("none\nclose-after-headers\n"));
    QCOMPARE(process("privateMechanism_downloadProfile").error, 402);
    QCOMPARE(KelTest::EmulatedService::faultsLeft(), QByteArray());
}

void TestPluginAccount::theQuestionIsSet()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process("privateMechanism_updateSecurityQuestion",
                     question(QStringLiteral("2"), QString::fromUtf8("Hämeenlinna")))
                 .error,
             0);
    QCOMPARE(operations(), (QList<int>{1, 24}));
    QCOMPARE(accountAtService(mNumber).value(QStringLiteral("securityQuestion")).toString(),
             QStringLiteral("2"));
}

void TestPluginAccount::aQuestionThatCannotBeReadIsNotSent()
{
    const char* const mechanism = "privateMechanism_updateSecurityQuestion";
    QCOMPARE(process(mechanism).error, 1001);
    QCOMPARE(process(mechanism, question(QString(), QStringLiteral("answer"))).error, 1001);
    QCOMPARE(process(mechanism, question(QStringLiteral("2"), QString())).error, 1001);
    // A length that no memory has.
    const QByteArray huge = QByteArray::fromHex("7ffffffe0041");
    QCOMPARE(process(mechanism, {{QStringLiteral("UpdateSecurityQuestion"), huge}}).error, 1001);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginAccount::theServicesRefusalOfAQuestionIsPassedOn()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process("privateMechanism_updateSecurityQuestion",
                     question(QStringLiteral("no such question"), QStringLiteral("answer")))
                 .error,
             522);
}

void TestPluginAccount::theOldPasswordMustBeTheIdentitys()
{
    const char* const mechanism = "privateMechanism_changepassword";
    const QString other = QStringLiteral("another one");
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process(mechanism).error, 614);
    QCOMPARE(process(mechanism, passwords(other, other)).error, 614);
    QCOMPARE(process(mechanism, passwords(mPassword, QString(QLatin1String("")))).error, 1001);
    QVariantMap noSecret = passwords(QString(QLatin1String("")), other);
    noSecret.insert(QStringLiteral("Secret"), QString(QLatin1String("")));
    QCOMPARE(process(mechanism, noSecret).error, 615);
    QCOMPARE(operations(), QList<int>());
}

// The daemon stores it while the request is under way.
void TestPluginAccount::anOldPasswordIsCountedThoughNobodyWaitsForItsAnswer()
{
    const char* const mechanism = "privateMechanism_changepassword";
    const QVariantMap guess = passwords(QStringLiteral("a guess"), QStringLiteral("another one"));
    const auto counted = [this] {
        return KelTest::KeptData::mapIn(stored()).value(QStringLiteral("WrongPasswords")).toInt();
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

void TestPluginAccount::afterAChangeTheNewPasswordIsUsed()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    const char* const mechanism = "privateMechanism_changepassword";
    const QString second = QString::fromUtf8("zweites Paßwort");
    const QString third = QStringLiteral("the third one");
    QCOMPARE(process(mechanism, passwords(mPassword, second)).error, 0);
    QCOMPARE(operations(), (QList<int>{1, 15}));

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

void TestPluginAccount::anIdentityThatIsGivenAnotherSecretIsBelieved()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    const QString second = QStringLiteral("the second one");
    QCOMPARE(process("privateMechanism_changepassword", passwords(mPassword, second)).error, 0);
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(storeSecret(QStringLiteral("mistyped")));
    QCOMPARE(process("signIn").error, 504);
    QVERIFY(storeSecret(second));
    QCOMPARE(process("signIn").error, 0);
}

void TestPluginAccount::theServicesRefusalOfAPasswordIsPassedOn()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process("privateMechanism_changepassword", passwords(mPassword, QStringLiteral("abc")))
                 .error,
             522);
    QCOMPARE(process("signIn").error, 0);
}

void TestPluginAccount::aUserNameIsGivenOnce()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process("setUserId", newName(QStringLiteral("other"))).error, 608);
    QVERIFY(openNameless());
    const QString name = QStringLiteral("given%1").arg(mCount);
    QCOMPARE(process("setUserId").error, 1001);
    QCOMPARE(operations(), QList<int>());
    QCOMPARE(process("setUserId", newName(name)).error, 0);
    QCOMPARE(operations(), (QList<int>{1, 25}));
    QCOMPARE(accountAtService(mNumber).value(QStringLiteral("userName")).toString(), name);
    QCOMPARE(process("userId").data.value(QStringLiteral("UserId")).toString(), name);
    QCOMPARE(process("setUserId", newName(QStringLiteral("other"))).error, 608);
    QCOMPARE(operations(), QList<int>());
}

void TestPluginAccount::aUserNameGivenElsewhereIsTheServicesRefusal()
{
    QVERIFY(openNameless());
    QCOMPARE(process("signIn").error, 0);
    const QString email = QStringLiteral("nameless%1@example.org").arg(mCount);
    AnotherDevice other;
    QVERIFY(other.openSignedOut(email, mPassword));
    QCOMPARE(other.process("setUserId", newName(QStringLiteral("elsewhere%1").arg(mCount))).error,
             0);
    QCOMPARE(process("setUserId", newName(QStringLiteral("here%1").arg(mCount))).error, 526);
}

void TestPluginAccount::theServicesRefusalOfAUserNameIsPassedOn()
{
    QVERIFY(openNameless());
    QCOMPARE(process("setUserId", newName(QStringLiteral("alice"))).error, 512);
    QCOMPARE(process("setUserId", newName(QStringLiteral("not a name"))).error, 522);
    QCOMPARE(process("userId").error, 604);
}

void TestPluginAccount::theDeviceIsTold()
{
    QVERIFY(openSignedOut(mUser, mPassword));
    QCOMPARE(process("privateMechanism_updateDeviceInfo").error, 0);
    QCOMPARE(operations(), (QList<int>{1, 26}));
}

QTEST_GUILESS_MAIN(TestPluginAccount)
#include "tst_plugin_account.moc"
