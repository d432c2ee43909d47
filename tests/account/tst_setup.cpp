// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing in and registering when nothing is in the way: what is stored, what the plugin is sent
// and what the application is told.
#include "account/accountfixture.h"
#include "account/fakeresthandler.h"
#include "account/records/registrationconversion.h"
#include "platform/fakemodem.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QPixmap>
#include <QSignalSpy>

using namespace KelTest;
using KelAccount::KelAccounts;
using KelAccount::RegistrationInfo;
using KelRestHandler::RegistrationInfoData;

namespace {

const QString initialise = "initialise"_s;
const QString updateDeviceInfo = "privateMechanism_updateDeviceInfo"_s;

RegistrationInfo completeRecord()
{
    RegistrationInfo info;
    info.setUsername("new.usér"_s);
    info.setCaptchaText("read from the picture"_s);
    info.setCaptchaId("captcha-7"_s);
    info.setPassword("the new passwörd"_s);
    info.setMobilePhoneNumber("+358401234567"_s);
    info.setEmailAddress("new@mail.example"_s);
    info.setSecurityQuestion("question-7"_s);
    info.setSecurityAnswer("Ünser Hund"_s);
    info.setDateOfBirth(QDate(1990, 12, 31));
    info.setFirstName("Mäx"_s);
    info.setLastName("Muster"_s);
    info.setCountry("FI"_s);
    info.setLanguage("sv"_s);
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
    void theIdentityIsStored()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, true);
        QCOMPARE(lines(), QStringList());
        QVERIFY(answersOnce());
        QCOMPARE(identities().size(), 1);
        const quint32 id = identities().at(0);
        QCOMPARE(lines(), QStringList(success(setUp, id)));
        // Flag 2 is a secret that is kept. Type 1: an application's.
        QCOMPARE(
            mSandbox.credentials("select username, caption, flags & 2, type from credentials "
                                 "where id = %1"_s.arg(id)),
            QList<QVariantList>({{text(setUp.userName), "qtn_zor_account_title"_s, 2LL, 1LL}}));
        QCOMPARE(mSandbox.secrets("select password from credentials where id = %1"_s.arg(id)),
                 QList<QVariantList>({{text(setUp.password)}}));
        QCOMPARE(mSandbox.credentials("select distinct methods.method from acl join methods on "
                                      "methods.id = acl.method_id where acl.identity_id = %1 "
                                      "order by methods.method"_s.arg(id)),
                 QList<QVariantList>({{"sasl"_s}, {"zorauth"_s}}));
    }

    void theDeviceAccountIsThereWhenTheAnswerComes_data() { setUpRows(); }
    void theDeviceAccountIsThereWhenTheAnswerComes()
    {
        const SetUp setUp = setUpWithFacade();
        QVERIFY(!mAccounts->isKeLAccountConfigured());
        QList<QVariantList> found;
        bool configured = false;
        mRecorder->afterwards = [&](const QString&) {
            found = mSandbox.accounts("select name, provider, enabled from accounts"_s);
            configured = mAccounts->isKeLAccountConfigured();
        };
        setUp.start(*mAccounts, true);
        QVERIFY(answersOnce());
        QCOMPARE(found, QList<QVariantList>({{"the-user-id"_s, "zor"_s, 1LL}}));
        QVERIFY(configured);
        QCOMPARE(
            mSandbox.accounts("select type, value from settings where key = 'CredentialsId'"_s),
            QList<QVariantList>({{"i"_s, QString::number(identities().value(0))}}));
    }

    void theAccountsNameIsTheUserIdOrElseTheLoginId_data()
    {
        const QString user = "UserId"_s;
        const QString login = "LoginId"_s;
        const QString name = "the näme"_s;
        setUpRows<QVariantMap>({"answer"}, {{"both", {{user, name}, {login, "not this"_s}}},
                                            {"user id", {{user, name}}},
                                            {"login id", {{login, name}}},
                                            {"empty user id", {{user, ""_s}, {login, name}}},
                                            {"null user id", {{user, QVariant()}, {login, name}}}});
    }
    void theAccountsNameIsTheUserIdOrElseTheLoginId()
    {
        QFETCH(QVariantMap, answer);
        const SetUp setUp = setUpOfTheRow();
        mSandbox.script({{text(setUp.mechanism), PluginStep::Answer, answer}});
        makeFacade();
        setUp.start(*mAccounts, true);
        QVERIFY(answersOnce());
        const QList<QVariantList> expected{{"the näme"_s, QString::number(identities().value(0))}};
        QCOMPARE(deviceAccounts(), expected);
    }

    void theResultHasFiveKeys_data()
    {
        QVariantMap more = userData();
        more.insert("AccountId"_s, "not this"_s);
        more.insert("IdentityId"_s, 4711);
        more.insert("Token"_s, "a secret"_s);
        setUpRows<QVariantMap>(
            {"answer"},
            {{"texts", userData()},
             {"more than is wanted", more},
             {"numbers",
              {{"UserId"_s, 1}, {"LoginId"_s, 2}, {"KelAccountId"_s, 3}, {"EmailAddress"_s, 4}}},
             {"nothing", {}}});
    }
    void theResultHasFiveKeys()
    {
        QFETCH(QVariantMap, answer);
        const SetUp setUp = setUpOfTheRow();
        mSandbox.script({{text(setUp.mechanism), PluginStep::Answer, answer}});
        makeFacade();
        const QVariantMap result = resultOf(setUp, true);
        QCOMPARE(result.keys(), QStringList({"AccountId"_s, "EmailAddress"_s, "IdentityId"_s,
                                             "LoginId"_s, "UserId"_s}));
        QCOMPARE(result.value("IdentityId"_s).toUInt(), identities().value(0));
        QCOMPARE(result.value("AccountId"_s), answer.value("KelAccountId"_s));
        for (const char* same : {"LoginId", "UserId", "EmailAddress"})
            QCOMPARE(result.value(text(same)), answer.value(text(same)));
    }

    void thePluginIsInitialisedAndAskedOnce_data() { setUpRows(); }
    void thePluginIsInitialisedAndAskedOnce()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, true);
        QVERIFY(answersOnce());
        const QList<PluginRequest> requests = mSandbox.requests();
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(setUp.mechanism)}));
        for (const PluginRequest& request : requests) {
            QCOMPARE(request.data.value("ConsumerKey"_s).toString(), "the-consumer-key"_s);
            QCOMPARE(request.data.value("ConsumerSecret"_s).toString(), "the-consumer-secret"_s);
            QCOMPARE(request.data.value("ServerUrlValue"_s), QVariant(2));
            QCOMPARE(request.data.value("VerifyUser"_s), QVariant(false));
            QCOMPARE(request.data.value("KelIdHashRequestType"_s), QVariant(0));
            // Of the identity, by the daemon.
            QCOMPARE(request.data.value("UserName"_s).toString(), text(setUp.userName));
            QCOMPARE(request.data.value("Secret"_s).toString(), text(setUp.password));
        }
        QCOMPARE(requests[0].data.value("ZorService"_s).toString(), "the-service"_s);
        QCOMPARE(requests[0].data.value("ManualSignIn"_s), QVariant(false));
        QCOMPARE(requests[1].data.value("ManualSignIn"_s), QVariant(true));
    }

    void withoutADeviceAccountTheIdentityStays_data() { setUpRows(); }
    void withoutADeviceAccountTheIdentityStays()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, false);
        QVERIFY(answersOnce());
        const quint32 id = identities().value(0);
        QCOMPARE(lines(), QStringList(success(setUp, id)));
        QCOMPARE(identities(), QList<quint32>({id}));
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
        QVERIFY(!mAccounts->isKeLAccountConfigured());
        QCOMPARE(mSandbox.secrets("select password from credentials where id = %1"_s.arg(id)),
                 QList<QVariantList>({{text(setUp.password)}}));
    }

    void theSessionGoesOnAfterTheSetUp_data()
    {
        setUpRows("configureOnDb", "with a device account", "no device account");
    }
    void theSessionGoesOnAfterTheSetUp()
    {
        QFETCH(bool, configureOnDb);
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, configureOnDb);
        QVERIFY(answersOnce());
        mAccounts->ensureTokenAvailable(0);
        QVERIFY(answersOnce(2));
        QCOMPARE(lines().last(), "ensureTokenAvailableResponse(0)"_s);
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(setUp.mechanism),
                                                     "privateMechanism_ensureToken"_s}));
    }

    void deviceInfoIsSentWithASimOnly_data()
    {
        // SIMs: 0 none, 1 usable, 2 locked.
        setUpRows<int, int, bool>({"sims", "pluginError", "configureOnDb"},
                                  {{"a modem without SIM", 0, 0, true},
                                   {"SIM", 1, 0, true},
                                   {"locked SIM", 2, 0, true},
                                   {"SIM and an error", 1, 605, true},
                                   {"SIM, no device account", 1, 0, false}});
    }
    void deviceInfoIsSentWithASimOnly()
    {
        const auto [sims, pluginError, configureOnDb] =
            fetch<int, int, bool>("sims", "pluginError", "configureOnDb");
        const SetUp setUp = setUpOfTheRow();
        FakeModem::setModems({{{}, {}, "356938035643809"_s}});
        if (sims > 0)
            FakeModem::setSims({{sims == 2, "244051234567890"_s, "244"_s, "05"_s}});
        QList<PluginStep> steps = succeeding();
        steps.append({updateDeviceInfo,
                      pluginError ? PluginStep::Err : PluginStep::Answer,
                      {},
                      pluginError});
        mSandbox.script(steps);
        makeFacade();
        setUp.start(*mAccounts, configureOnDb);
        COMPARE_ANSWER(success(setUp, identities().value(0)));
        QStringList expected{initialise, text(setUp.mechanism)};
        if (sims > 0) {
            expected.append(updateDeviceInfo);
            QVERIFY(mSandbox.waitForRequests(3));
        }
        // What comes next waits for its answer, which nobody hears of.
        mAccounts->ensureTokenAvailable(0);
        QVERIFY(answersOnce(2));
        QCOMPARE(lines().last(), "ensureTokenAvailableResponse(0)"_s);
        expected.append("privateMechanism_ensureToken"_s);
        QCOMPARE(mSandbox.mechanisms(), expected);
        QCOMPARE(identities().size(), 1);
        QCOMPARE(deviceAccounts().size(), configureOnDb ? 1 : 0);
    }

    // With the captcha and the service tag, which is "tag" in base 64.
    void aRegistrationReachesThePluginWhole()
    {
        makeFacade();
        mAccounts->registerAccount(completeRecord(), true);
        QVERIFY(answersOnce());
        QCOMPARE(KelRestHandler::serializeRegistration(sentRegistration()),
                 KelRestHandler::serializeRegistration(
                     KelAccount::toRegistrationInfoData(completeRecord(), {}, "dGFn")));
        QCOMPARE(sentRegistration().captchaId, "captcha-7"_s);
        QCOMPARE(mTagServer->connections(), 1);
        const QByteArray asked = mTagServer->frames().value(0).mid(7); // behind the frame's head
        QVERIFY2(asked.startsWith(":SSO_REGISTRATION:"), asked);
    }

    void theNameToSignInWithIsTheAddressOrElseTheUserName_data()
    {
        columns<QString, QString, QString, QString>("userName", "mobile", "address", "stored");
        const QString mobile = "+358401234567"_s;
        row("address", QString(), QString(), "a@b.example"_s, "a@b.example"_s);
        row("both", "n"_s, QString(), "a@b.example"_s, "a@b.example"_s);
        row("all", "n"_s, mobile, "a@b.example"_s, "a@b.example"_s);
        QTest::newRow("name and mobile") << "n"_s << mobile << QString() << "n"_s;
    }
    void theNameToSignInWithIsTheAddressOrElseTheUserName()
    {
        const auto [userName, mobile, address, stored] =
            fetch<QString, QString, QString, QString>("userName", "mobile", "address", "stored");
        RegistrationInfo info;
        info.setUsername(userName);
        info.setMobilePhoneNumber(mobile);
        info.setEmailAddress(address);
        info.setPassword("p"_s);
        makeFacade();
        mAccounts->registerAccount(info, true);
        QVERIFY(answersOnce());
        const quint32 id = identities().value(0);
        QCOMPARE(lines(), QStringList(success(facadecalls::setUps()[1], id)));
        QCOMPARE(mSandbox.credentials("select username from credentials where id=%1"_s.arg(id)),
                 QList<QVariantList>({{stored}}));
        // The plugin gets the record as it was filled in, whatever the name to sign in with is.
        QCOMPARE(sentRegistration().userName, userName);
        QCOMPARE(sentRegistration().mobilePhoneNumber, mobile);
        QCOMPARE(sentRegistration().emailAddress, address);
    }

    void theCaptchaReceivedLastStandsInForAMissingOne()
    {
        makeFacade();
        FakeRestHandler::latest().retrieveCaptchaImageResponse(0, QPixmap(), "received last"_s);
        mRecorder->clear();
        RegistrationInfo info = completeRecord();
        info.setCaptchaId(QString());
        mAccounts->registerAccount(info, true);
        QVERIFY(answersOnce());
        QCOMPARE(sentRegistration().captchaId, "received last"_s);
        QCOMPARE(sentRegistration().captchaText, "read from the picture"_s);
    }

    void withoutAServiceTagNoneIsSent()
    {
        mTagServer.reset();
        TagServerAddress::setProgram("/nonexistent/tag-server");
        makeFacade();
        mAccounts->registerAccount(completeRecord(), true);
        COMPARE_ANSWER(success(facadecalls::setUps()[1], identities().value(0)));
        QCOMPARE(sentRegistration().serviceTag, QByteArray());
        QCOMPARE(sentRegistration().captchaId, "captcha-7"_s);
    }

    void aRecordIsTakenAsAnObject()
    {
        RegistrationInfo info = completeRecord();
        QObject* const object = &info;
        makeFacade();
        mAccounts->registerAccount(object, false);
        COMPARE_ANSWER(success(facadecalls::setUps()[1], identities().value(0)));
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
        QCOMPARE(sentRegistration().emailAddress, "new@mail.example"_s);
        QCOMPARE(sentRegistration().firstName, "Mäx"_s);
    }

    void theRecordMayGoOrChangeAfterTheCall()
    {
        makeFacade();
        {
            RegistrationInfo info = completeRecord();
            mAccounts->registerAccount(info, true);
            info.clearData();
        }
        QVERIFY(answersOnce());
        QCOMPARE(sentRegistration().password, "the new passwörd"_s);
    }

private:
    /// The record as the plugin reads it.
    RegistrationInfoData sentRegistration() const
    {
        return KelRestHandler::readRegistration(
            mSandbox.requests().value(1).data.value("RegistrationData"_s).toByteArray());
    }

    QVariantMap resultOf(const SetUp& setUp, bool configureOnDb)
    {
        QSignalSpy signedIn(mAccounts.get(), &KelAccounts::signInAndConfigureResponse);
        QSignalSpy registered(mAccounts.get(), &KelAccounts::registerAccountResponse);
        setUp.start(*mAccounts, configureOnDb);
        if (!answersOnce())
            return {};
        return (signedIn + registered).value(0).value(1).toMap();
    }
};

KEL_TEST_IN_SESSION(TestSetUp)
#include "tst_setup.moc"
