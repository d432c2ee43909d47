// SPDX-License-Identifier: LGPL-2.1-or-later
// What a call's result is made of, and what a form becomes: each field of its own, so that none
// stands for another.
#include "client/failures.h"
#include "client/resultvalues.h"
#include "support/literals.h"

#include <kelaccount/errorstatus.h>
#include <kelaccount/profileinfo.h>

#include <QPointer>
#include <QTest>

using namespace KelAccount;

class TestClientValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFieldOfAFormIsHandedOn();
    void aConsentIsHandedOnForItsChannel_data();
    void aConsentIsHandedOnForItsChannel();
    void aProfileHasEveryField();
    void aProfileThatDidNotComeIsEmpty();
    void aSetUpHasEveryField();
    void aPreparedAccountHasEveryField();
    void aRecoveryQuestionHasEveryField();
    void questionsHaveTheServicesOrder();
    void aFailureSaysWhatIsWrongWithWhat_data();
    void aFailureSaysWhatIsWrongWithWhat();
    void aFailureHasTheWaitThatItWasGiven();
    void theTrueStatusIsTheOneThatIsNotZero_data();
    void theTrueStatusIsTheOneThatIsNotZero();
};

void TestClientValues::everyFieldOfAFormIsHandedOn()
{
    Registration form;
    form.userName = "the user name"_s;
    form.password = "the password"_s;
    form.emailAddress = "the address"_s;
    form.mobilePhoneNumber = "the number"_s;
    form.captchaText = "the characters"_s;
    form.captchaId = "the captcha"_s;
    form.firstName = "the first name"_s;
    form.lastName = "the last name"_s;
    form.dateOfBirth = QDate(1990, 2, 3);
    form.language = "fi"_s;
    form.country = "DE"_s;
    form.securityQuestionId = "the question"_s;
    form.securityAnswer = "the answer"_s;
    RegistrationInfo info;
    fill(info, form);
    QCOMPARE(info.userName(), form.userName);
    QCOMPARE(info.password(), form.password);
    QCOMPARE(info.emailAddress(), form.emailAddress);
    QCOMPARE(info.mobilePhoneNumber(), form.mobilePhoneNumber);
    QCOMPARE(info.captchaText(), form.captchaText);
    QCOMPARE(info.captchaId(), form.captchaId);
    QCOMPARE(info.firstName(), form.firstName);
    QCOMPARE(info.lastName(), form.lastName);
    QCOMPARE(info.dateOfBirth(), form.dateOfBirth);
    QCOMPARE(info.languageAsString(), form.language);
    QCOMPARE(info.countryAsString(), form.country);
    QCOMPARE(info.securityQuestion(), form.securityQuestionId);
    QCOMPARE(info.securityAnswer(), form.securityAnswer);
}

void TestClientValues::aConsentIsHandedOnForItsChannel_data()
{
    QTest::addColumn<bool>("both");
    QTest::addColumn<bool>("mobile");
    QTest::addColumn<bool>("email");
    QTest::newRow("none") << false << false << false;
    QTest::newRow("both") << true << false << false;
    QTest::newRow("mobile") << false << true << false;
    QTest::newRow("e-mail") << false << false << true;
}

void TestClientValues::aConsentIsHandedOnForItsChannel()
{
    QFETCH(bool, both);
    QFETCH(bool, mobile);
    QFETCH(bool, email);
    Registration form;
    form.marketingInfo = both;
    form.marketingInfoOnMobile = mobile;
    form.marketingInfoOnEmail = email;
    RegistrationInfo info;
    fill(info, form);
    QCOMPARE(info.marketingInfo(), both);
    QCOMPARE(info.marketingInfoOnMobile(), mobile);
    QCOMPARE(info.marketingInfoOnEmail(), email);
}

void TestClientValues::aProfileHasEveryField()
{
    QPointer<ProfileInfo> info = new ProfileInfo;
    info->setUsername("the user name"_s);
    info->setMobilePhoneNumber("the number"_s);
    info->setEmailAddress("the address"_s);
    info->setEmailVerified(true);
    info->setSecurityQuestion("the question"_s);
    info->setSecurityQuestionId("its id"_s);
    info->setSecurityAnswer("the answer"_s);
    info->setDateOfBirth(QDate(1990, 2, 3));
    info->setFirstName("the first name"_s);
    info->setLastName("the last name"_s);
    info->setLanguageAsString("fi"_s);
    info->setCountryAsString("DE"_s);
    info->setServiceList({"a shop"_s, "a library"_s});
    const auto result = profile(info);
    QVERIFY(!info);
    QCOMPARE(result->userName, "the user name"_s);
    QCOMPARE(result->mobilePhoneNumber, "the number"_s);
    QCOMPARE(result->emailAddress, "the address"_s);
    QVERIFY(result->emailVerified);
    QVERIFY(!result->mobilePhoneVerified);
    QCOMPARE(result->securityQuestion, "the question"_s);
    QCOMPARE(result->securityQuestionId, "its id"_s);
    QCOMPARE(result->securityAnswer, "the answer"_s);
    QCOMPARE(result->dateOfBirth, QDate(1990, 2, 3));
    QCOMPARE(result->firstName, "the first name"_s);
    QCOMPARE(result->lastName, "the last name"_s);
    QCOMPARE(result->language, "fi"_s);
    QCOMPARE(result->country, "DE"_s);
    QCOMPARE(result->services, QStringList({"a shop"_s, "a library"_s}));
    QVERIFY(!result->marketingInfo);

    auto* const other = new ProfileInfo;
    other->setMobilePhoneVerified(true);
    other->setMarketingInfo(true);
    const auto otherResult = profile(other);
    QVERIFY(!otherResult->emailVerified);
    QVERIFY(otherResult->mobilePhoneVerified);
    QVERIFY(otherResult->marketingInfo);
}

