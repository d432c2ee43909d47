// SPDX-License-Identifier: LGPL-2.1-or-later
// The record of a registration, on its way to the plugin or refused.
#include "account/accountfixture.h"
#include "account/fakeresthandler.h"
#include "account/records/registrationconversion.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QPixmap>

using namespace KelTest;
using facadecalls::failure;
using KelAccount::KelAccounts;
using KelAccount::RegistrationInfo;
using KelRestHandler::RegistrationInfoData;

namespace {

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

class TestRegistering : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

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

    void aSetUpNeedsItsArguments_data()
    {
        columns<QString, QString>("userName", "password");
        QTest::newRow("no name") << QString() << "p"_s;
        QTest::newRow("no password") << "n"_s << QString();
        QTest::newRow("neither") << QString() << QString();
    }
    void aSetUpNeedsItsArguments()
    {
        QFETCH(QString, userName);
        QFETCH(QString, password);
        makeFacade();
        const auto call = [&](KelAccounts& a) { a.signInAndConfigure(userName, password, true); };
        QVERIFY(isRefused(call, "signInAndConfigureResponse(1001, {})"_s));
        QVERIFY(succeeds(facadecalls::setUps()[0]));
    }

    void anIncompleteRegistrationIsRefused_data()
    {
        columns<QString, QString, QString, QString>("userName", "mobile", "address", "password");
        const QString none;
        const QString name = "n"_s;
        const QString mobile = "+358401234567"_s;
        const QString address = "a@b.example"_s;
        const QString password = "p"_s;
        QTest::newRow("nothing") << none << none << none << none;
        QTest::newRow("address without password") << none << none << address << none;
        QTest::newRow("all but the password") << name << mobile << address << none;
        QTest::newRow("name and mobile without password") << name << mobile << none << none;
        QTest::newRow("password alone") << none << none << none << password;
        QTest::newRow("mobile without any name") << none << mobile << none << password;
        QTest::newRow("name without mobile") << name << none << none << password;
    }
    void anIncompleteRegistrationIsRefused()
    {
        QFETCH(QString, userName);
        QFETCH(QString, mobile);
        QFETCH(QString, address);
        QFETCH(QString, password);
        makeFacade();
        KelAccount::RegistrationInfo info;
        info.setUsername(userName);
        info.setMobilePhoneNumber(mobile);
        info.setEmailAddress(address);
        info.setPassword(password);
        const QString refusal = "registerAccountResponse(1001, {})"_s;
        QVERIFY(isRefused([&](KelAccounts& a) { a.registerAccount(info, true); }, refusal));
        QObject* const object = &info;
        QVERIFY(isRefused([&](KelAccounts& a) { a.registerAccount(object, false); }, refusal));
    }

    void whatIsNoRegistrationIsRefusedInTheSameOrder_data()
    {
        QTest::addColumn<bool>("null");
        QTest::newRow("null") << true;
        QTest::newRow("another class") << false;
    }
    void whatIsNoRegistrationIsRefusedInTheSameOrder()
    {
        QFETCH(bool, null);
        QObject other;
        QObject* const object = null ? nullptr : &other;
        const auto call = [&](KelAccounts& a) { a.registerAccount(object, true); };
        const SetUp registration = facadecalls::setUps()[1];
        makeFacade(false);
        QVERIFY(isRefused(call, failure(registration, 802)));
        makeFacade();
        QVERIFY(createDeviceAccount(17));
        QVERIFY(isRefused(call, failure(registration, 803)));
        QVERIFY(removeDeviceAccounts());
        QVERIFY(isRefused(call, failure(registration, 1001)));
        QVERIFY(succeeds(registration));
    }

private:
    /// The record as the plugin reads it.
    RegistrationInfoData sentRegistration() const
    {
        return KelRestHandler::readRegistration(
            mSandbox.requests().value(1).data.value("RegistrationData"_s).toByteArray());
    }

    /// The call's one answer is this refusal, after the call, and nothing was asked or stored.
    bool isRefused(const facadecalls::Call& call, const QString& expected)
    {
        mRecorder->clear();
        call(*mAccounts);
        if (!lines().isEmpty() || !answersOnce() || lines() != QStringList(expected)) {
            qWarning() << "expected" << expected << "and not" << lines();
            return false;
        }
        return mSandbox.requests().isEmpty() && identities().isEmpty() &&
               FakeRestHandler::sent().isEmpty();
    }
};

KEL_TEST_IN_SESSION(TestRegistering)
#include "tst_registering.moc"
