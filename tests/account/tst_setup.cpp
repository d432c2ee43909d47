// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing in and registering when nothing is in the way: what is stored, what the plugin is sent
// and what the application is told.
#include "account/accountfixture.h"
#include "account/fakeresthandler.h"
#include "platform/fakemodem.h"
#include "rest/records/registrationinfodata.h"

#include <QPixmap>
#include <QSignalSpy>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelAccount::RegistrationInfo;
using KelRestHandler::RegistrationInfoData;
using sessionoperations::text;

namespace {

const QString initialise = QStringLiteral("initialise");
const QString updateDeviceInfo = QStringLiteral("privateMechanism_updateDeviceInfo");

RegistrationInfo completeRecord()
{
    RegistrationInfo info;
    info.setUsername(text("new.usér"));
    info.setCaptchaText(text("read from the picture"));
    info.setCaptchaId(text("captcha-7"));
    info.setPassword(text("the new passwörd"));
    info.setMobilePhoneNumber(text("+358401234567"));
    info.setEmailAddress(text("new@mail.example"));
    info.setSecurityQuestion(text("question-7"));
    info.setSecurityAnswer(text("Ünser Hund"));
    info.setDateOfBirth(QDate(1990, 12, 31));
    info.setFirstName(text("Mäx"));
    info.setLastName(text("Muster"));
    info.setCountry(text("FI"));
    info.setLanguage(text("sv"));
    info.setCountry(QLocale::Norway);
    info.setLanguage(QLocale::German);
    info.setMarketingInfoOnEmail(true);
    return info;
}

} // namespace

class TestSetUp : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void theIdentityIsStored_data() { setUpRows(); }
    void theIdentityIsStored();
    void theDeviceAccountIsThereWhenTheAnswerComes_data() { setUpRows(); }
    void theDeviceAccountIsThereWhenTheAnswerComes();
    void theAccountsNameIsTheUserIdOrElseTheLoginId_data();
    void theAccountsNameIsTheUserIdOrElseTheLoginId();
    void theResultHasFiveKeys_data();
    void theResultHasFiveKeys();
    void thePluginIsInitialisedAndAskedOnce_data() { setUpRows(); }
    void thePluginIsInitialisedAndAskedOnce();
    void withoutADeviceAccountTheIdentityStays_data() { setUpRows(); }
    void withoutADeviceAccountTheIdentityStays();
    void theSessionGoesOnAfterTheSetUp_data();
    void theSessionGoesOnAfterTheSetUp();
    void deviceInfoIsSentWithASimOnly_data();
    void deviceInfoIsSentWithASimOnly();
    void aRegistrationReachesThePluginWhole();
    void theNameToSignInWithIsTheAddressOrElseTheUserName_data();
    void theNameToSignInWithIsTheAddressOrElseTheUserName();
    void theCaptchaReceivedLastStandsInForAMissingOne();
    void withoutAServiceTagNoneIsSent();
    void aRecordIsTakenAsAnObject();
    void theRecordMayGoOrChangeAfterTheCall();

private:
    void setUpsTimes(const QVector<QPair<const char*, QVariantMap>>& answers);
    RegistrationInfoData sentRegistration() const;
    QVariantMap resultOf(const SetUp& setUp, bool configureOnDb);
};

void TestSetUp::theIdentityIsStored()
{
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    setUp.start(*mAccounts, true);
    QCOMPARE(lines(), QStringList());
    QVERIFY(answersOnce());
    QCOMPARE(identities().size(), 1);
    const quint32 id = identities().at(0);
    QCOMPARE(lines(), QStringList(success(setUp, id)));
    // Flag 2 is a secret that is kept. Type 1: an application's.
    QCOMPARE(
        mSandbox.credentials(
            QStringLiteral("select username, caption, flags & 2, type from credentials "
                           "where id = %1")
                .arg(id)),
        QList<QVariantList>({{text(setUp.userName), text("qtn_zor_account_title"), 2LL, 1LL}}));
    QCOMPARE(
        mSandbox.secrets(QStringLiteral("select password from credentials where id = %1").arg(id)),
        QList<QVariantList>({{text(setUp.password)}}));
    QCOMPARE(mSandbox.credentials(
                 QStringLiteral("select distinct methods.method from acl join methods on "
                                "methods.id = acl.method_id where acl.identity_id = %1 "
                                "order by methods.method")
                     .arg(id)),
             QList<QVariantList>({{text("sasl")}, {text("zorauth")}}));
}