void TestClientValues::aProfileThatDidNotComeIsEmpty()
{
    const auto result = profile(nullptr);
    QVERIFY(result);
    QCOMPARE(result->userName, QString());
    QVERIFY(result->dateOfBirth.isNull());
}

void TestClientValues::aSetUpHasEveryField()
{
    const auto result = setUp({{"IdentityId"_s, 3000000000U},
                               {"AccountId"_s, "the account"_s},
                               {"LoginId"_s, "the login"_s},
                               {"UserId"_s, "the user"_s},
                               {"EmailAddress"_s, "the address"_s}});
    QCOMPARE(result->credentialsId, 3000000000U);
    QCOMPARE(result->serviceAccountId, "the account"_s);
    QCOMPARE(result->loginId, "the login"_s);
    QCOMPARE(result->userId, "the user"_s);
    QCOMPARE(result->emailAddress, "the address"_s);
}

void TestClientValues::aPreparedAccountHasEveryField()
{
    const auto result = preAccount({"the id"_s, "the name"_s, "the number"_s, QLocale::Finland});
    QCOMPARE(result->id, "the id"_s);
    QCOMPARE(result->userName, "the name"_s);
    QCOMPARE(result->mobilePhoneNumber, "the number"_s);
    QCOMPARE(result->country, QLocale::Finland);
}

void TestClientValues::aRecoveryQuestionHasEveryField()
{
    const auto result = recoveryQuestion({{"userId"_s, "the user"_s},
                                          {"securityQuestionId"_s, "17"_s},
                                          {"securityQuestionText"_s, "What?"_s}});
    QCOMPARE(result->userId, "the user"_s);
    QCOMPARE(result->id, "17"_s);
    QCOMPARE(result->text, "What?"_s);
}

void TestClientValues::questionsHaveTheServicesOrder()
{
    AnswerDetails details;
    details.order = QStringList{"3"_s, "1"_s, "2"_s};
    const auto result =
        securityQuestions({{"1"_s, "One?"_s}, {"2"_s, "Two?"_s}, {"3"_s, "Three?"_s}}, details);
    QStringList lines;
    for (const SecurityQuestion& question : result->questions)
        lines.append(question.id + QLatin1Char(' ') + question.text);
    QCOMPARE(lines, QStringList({"3 Three?"_s, "1 One?"_s, "2 Two?"_s}));
}

void TestClientValues::aFailureSaysWhatIsWrongWithWhat_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("isRetryable");
    QTest::newRow("of the network")
        << int(ErrorTimeout) << "ZorKeLDefs::ErrorTimeout"_s << QString() << true;
    QTest::newRow("of a field") << int(ErrorEmailAddressReserved)
                                << "ZorKeLDefs::ErrorEmailAddressReserved"_s
                                << "emailAddress"_s << false;
}

void TestClientValues::aFailureSaysWhatIsWrongWithWhat()
{
    QFETCH(int, status);
    QFETCH(QString, name);
    QFETCH(QString, field);
    QFETCH(bool, isRetryable);
    const FailureReason failure = failureOf(status);
    QCOMPARE(failure->status, status);
    QCOMPARE(failure->name, name);
    QCOMPARE(failure->field, field);
    QCOMPARE(failure->isRetryable, isRetryable);
    QVERIFY(failure->text.endsWith(QLatin1Char('.')));
}

void TestClientValues::aFailureHasTheWaitThatItWasGiven()
{
    QCOMPARE(failureOf(ErrorTimeout)->retryAfter.count(), 0);
    QCOMPARE(failureOf(ErrorTimeout, std::chrono::seconds(17))->retryAfter.count(), 17);
}

void TestClientValues::theTrueStatusIsTheOneThatIsNotZero_data()
{
    QTest::addColumn<int>("told");
    QTest::addColumn<int>("known");
    QTest::addColumn<int>("status");
    QTest::newRow("success") << 0 << 0 << 0;
    QTest::newRow("a refusal") << 812 << 0 << 812;
    QTest::newRow("told as a success") << 0 << 402 << 402;
    QTest::newRow("of the daemon") << 1 << 0 << 1;
}

void TestClientValues::theTrueStatusIsTheOneThatIsNotZero()
{
    QFETCH(int, told);
    QFETCH(int, known);
    QFETCH(int, status);
    AnswerDetails details;
    details.status = known;
    QCOMPARE(trueStatus(told, details), status);
}

QTEST_GUILESS_MAIN(TestClientValues)
#include "tst_clientvalues.moc"