void TestSetUp::theDeviceAccountIsThereWhenTheAnswerComes()
{
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    QVERIFY(!mAccounts->isKeLAccountConfigured());
    QList<QVariantList> found;
    bool configured = false;
    mRecorder->afterwards = [&](const QString&) {
        found = mSandbox.accounts(QStringLiteral("select name, provider, enabled from accounts"));
        configured = mAccounts->isKeLAccountConfigured();
    };
    setUp.start(*mAccounts, true);
    QVERIFY(answersOnce());
    QCOMPARE(found, QList<QVariantList>({{text("the-user-id"), text("zor"), 1LL}}));
    QVERIFY(configured);
    QCOMPARE(mSandbox.accounts(
                 QStringLiteral("select type, value from settings where key = 'CredentialsId'")),
             QList<QVariantList>({{text("i"), QString::number(identities().value(0))}}));
}

/// Two columns and, for each answer of the plugin, a row for each kind of set-up.
void TestSetUp::setUpsTimes(const QVector<QPair<const char*, QVariantMap>>& answers)
{
    QTest::addColumn<int>("setUp");
    QTest::addColumn<QVariantMap>("answer");
    for (int i = 0; i < 2; ++i) {
        for (const auto& answer : answers)
            QTest::addRow("%s, %s", sessionoperations::setUps()[i].name, answer.first)
                << i << answer.second;
    }
}

void TestSetUp::theAccountsNameIsTheUserIdOrElseTheLoginId_data()
{
    const QString user = text("UserId");
    const QString login = text("LoginId");
    const QString name = text("the näme");
    setUpsTimes({{"both", {{user, name}, {login, text("not this")}}},
                 {"user id", {{user, name}}},
                 {"login id", {{login, name}}},
                 {"empty user id", {{user, text("")}, {login, name}}},
                 {"null user id", {{user, QVariant()}, {login, name}}}});
}

void TestSetUp::theAccountsNameIsTheUserIdOrElseTheLoginId()
{
    QFETCH(QVariantMap, answer);
    const SetUp setUp = setUpOfTheRow();
    mSandbox.script({{text(setUp.mechanism), PluginStep::Answer, answer}});
    makeFacade();
    setUp.start(*mAccounts, true);
    QVERIFY(answersOnce());
    const QList<QVariantList> expected{{text("the näme"), QString::number(identities().value(0))}};
    QCOMPARE(deviceAccounts(), expected);
}

QVariantMap TestSetUp::resultOf(const SetUp& setUp, bool configureOnDb)
{
    QSignalSpy signedIn(mAccounts.get(), &KelAccounts::signInAndConfigureResponse);
    QSignalSpy registered(mAccounts.get(), &KelAccounts::registerAccountResponse);
    setUp.start(*mAccounts, configureOnDb);
    if (!answersOnce())
        return {};
    return (signedIn + registered).value(0).value(1).toMap();
}

void TestSetUp::theResultHasFiveKeys_data()
{
    QVariantMap more = userData();
    more.insert(text("AccountId"), text("not this"));
    more.insert(text("IdentityId"), 4711);
    more.insert(text("Token"), text("a secret"));
    setUpsTimes({{"texts", userData()},
                 {"more than is wanted", more},
                 {"numbers",
                  {{text("UserId"), 1},
                   {text("LoginId"), 2},
                   {text("KelAccountId"), 3},
                   {text("EmailAddress"), 4}}},
                 {"nothing", {}}});
}

void TestSetUp::theResultHasFiveKeys()
{
    QFETCH(QVariantMap, answer);
    const SetUp setUp = setUpOfTheRow();
    mSandbox.script({{text(setUp.mechanism), PluginStep::Answer, answer}});
    makeFacade();
    const QVariantMap result = resultOf(setUp, true);
    QCOMPARE(result.keys(), QStringList({text("AccountId"), text("EmailAddress"),
                                         text("IdentityId"), text("LoginId"), text("UserId")}));
    QCOMPARE(result.value(text("IdentityId")).toUInt(), identities().value(0));
    QCOMPARE(result.value(text("AccountId")), answer.value(text("KelAccountId")));
    for (const char* same : {"LoginId", "UserId", "EmailAddress"})
        QCOMPARE(result.value(text(same)), answer.value(text(same)));
}

void TestSetUp::thePluginIsInitialisedAndAskedOnce()
{
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    setUp.start(*mAccounts, true);
    QVERIFY(answersOnce());
    const QList<PluginRequest> requests = mSandbox.requests();
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(setUp.mechanism)}));
    for (const PluginRequest& request : requests) {
        QCOMPARE(request.data.value(text("ConsumerKey")).toString(), text("the-consumer-key"));
        QCOMPARE(request.data.value(text("ConsumerSecret")).toString(),
                 text("the-consumer-secret"));
        QCOMPARE(request.data.value(text("ServerUrlValue")), QVariant(2));
        QCOMPARE(request.data.value(text("VerifyUser")), QVariant(false));
        QCOMPARE(request.data.value(text("KelIdHashRequestType")), QVariant(0));
        // Of the identity, by the daemon.
        QCOMPARE(request.data.value(text("UserName")).toString(), text(setUp.userName));
        QCOMPARE(request.data.value(text("Secret")).toString(), text(setUp.password));
    }
    QCOMPARE(requests[0].data.value(text("ZorService")).toString(), text("the-service"));
    QCOMPARE(requests[0].data.value(text("ManualSignIn")), QVariant(false));
    QCOMPARE(requests[1].data.value(text("ManualSignIn")), QVariant(true));
}

void TestSetUp::withoutADeviceAccountTheIdentityStays()
{
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    setUp.start(*mAccounts, false);
    QVERIFY(answersOnce());
    const quint32 id = identities().value(0);
    QCOMPARE(lines(), QStringList(success(setUp, id)));
    QCOMPARE(identities(), QList<quint32>({id}));
    QCOMPARE(deviceAccounts(), QList<QVariantList>());
    QVERIFY(!mAccounts->isKeLAccountConfigured());
    QCOMPARE(
        mSandbox.secrets(QStringLiteral("select password from credentials where id = %1").arg(id)),
        QList<QVariantList>({{text(setUp.password)}}));
}

void TestSetUp::theSessionGoesOnAfterTheSetUp_data()
{
    setUpRows("configureOnDb", "", ", no device account");
}

void TestSetUp::theSessionGoesOnAfterTheSetUp()
{
    QFETCH(bool, configureOnDb);
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    setUp.start(*mAccounts, configureOnDb);
    QVERIFY(answersOnce());
    mAccounts->ensureTokenAvailable(0);
    QVERIFY(answersOnce(2));
    QCOMPARE(lines().last(), text("ensureTokenAvailableResponse(0)"));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(setUp.mechanism),
                                                 text("privateMechanism_ensureToken")}));
}

void TestSetUp::deviceInfoIsSentWithASimOnly_data()
{
    QTest::addColumn<int>("setUp");
    QTest::addColumn<int>("sims"); // 0 none, 1 usable, 2 locked
    QTest::addColumn<int>("pluginError");
    QTest::addColumn<bool>("configureOnDb");
    for (int i = 0; i < 2; ++i) {
        const char* const name = sessionoperations::setUps()[i].name;
        QTest::addRow("%s, a modem without SIM", name) << i << 0 << 0 << true;
        QTest::addRow("%s, SIM", name) << i << 1 << 0 << true;
        QTest::addRow("%s, locked SIM", name) << i << 2 << 0 << true;
        QTest::addRow("%s, SIM and an error", name) << i << 1 << 605 << true;
        QTest::addRow("%s, SIM, no device account", name) << i << 1 << 0 << false;
    }
}

void TestSetUp::deviceInfoIsSentWithASimOnly()
{
    QFETCH(int, sims);
    QFETCH(int, pluginError);
    QFETCH(bool, configureOnDb);
    const SetUp setUp = setUpOfTheRow();
    FakeModem::setModems({{{}, {}, text("356938035643809")}});
    if (sims > 0)
        FakeModem::setSims({{sims == 2, text("244051234567890"), text("244"), text("05")}});
    QList<PluginStep> steps = succeeding();
    steps.append(
        {updateDeviceInfo, pluginError ? PluginStep::Err : PluginStep::Answer, {}, pluginError});
    mSandbox.script(steps);
    makeFacade();
    setUp.start(*mAccounts, configureOnDb);
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(success(setUp, identities().value(0))));
    QStringList expected{initialise, text(setUp.mechanism)};
    if (sims > 0) {
        expected.append(updateDeviceInfo);
        QVERIFY(mSandbox.waitForRequests(3));
    }
    // What comes next waits for its answer, which nobody hears of.
    mAccounts->ensureTokenAvailable(0);
    QVERIFY(answersOnce(2));
    QCOMPARE(lines().last(), text("ensureTokenAvailableResponse(0)"));
    expected.append(text("privateMechanism_ensureToken"));
    QCOMPARE(mSandbox.mechanisms(), expected);
    QCOMPARE(identities().size(), 1);
    QCOMPARE(deviceAccounts().size(), configureOnDb ? 1 : 0);
}

/// The record as the plugin reads it.
RegistrationInfoData TestSetUp::sentRegistration() const
{
    return KelRestHandler::readRegistration(
        mSandbox.requests().value(1).data.value(text("RegistrationData")).toByteArray());
}

void TestSetUp::aRegistrationReachesThePluginWhole()
{
    makeFacade();
    mAccounts->registerAccount(completeRecord(), true);
    QVERIFY(answersOnce());
    const RegistrationInfoData sent = sentRegistration();
    QCOMPARE(sent.userName, text("new.usér"));
    QCOMPARE(sent.captchaText, text("read from the picture"));
    QCOMPARE(sent.password, text("the new passwörd"));
    QCOMPARE(sent.mobilePhoneNumber, text("+358401234567"));
    QCOMPARE(sent.emailAddress, text("new@mail.example"));
    QCOMPARE(sent.securityQuestion, text("question-7"));
    QCOMPARE(sent.securityAnswer, text("Ünser Hund"));
    QCOMPARE(sent.dateOfBirth, QDate(1990, 12, 31));
    QCOMPARE(sent.firstName, text("Mäx"));
    QCOMPARE(sent.lastName, text("Muster"));
    QCOMPARE(sent.countryAsString, text("FI"));
    QCOMPARE(sent.languageAsString, text("sv"));
    QCOMPARE(sent.country, QLocale::Norway);
    QCOMPARE(sent.language, QLocale::German);
    QCOMPARE(sent.marketingInfoOnMobile, false);
    QCOMPARE(sent.marketingInfoOnEmail, true);
    QCOMPARE(sent.captchaId, text("captcha-7"));
    QCOMPARE(sent.serviceTag, QByteArray("dGFn")); // "tag" in base 64
    QCOMPARE(mTagServer->connections(), 1);
    const QByteArray asked = mTagServer->frames().value(0).mid(7); // behind the frame's head
    QVERIFY2(asked.startsWith(":SSO_REGISTRATION:"), asked);
}

void TestSetUp::theNameToSignInWithIsTheAddressOrElseTheUserName_data()
{
    QTest::addColumn<QString>("userName");
    QTest::addColumn<QString>("mobile");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("stored");
    const QString mobile = text("+358401234567");
    QTest::newRow("address") << QString() << QString() << text("a@b.example")
                             << text("a@b.example");
    QTest::newRow("both") << text("n") << QString() << text("a@b.example") << text("a@b.example");
    QTest::newRow("all") << text("n") << mobile << text("a@b.example") << text("a@b.example");
    QTest::newRow("name and mobile") << text("n") << mobile << QString() << text("n");
}

void TestSetUp::theNameToSignInWithIsTheAddressOrElseTheUserName()
{
    QFETCH(QString, userName);
    QFETCH(QString, mobile);
    QFETCH(QString, address);
    QFETCH(QString, stored);
    RegistrationInfo info;
    info.setUsername(userName);
    info.setMobilePhoneNumber(mobile);
    info.setEmailAddress(address);
    info.setPassword(text("p"));
    makeFacade();
    mAccounts->registerAccount(info, true);
    QVERIFY(answersOnce());
    const quint32 id = identities().value(0);
    QCOMPARE(lines(), QStringList(success(sessionoperations::setUps()[1], id)));
    QCOMPARE(mSandbox.credentials(
                 QStringLiteral("select username from credentials where id=%1").arg(id)),
             QList<QVariantList>({{stored}}));
    // The plugin gets the record as it was filled in, whatever the name to sign in with is.
    QCOMPARE(sentRegistration().userName, userName);
    QCOMPARE(sentRegistration().mobilePhoneNumber, mobile);
    QCOMPARE(sentRegistration().emailAddress, address);
}

void TestSetUp::theCaptchaReceivedLastStandsInForAMissingOne()
{
    makeFacade();
    FakeRestHandler::latest().retrieveCaptchaImageResponse(0, QPixmap(), text("received last"));
    mRecorder->clear();
    RegistrationInfo info = completeRecord();
    info.setCaptchaId(QString());
    mAccounts->registerAccount(info, true);
    QVERIFY(answersOnce());
    QCOMPARE(sentRegistration().captchaId, text("received last"));
    QCOMPARE(sentRegistration().captchaText, text("read from the picture"));
}

void TestSetUp::withoutAServiceTagNoneIsSent()
{
    mTagServer.reset();
    TagServerAddress::setProgram("/nonexistent/tag-server");
    makeFacade();
    mAccounts->registerAccount(completeRecord(), true);
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(success(sessionoperations::setUps()[1], identities().value(0))));
    QCOMPARE(sentRegistration().serviceTag, QByteArray());
    QCOMPARE(sentRegistration().captchaId, text("captcha-7"));
}

void TestSetUp::aRecordIsTakenAsAnObject()
{
    RegistrationInfo info = completeRecord();
    QObject* const object = &info;
    makeFacade();
    mAccounts->registerAccount(object, false);
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(success(sessionoperations::setUps()[1], identities().value(0))));
    QCOMPARE(deviceAccounts(), QList<QVariantList>());
    QCOMPARE(sentRegistration().emailAddress, text("new@mail.example"));
    QCOMPARE(sentRegistration().firstName, text("Mäx"));
}

void TestSetUp::theRecordMayGoOrChangeAfterTheCall()
{
    makeFacade();
    {
        RegistrationInfo info = completeRecord();
        mAccounts->registerAccount(info, true);
        info.clearData();
    }
    QVERIFY(answersOnce());
    QCOMPARE(sentRegistration().password, text("the new passwörd"));
}

int main(int argc, char** argv)
{
    return runInSession<TestSetUp>(argc, argv);
}

#include "tst_setup.moc"
